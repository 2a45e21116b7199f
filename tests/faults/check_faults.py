#!/usr/bin/env python3
"""Runs the binary while the machine fails it, and checks what it leaves.

    check_faults.py --binary BINARY --library LIBRARY

Each call that opens, fills or moves a file for writing fails once in a run of its own (LIBRARY is what fail_call.cpp
makes); a run is ended by signals; another one is at the same output; standard channels are closed or broken; files may
not grow. Results must be whole or as they were before, nothing else may be left, and the exit status must say so.
"""
import argparse
import os
import resource
import signal
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), 'run'))
import make_data  # noqa: E402

OPTIONS = None
TINY = ('-m map.txt -h ref.hap -l ref.legend -g study.gen -sample_g study.sample -int 1000 4500 -buffer 1 -iter 3 '
        '-burnin 1 -k 4 -k_hap 4 -seed 1').split()
LOGS = ('_summary', '_warnings')
OLD = b'of an earlier run\n'
TIMEOUT = 60


def read(name):
    with open(name, 'rb') as f:
        return f.read()


def tree(folder):
    """Name -> bytes of the files in a folder and the folders below."""
    return {os.path.relpath(os.path.join(root, name), folder): read(os.path.join(root, name))
            for root, _, names in os.walk(folder) for name in names}


class Folder(unittest.TestCase):
    """A folder with the data of a run, and one for its temporary files."""

    def setUp(self):
        self.place = tempfile.TemporaryDirectory(prefix='orvide_faults_')
        self.addCleanup(self.place.cleanup)
        self.folder = self.place.name
        self.inputs = dict(make_data.files('tiny'))
        os.mkdir(os.path.join(self.folder, 'tmp'))
        for name, data in self.inputs.items():
            self.write(name, data)

    def write(self, name, data):
        with open(os.path.join(self.folder, name), 'wb') as f:
            f.write(data)

    def start(self, arguments, **more):
        environment = {**os.environ, 'TMPDIR': os.path.join(self.folder, 'tmp'), **more.pop('env', {})}
        channels = {'stdin': subprocess.DEVNULL, 'stdout': subprocess.PIPE, 'stderr': subprocess.PIPE, **more}
        return subprocess.Popen(['orvide'] + arguments, executable=OPTIONS.binary, cwd=self.folder, env=environment,
                                **channels)

    def run_to_end(self, arguments, **more):
        """Exit status, standard output, standard error."""
        process = self.start(arguments, **more)
        out, err = process.communicate(timeout=TIMEOUT)
        return process.returncode, out, err

    def written(self):
        return {name: data for name, data in tree(self.folder).items() if name not in self.inputs}

    def check_inputs(self):
        found = tree(self.folder)
        for name, data in self.inputs.items():
            self.assertEqual(found.get(name), data, name)

    def clear(self):
        for name in self.written():
            os.remove(os.path.join(self.folder, name))


