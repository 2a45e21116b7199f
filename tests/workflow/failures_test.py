#!/usr/bin/env python3
"""What the workflow does when something fails: it goes on when the same command is started again, and ends with the same bytes.

    failures_test.py BINARY
"""
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from example_folder import ExampleFolder, configuration, main, missing

# What stands in for orvide: the first run of the chunk that stands in it comes to harm.
STAND_IN = '''#!/bin/bash
out=${@: -1}
if [[ $out == *%(victim)s ]] && mkdir sprung 2> /dev/null; then
    %(harm)s
fi
exec %(orvide)s "$@"
'''
# The same run with so many iterations that it is still at work when it is killed.
KILLED_AT_WORK = '''words=("${@/#4/100000}")
    %(orvide)s "${words[@]}" &
    until [[ -s ${out}_summary ]]; do sleep 0.05; done
    kill -9 $!
    wait $!
    exit $?'''
WAITING = 'touch running; until [[ -e go ]]; do sleep 0.05; done'
TIMES = ('_benchmark', '_summary', '.log')  # they tell times or what was tried


def results_of(folder):
    """Name -> bytes of all results but those that tell times."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted((folder / 'results').rglob('*'))
            if path.is_file() and not path.name.endswith(TIMES)}


@unittest.skipIf(missing('snakemake', 'bcftools'), 'missing: ' + missing('snakemake', 'bcftools'))
class Failures(ExampleFolder):
    @classmethod
    def setUpClass(cls):
        """What an undisturbed run leaves; the tests begin with copies of it."""
        cls.undisturbed = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.undisturbed)
        whole = cls('run_undisturbed')
        whole.folder = cls.undisturbed
        whole.stand_in('nobody', ':')
        whole.start()
        cls.wanted = results_of(cls.undisturbed)

    def run_undisturbed(self):
        """Stands for a test where one is needed."""

    def stand_in(self, victim, harm):
        folder = self.folder / 'programs'
        folder.mkdir()
        for name in ('orvide-plan', 'orvide-ligate'):
            (folder / name).symlink_to(self.programs / name)
        orvide = str(self.programs / 'orvide')
        text = STAND_IN % {'victim': victim, 'harm': harm % {'orvide': orvide}, 'orvide': orvide}
        (folder / 'orvide').write_text(text)
        (folder / 'orvide').chmod(0o755)

    def words(self, *options, retries=0):
        config = configuration(programs='programs', retries=retries)
        return self.snakemake_words(config, 'chromosomes', *options)

    def start(self, *options, status=0, retries=0):
        return self.call(*self.words(*options, retries=retries), status=status)

    def assert_results(self):
        # Parts of what was killed while it wrote are no results.
        found = {name: found for name, found in results_of(self.folder).items() if '/.orvide_' not in name}
        self.assertEqual(sorted(found), sorted(self.wanted))
        self.assertEqual([name for name in found if found[name] != self.wanted[name]], [])

    def start_from_results(self):
        """As behind an undisturbed run."""
        shutil.rmtree(self.folder)
        shutil.copytree(self.undisturbed, self.folder, symlinks=True)

    def test_a_killed_run_is_started_again(self):
        self.stand_in('phased/chr20/002.vcf.gz', KILLED_AT_WORK)
        said = self.start(retries=1)
        self.assertIn('Trying to restart job', said)
        self.assertTrue((self.folder / 'sprung').exists())
        self.assert_results()

    def test_a_run_without_memory_is_started_again_with_twice_as_much(self):
        self.stand_in('imputed/panel/chr20/001.vcf.gz', 'ulimit -v 12000; %(orvide)s "$@" > said 2>&1; exit $?')
        said = self.start(retries=1)
        self.assertIn('Trying to restart job', said)
        self.assertIn('memory', (self.folder / 'said').read_text())
        block = said.split('Trying to restart job')[1]
        asked = [int(re.search(r'mem_mb=(\d+)', text)[1]) for text in (said.split('rule impute:')[1], block.split('rule impute:')[1])]
        self.assertIn(asked[1], (2 * asked[0] - 1, 2 * asked[0]))  # each is rounded up
        self.assert_results()

    def test_after_a_full_disk_the_same_command_goes_on(self):
        self.stand_in('imputed/panel/chr20/002.vcf.gz', 'ulimit -f 4')
        said = self.start(status=1)
        self.assertIn('Error in rule impute', said)
        self.assertIn('002.vcf.gz', (self.folder / 'results/imputed/panel/chr20/002.log').read_text())
        self.assertFalse((self.folder / 'results/imputed/panel/chr20/002.vcf.gz').exists())
        self.assertNotIn('rule phase', self.start())
        self.assert_results()

    def start_and_stop(self, stop):
        """Sends the workflow a signal while a run is at work; what it said, and its exit status."""
        self.stand_in('phased/chr20/002.vcf.gz', WAITING)
        whole = subprocess.Popen(self.words(), cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                 env=self.environment(), start_new_session=True)
        while not (self.folder / 'running').exists() and whole.poll() is None:
            time.sleep(0.05)
        stop(whole.pid)
        (self.folder / 'go').touch()
        return whole.communicate()[0], whole.returncode

    def test_after_a_signal_to_end_the_same_command_goes_on(self):
        said, status = self.start_and_stop(lambda process: os.kill(process, signal.SIGTERM))
        self.assertEqual(status, 1, said)
        self.assertIn('Will exit after finishing currently running jobs', said)
        self.assertNotIn('rule ligate', said)
        self.start()
        self.assert_results()

    def test_a_workflow_killed_with_its_runs_goes_on_once_unlocked(self):
        self.start_and_stop(lambda process: os.killpg(process, signal.SIGKILL))
        # What a run leaves that is killed while it writes.
        (self.folder / 'results/phased/chr20/.orvide_1_1.tmp').write_bytes(b'half')
        self.assertIn('Directory cannot be locked', self.start(status=1))
        self.start('--unlock')
        self.start()
        self.assert_results()

    def test_a_killed_joining_leaves_no_half_result(self):
        self.start_from_results()
        (self.folder / 'results/imputed/panel/chr20.vcf.gz').unlink()
        client = self.folder / 'programs' / 'bcftools'
        client.write_text('#!/bin/sh\n[ $1 != concat ] && exec %s "$@"\necho half > "$4"\nkill -9 0\n' % shutil.which('bcftools'))
        client.chmod(0o755)
        environment = self.environment()
        environment['PATH'] = '%s:%s' % (client.parent, environment['PATH'])
        killed = subprocess.run(self.words(), cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False,
                                env=environment, start_new_session=True)
        self.assertEqual(killed.returncode, -signal.SIGKILL)
        half = self.folder / 'results/imputed/panel/.joining_chr20.vcf.gz'
        self.assertEqual(half.read_text(), 'half\n')
        self.assertFalse((self.folder / 'results/imputed/panel/chr20.vcf.gz').exists())
        self.start('--unlock')
        self.start()
        self.assertFalse(half.exists())
        self.assert_results()

    def test_lost_results_are_made_again(self):
        self.start_from_results()
        for lost in (['imputed/panel/chr20/001.vcf.gz'], ['phased/chr20.vcf.gz'],
                     ['phased/chr20/002.vcf.gz', 'imputed/panel/chr20_info', 'plan/phasing.chr20.tsv']):
            with self.subTest(lost):
                for name in lost:
                    (self.folder / 'results' / name).unlink()
                self.start()
                self.assert_results()


if __name__ == '__main__':
    main(sys.argv)
