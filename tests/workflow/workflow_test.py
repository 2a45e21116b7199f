#!/usr/bin/env python3
"""Tests of the workflow and of the shell loop of docs/whole_chromosomes.md on the example data.

    workflow_test.py BINARY
"""
import gzip
import re
import sys
import unittest

from example_folder import EXAMPLES, TOP, ExampleFolder, configuration, main, missing


@unittest.skipIf(missing('snakemake', 'bcftools'), 'missing: ' + missing('snakemake', 'bcftools'))
class Workflow(ExampleFolder):
    def test_imputes_a_chromosome(self):
        self.snakemake(configuration(phasing_panel=EXAMPLES / 'panel.vcf.gz'))
        results = self.folder / 'results'
        chromosome = self.call('bcftools', 'query', '-f', '%POS %REF %ALT\n', results / 'imputed/panel/chr20.vcf.gz').splitlines()
        panel = self.call('bcftools', 'query', '-f', '%POS %REF %ALT\n', EXAMPLES / 'panel.vcf.gz').splitlines()
        self.assertEqual(chromosome, panel)
        self.assertEqual(len((results / 'imputed/panel/study_info').read_text().splitlines()), 1 + len(panel))
        self.assertTrue((results / 'imputed/panel/study_info').read_text().startswith('chr snp_id '))
        self.assertIn('Imputation report: panel', (results / 'imputed/panel/report.html').read_text())

        # A new panel repeats the imputation alone.
        said = self.snakemake(configuration(phasing_panel=EXAMPLES / 'panel.vcf.gz', panel_name='other'), '--dry-run')
        self.assertIn('plan', said)
        self.assertNotIn('rule phase', said)
        self.assertNotIn('rule ligate', said)

    def test_tells_what_is_wrong_with_the_configuration(self):
        for change, word in (({'panels': 'a'}, "'panels' was unexpected"), ({'buffer_kb': 'wide'}, "'wide' is not of type 'integer'"),
                             ({'chromosomes': '[]'}, '[] is too short'), ({'chromosomes': '[1, 2]'}, 'must contain {chr}'),
                             ({'panel': 'gone.bcf'}, 'gone.bcf')):
            with self.subTest(word):
                self.assertIn(word, self.snakemake(configuration(**change), '--dry-run', status=1))


def lines_of(path):
    """The lines of a result, but for those that tell the command line, which has names of files."""
    with (gzip.open(path, 'rt') if path.name.endswith('.gz') else open(path, encoding='utf-8')) as text:
        return [line for line in text if not line.startswith(('##orvide_command=', 'Command-line input:'))]


@unittest.skipIf(missing('bcftools', 'parallel'), 'missing: ' + missing('bcftools', 'parallel'))
class ShellLoop(ExampleFolder):
    def setUp(self):
        super().setUp()
        page = (TOP / 'docs' / 'whole_chromosomes.md').read_text()
        commands = re.search(r'^```sh\n(.*?)^```', page, re.MULTILINE | re.DOTALL)[1]
        self.loop = self.folder / 'loop'
        self.loop.mkdir()
        self.call('bash', '-euc', commands, folder='loop')

    def test_the_commands_of_the_page_impute_every_site(self):
        self.assertEqual(int(self.call('bcftools', 'index', '-n', 'loop/imputed.vcf.gz')), 800)
        self.assertTrue((self.loop / 'report.html').exists())

    @unittest.skipIf(missing('snakemake'), 'missing: ' + missing('snakemake'))
    def test_the_workflow_gives_the_same_as_the_commands_of_the_page(self):
        self.snakemake(configuration(phasing_options=None))
        results = self.folder / 'results'
        pairs = {'plan.tsv': results / 'plan/panel.chr20.tsv', 'phased.vcf.gz': results / 'phased/chr20.vcf.gz',
                 'imputed.vcf.gz': results / 'imputed/panel/chr20.vcf.gz'}
        for chunk in '12':
            for ending in ('', '_haps', '_haps_confidence', '_info', '_info_by_sample', '_warnings'):
                pairs['phased.%s.vcf.gz%s' % (chunk, ending)] = results / ('phased/chr20/00%s.vcf.gz%s' % (chunk, ending))
            for ending in ('', '_info', '_info_by_sample', '_warnings'):
                pairs['imputed.%s.vcf.gz%s' % (chunk, ending)] = results / ('imputed/panel/chr20/00%s.vcf.gz%s' % (chunk, ending))
        for by_hand, by_workflow in pairs.items():
            with self.subTest(by_hand):
                self.assertEqual(lines_of(self.loop / by_hand), lines_of(by_workflow))
        joined = [line for chunk in '12' for line in lines_of(self.loop / ('imputed.%s.vcf.gz' % chunk)) if not line.startswith('#')]
        self.assertEqual([line for line in lines_of(self.loop / 'imputed.vcf.gz') if not line.startswith('#')], joined)
        seams = [[line.split('\t')[2:] for line in lines_of(path)] for path in (self.loop / 'seams.tsv', results / 'phased/chr20.seams.tsv')]
        self.assertEqual(*seams)


@unittest.skipIf(missing('bcftools'), 'missing: ' + missing('bcftools'))
class JoinChunks(ExampleFolder):
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
        self.assertEqual(list(self.folder.glob('.joining_*')), [])
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
    main(sys.argv)