class FailedCalls(Folder):
    """Each call that writes fails once."""

    def fail_one(self, arguments, n):
        """Whether there was an n-th call; else the run is as without failures."""
        report, report_end = os.pipe()
        status, out, err = self.run_to_end(
            arguments, pass_fds=[report_end],
            env={'LD_PRELOAD': OPTIONS.library, 'ORVIDE_FAIL_CALL': str(n), 'ORVIDE_FAIL_REPORT': str(report_end)})
        os.close(report_end)
        failed = os.read(report, 10) == b'failed'
        os.close(report)
        self.assertEqual(status, 1 if failed else 0, (n, out, err))
        return failed

    def fail_all(self, arguments):
        """Fails call after call, over results of an earlier run; checks all that is left. Gives the number of calls."""
        self.assertEqual(self.run_to_end(arguments)[0], 0)
        whole = self.written()
        n = 0
        failed = True
        while failed:
            n += 1
            self.clear()
            for name in whole:
                self.write(name, OLD)
            failed = self.fail_one(arguments, n)
            self.check_inputs()
            for name, data in self.written().items():
                self.assertIn(name, whole, 'left by call %d' % n)
                if not name.endswith(LOGS):
                    # The header of a VCF tells of no time; gzip neither.
                    self.assertIn(data, (OLD, whole[name]), 'call %d' % n)
            for name in whole:
                if not name.endswith(('.tbi', '.csi')):
                    self.assertIn(name, self.written(), 'gone by call %d' % n)
            self.assertEqual(os.listdir(os.path.join(self.folder, 'tmp')), [], 'call %d' % n)
        return n - 1

    def test_text(self):
        self.assertGreater(self.fail_all(TINY + ['-o', 'out', '-phase', '-o_gz', '-no_warn', '-r', '/dev/null']), 18)

    def test_summary(self):
        for n in (1, 2, 30):  # it is opened; its first line; one on the way
            self.assertTrue(self.fail_one(TINY + ['-o', 'out', '-no_warn'], n))
            self.assertEqual(sorted(set(self.written()) - {'out_summary'}),
                             ['out', 'out_info', 'out_info_by_sample', 'out_samples'])
            self.clear()

    def test_vcf_with_index(self):
        self.assertGreater(self.fail_all(TINY + ['-o', 'out.vcf.gz', '-chr', '20', '-no_warn', '-r', '/dev/null']), 8)

    def test_bcf_and_temporary_files(self):
        arguments = TINY + ['-o', 'out.bcf', '-chr', '20', '-phase', '-mem_save_2', '-r', '/dev/null', '-no_warn']
        self.assertGreater(self.fail_all(arguments), 12)

    def test_sums_in_temporary_files(self):
        arguments = TINY + ['-o', 'out', '-phase', '-pgs', '-mem_save_3', '-r', '/dev/null', '-no_warn']
        self.assertGreater(self.fail_all(arguments), 40)

    def test_sums_without_room(self):
        status, out, err = self.run_to_end(TINY + ['-o', 'out', '-mem_save_3'], env={'TMPDIR': 'nowhere'})
        self.assertEqual((status, err), (1, b''))
        self.assertRegex(out, br'\nERROR: A temporary file cannot be made in \[nowhere\]: No such file or directory\. '
                              br'Please make room there, or set TMPDIR to another directory\.\n')
        self.assertNotIn(b'MCMC iteration', out)


class LimitedFiles(Folder):
    def test_file_that_may_not_grow_is_a_failed_write(self):
        self.write('out', OLD)
        status, _, err = self.run_to_end(
            TINY + ['-o', 'out', '-r', '/dev/null', '-no_warn', '-no_sample_qc_info'],
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
        self.assertEqual(status, 1)
        self.assertRegex(err, br'^orvide: note: The main output \[out\] may take .*\n'
                              br'orvide: cannot write \[out\] to its end: File too large\n'
                              br'orvide: cannot write \[out_info\] to its end: File too large\n')
        self.assertEqual(self.written().get('out'), OLD)
        self.assertNotIn('out_info', self.written())


class LimitsThatAreForeseen(Folder):
    """2,000 people at 5,000 sites: 160 MB for the sums, at least 60 MB of text."""
    ARGUMENTS = '-m map.txt -h p.hap -l p.legend -g p.gen -int 1000 7000 -buffer 1 -iter 3 -burnin 1 -seed 1 -o out'.split()

    def setUp(self):
        super().setUp()
        self.write('p.legend', ('id position a0 a1\n' + ''.join('r%d %d A C\n' % (p, p) for p in range(1001, 6001))).encode())
        self.write('p.hap', b'0 1 0 1 1 0 0 1\n' * 5000)
        self.write('p.gen', ''.join('S%d r%d %d A C%s\n' % (p, p, p, ' 1 0 0 0 1 0' * 1000) for p in (2000, 3000, 4000)).encode())

    def refused(self, limit, bytes_allowed):
        status, out, err = self.run_to_end(self.ARGUMENTS, preexec_fn=lambda: resource.setrlimit(limit, (bytes_allowed,) * 2))
        self.assertEqual(1, status, out + err)
        self.assertNotIn(b'MCMC iteration', out)
        self.assertEqual({'out' + log for log in LOGS}, {name for name in self.written() if name.startswith('out')})
        return out.decode()

    def test_memory(self):
        said = self.refused(resource.RLIMIT_AS, 110 << 20)
        self.assertRegex(said, r'ERROR: This run needs about \d+ MB of memory, 161 MB of them for the results of 2000 people at '
                               r'5000 SNPs; the limit of addresses \(ulimit -v\) is 116 MB\. ')

    def test_memory_suffices_with_sums_in_files(self):
        status, out, err = self.run_to_end(self.ARGUMENTS + ['-mem_save_3'],
                                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (110 << 20,) * 2))
        self.assertEqual((status, err), (0, b''), out)

    def test_space(self):
        said = self.refused(resource.RLIMIT_FSIZE, 10 << 20)
        self.assertIn('ERROR: The main output [out] takes at least 60 MB, there is room for 11 MB under the limit of a '
                      "file's size (ulimit -f). ", said)


