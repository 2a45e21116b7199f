#!/usr/bin/env python3
"""Tests of the workflow and of the shell loop of docs/whole_chromosomes.md on the example data.

    workflow_test.py BINARY
"""
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
EXAMPLES = TOP / 'examples'


def missing(*programs):
    """What is not there of the programs, or of the packages of the report."""
    absent = [name for name in programs if shutil.which(name) is None]
    return ' '.join(absent + [name for name in ('matplotlib', 'jinja2') if importlib.util.find_spec(name) is None])


class Folder(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def call(self, *command, status=0):
        """What a command says on both channels."""
        path = '%s:%s:%s' % (Path(BINARY).resolve().parent, TOP / 'tools', os.environ['PATH'])
        done = subprocess.run([str(word) for word in command], cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, check=False,
                              env=dict(os.environ, PATH=path, examples=str(EXAMPLES), XDG_CACHE_HOME=str(self.folder / 'cache')))
        self.assertEqual(done.returncode, status, done.stdout[-3000:])
        return done.stdout


@unittest.skipIf(missing('snakemake', 'bcftools'), 'missing: ' + missing('snakemake', 'bcftools'))
class Workflow(Folder):
    def snakemake(self, config, *options, status=0):
        (self.folder / 'config.yaml').write_text(config)
        return self.call('snakemake', '-s', TOP / 'workflow' / 'Snakefile', '--configfile', 'config.yaml', '--cores', '2', *options,
                         status=status)

    def config(self, **changes):
        """The example, with other values for some keys."""
        lines = {'chromosomes': '["20"]', 'study': EXAMPLES / 'study.vcf.gz', 'panel': EXAMPLES / 'panel.vcf.gz',
                 'map': EXAMPLES / 'map.txt', 'buffer_kb': 50, 'plan': '{max_kb: 250, min_typed: 20}',
                 'phasing_options': '"-iter 4 -burnin 2"', 'retries': 0, **changes}
        return ''.join('%s: %s\n' % item for item in lines.items())

    def test_imputes_a_chromosome_as_the_runs_by_hand_do(self):
        self.snakemake(self.config(phasing_panel=EXAMPLES / 'panel.vcf.gz'))
        results = self.folder / 'results'
        plan = [line.split('\t') for line in (results / 'plan/panel.chr20.tsv').read_text().splitlines()[1:]]
        self.assertEqual(len(plan), 2)
        name = 'results/imputed/panel/chr20/002.vcf.gz'
        before = (self.folder / name).read_bytes()
        self.call('orvide', '-strict', '-known_haps_g', 'results/phased/chr20.vcf.gz', '-use_prephased_g', '-h', EXAMPLES / 'panel.vcf.gz', '-m',
                  EXAMPLES / 'map.txt', '-chr', '20', '-int', plan[1][3], plan[1][4], '-buffer', '50', '-allow_large_regions', '-seed', '1',
                  '-threads', '1', '-o', name)
        self.assertEqual((self.folder / name).read_bytes(), before)

        chromosome = self.call('bcftools', 'query', '-f', '%POS %REF %ALT\n', results / 'imputed/panel/chr20.vcf.gz').splitlines()
        panel = self.call('bcftools', 'query', '-f', '%POS %REF %ALT\n', EXAMPLES / 'panel.vcf.gz').splitlines()
        self.assertEqual(chromosome, panel)
        self.assertEqual(len((results / 'imputed/panel/study_info').read_text().splitlines()), 1 + len(panel))
        self.assertTrue((results / 'imputed/panel/study_info').read_text().startswith('chr snp_id '))
        self.assertIn('Imputation report: panel', (results / 'imputed/panel/report.html').read_text())

        # A new panel repeats the imputation alone.
        said = self.snakemake(self.config(phasing_panel=EXAMPLES / 'panel.vcf.gz', panel_name='other'), '--dry-run')
        self.assertIn('plan', said)
        self.assertNotIn('rule phase', said)
        self.assertNotIn('rule ligate', said)

    def test_tells_what_is_wrong_with_the_configuration(self):
        for change, word in (({'panels': 'a'}, "'panels' was unexpected"), ({'buffer_kb': 'wide'}, "'wide' is not of type 'integer'"),
                             ({'chromosomes': '[]'}, '[] is too short'), ({'chromosomes': '[1, 2]'}, 'must contain {chr}'),
                             ({'panel': 'gone.bcf'}, 'gone.bcf')):
            with self.subTest(word):
                self.assertIn(word, self.snakemake(self.config(**change), '--dry-run', status=1))


@unittest.skipIf(missing('bcftools', 'parallel'), 'missing: ' + missing('bcftools', 'parallel'))
class ShellLoop(Folder):
    def test_the_commands_of_the_page_impute_every_site(self):
        page = (TOP / 'docs' / 'whole_chromosomes.md').read_text()
        commands = re.search(r'^```sh\n(.*?)^```', page, re.MULTILINE | re.DOTALL)[1]
        self.call('bash', '-euc', commands)
        self.assertEqual(int(self.call('bcftools', 'index', '-n', 'imputed.vcf.gz')), 800)
        self.assertTrue((self.folder / 'report.html').exists())


@unittest.skipIf(missing('bcftools'), 'missing: ' + missing('bcftools'))
class JoinChunks(Folder):
    HEAD = ('##fileformat=VCFv4.2\n##contig=<ID=7>\n##FORMAT=<ID=GT,Number=1,Type=String,Description="g">\n'
            '#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t')

    def chunk(self, name, positions, people='a', recorded=None):
        """A chunk with these positions in its quality file, and these or others as records."""
        text = self.HEAD + people + '\n' + ''.join('7\t%d\t.\tA\tG\t.\t.\t.\tGT\t0|1\n' % p for p in recorded or positions)
        (self.folder / (name + '.plain')).write_text(text)
        self.call('bcftools', 'view', '-Oz', '-o', name, name + '.plain')
        self.call('bcftools', 'index', '-f', '-t', name)
        (self.folder / (name + '_info')).write_text('snp_id rs_id position a0 a1\n' + ''.join('. . %d A G\n' % p for p in positions))
        return name

    def plan(self, *rows):
        text = 'chunk\tarm\tlower\tupper\n' + ''.join('%d\t%d\t%d\t%d\n' % (i, *row) for i, row in enumerate(rows, 1))
        (self.folder / 'plan').write_text(text)

    def join(self, *chunks, status=0):
        said = self.call(sys.executable, TOP / 'workflow' / 'join_chunks.py', '--plan', 'plan', '--info', 'info', '-o', 'all.vcf.gz', *chunks,
                         status=status)
        self.assertEqual((self.folder / 'all.vcf.gz').exists(), status == 0)
        return said

    def test_joins_chunks(self):
        self.plan((1, 1, 10), (1, 11, 20), (2, 31, 40))
        self.assertIn('joined 3 chunks with 4 sites', self.join(self.chunk('a.vcf.gz', [5, 10]), self.chunk('b.vcf.gz', [11]), self.chunk('c.vcf.gz', [31])))
        self.assertEqual(self.call('bcftools', 'query', '-f', '%POS\n', 'all.vcf.gz').split(), ['5', '10', '11', '31'])
        self.assertEqual(len((self.folder / 'info').read_text().splitlines()), 5)

    def test_refuses_what_does_not_fit(self):
        a = self.chunk('a.vcf.gz', [5, 10])
        self.plan((1, 1, 10), (1, 11, 20))
        self.assertIn('ERROR: the plan [plan] has 2 chunks, and 1 are given', self.join(a, status=1))
        self.assertIn('a site at 10, outside its chunk 11 to 20', self.join(a, self.chunk('b.vcf.gz', [10, 11]), status=1))
        self.assertIn('do not have the same people', self.join(a, self.chunk('b.vcf.gz', [11], 'b'), status=1))
        self.assertIn('has the site 11 A G twice', self.join(a, self.chunk('b.vcf.gz', [11, 11]), status=1))
        self.assertIn('is not in order at 12', self.join(a, self.chunk('b.vcf.gz', [13, 12], recorded=[12, 13]), status=1))
        self.assertIn('has 2 records, its quality file 1', self.join(a, self.chunk('b.vcf.gz', [11], recorded=[11, 12]), status=1))
        self.plan((1, 1, 10), (1, 12, 20))
        self.assertIn('has a hole or an overlap behind 10', self.join(a, self.chunk('b.vcf.gz', [12]), status=1))
        (self.folder / 'b.vcf.gz_info').write_text('other\n')
        self.plan((1, 1, 10), (1, 11, 20))
        self.assertIn('[b.vcf.gz_info] has other columns', self.join(a, 'b.vcf.gz', status=1))


if __name__ == '__main__':
    BINARY = sys.argv.pop(1)
    unittest.main()