class LongRun(Folder):
    """A run that waits for the map of a pipe, so that it can be met on its way."""

    def start_waiting(self, *more):
        pipe = os.path.join(self.folder, 'pipe')
        if not os.path.exists(pipe):
            os.mkfifo(pipe)
        arguments = list(TINY)
        arguments[arguments.index('study.gen')] = 'pipe'
        process = self.start(arguments + ['-o', 'out'] + list(more))
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.writer = os.open(pipe, os.O_WRONLY)  # waits until the run reads
        return process

    def finish(self, process):
        os.write(self.writer, self.inputs['study.gen'])
        os.close(self.writer)
        out, err = process.communicate(timeout=TIMEOUT)
        os.remove(os.path.join(self.folder, 'pipe'))
        return process.returncode, out, err

    def test_second_run_at_the_same_output_stops(self):
        first = self.start_waiting()
        before = {name: data for name, data in self.tree_without_pipe().items() if not name.endswith('_summary')}
        status, out, err = self.run_to_end(TINY + ['-o', './out', '-r', 'other_summary', '-w', 'other_warnings'])
        self.assertEqual((status, err), (1, b''))
        self.assertIn(b'\nERROR: Another run is writing to [./out] now. Nothing has been written. Please wait for its '
                      b'end, or give another name with -o.\n', out)
        after = {name: data for name, data in self.tree_without_pipe().items() if not name.endswith('_summary')}
        self.assertEqual(before, after)
        self.assertEqual(self.finish(first)[0], 0)
        self.assertNotIn('.out.lock', self.written())
        self.assertEqual(self.run_to_end(TINY + ['-o', 'out'])[0], 0)

    def test_second_run_at_another_output_of_the_first_stops(self):
        first = self.start_waiting('-i', 'quality')
        for option, name in (('-i', 'quality'), ('-r', 'out_summary'), ('-w', './out_warnings'), ('-o', 'quality')):
            before = self.tree_without_pipe()
            status, out, err = self.run_to_end(TINY + ['-o', 'other', option, name])
            self.assertEqual((status, err), (1, b''))
            self.assertIn(('\nERROR: Another run is writing to [%s] now. Nothing has been written. Please wait for its '
                           'end, or give another name with %s.\n' % (name, option)).encode(), out)
            self.assertEqual(before, self.tree_without_pipe())
        self.assertEqual(self.finish(first)[0], 0)
        self.assertEqual([name for name in self.written() if name.endswith('.lock')], [])

    def tree_without_pipe(self):
        os.rename(os.path.join(self.folder, 'pipe'), self.folder + '_pipe')
        try:
            return tree(self.folder)
        finally:
            os.rename(self.folder + '_pipe', os.path.join(self.folder, 'pipe'))

    def test_run_after_one_that_was_killed_goes_on(self):
        first = self.start_waiting()
        first.kill()
        first.wait()
        os.close(self.writer)
        os.remove(os.path.join(self.folder, 'pipe'))
        self.assertEqual(self.run_to_end(TINY + ['-o', 'out'])[0], 0)
        self.assertNotIn('.out.lock', self.written())

    def test_signals_leave_no_temporary_files(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            process = self.start_waiting('-mem_save_2', '-phase')
            self.assertNotEqual(os.listdir(os.path.join(self.folder, 'tmp')), [])
            process.send_signal(number)
            self.assertEqual(process.wait(TIMEOUT), -number)
            os.close(self.writer)
            os.remove(os.path.join(self.folder, 'pipe'))
            self.assertEqual(os.listdir(os.path.join(self.folder, 'tmp')), [])
            self.assertEqual(sorted(set(self.written()) - {'out_samples'}), ['out_summary', 'out_warnings'])

    def test_ends_leave_no_temporary_sums(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            arguments = list(TINY)
            arguments[arguments.index('-iter') + 1] = '1000000'
            process = self.start(arguments + ['-o', 'out', '-mem_save_3'])
            while b'MCMC iteration [9/' not in process.stdout.readline():
                self.assertIsNone(process.poll())
            process.send_signal(number)
            process.communicate(timeout=TIMEOUT)
            self.assertEqual(process.returncode, -number)
            self.assertEqual(os.listdir(os.path.join(self.folder, 'tmp')), [])

    def test_signals_are_the_last_line_of_a_strict_summary(self):
        process = self.start_waiting('-strict')
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(TIMEOUT), -signal.SIGTERM)
        os.close(self.writer)
        os.remove(os.path.join(self.folder, 'pipe'))
        self.assertTrue(self.written()['out_summary'].endswith(b'\n\nfailed: ended by signal 15\n'))


class Channels(Folder):
    def expect_results(self, arguments):
        self.assertEqual(self.run_to_end(arguments)[0], 0)
        whole = self.written()
        self.clear()
        return whole

    def test_closed_channels_do_not_become_results(self):
        whole = self.expect_results(TINY + ['-o', 'out'])
        command = '"$0" "$@" <&- >&- 2>&-'
        status = subprocess.run(['sh', '-c', command, OPTIONS.binary] + TINY + ['-o', 'out'], cwd=self.folder,
                                check=False).returncode
        self.assertEqual(status, 0)
        written = self.written()
        self.assertEqual(set(written), set(whole))
        for name in whole:
            if not name.endswith(LOGS):
                self.assertEqual(written[name], whole[name], name)

    def test_broken_pipes_do_not_end_the_run(self):
        whole = self.expect_results(TINY + ['-o', 'out'])
        for channel in ('stdout', 'stderr'):
            reader, writer = os.pipe()
            os.close(reader)
            self.assertEqual(self.run_to_end(TINY + ['-o', 'out'], **{channel: writer})[0], 0)
            os.close(writer)
            self.assertEqual(self.written(), whole)

    def test_broken_pipe_of_a_result_is_a_failed_write(self):
        reader, writer = os.pipe()
        os.close(reader)
        status, _, err = self.run_to_end(TINY + ['-o', '/dev/stdout', '-i', 'q', '-r', 's', '-no_warn'], stdout=writer)
        os.close(writer)
        self.assertEqual(status, 1)
        self.assertIn(b'orvide: cannot write [/dev/stdout] to its end: Broken pipe\n', err)

    def test_standard_output_takes_several_results(self):
        for target in (subprocess.PIPE, open(os.path.join(self.folder, 'x'), 'wb')):
            arguments = TINY + ['-o', '/dev/stdout', '-i', '/dev/stdout', '-r', '/dev/null', '-no_warn']
            self.assertEqual(self.run_to_end(arguments + ['-no_sample_qc_info'], stdout=target)[0], 0)
            if target is not subprocess.PIPE:
                target.close()
        self.assertEqual(sorted(self.written()), ['x'])


def main():
    global OPTIONS
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', required=True)
    parser.add_argument('--library', required=True)
    OPTIONS, rest = parser.parse_known_args()
    OPTIONS.binary = os.path.abspath(OPTIONS.binary)
    OPTIONS.library = os.path.abspath(OPTIONS.library)
    unittest.main(argv=[sys.argv[0]] + rest)


if __name__ == '__main__':
    main()
