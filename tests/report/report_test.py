#!/usr/bin/env python3
"""Tests of orvide-report on runs of the example data.

    report_test.py BINARY
"""
import base64
import contextlib
import io
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
SCRIPT = TOP / 'tools' / 'orvide-report'
EXAMPLES = TOP / 'examples'
sys.path.insert(0, str(TOP / 'tools'))
CHUNKS = [(1050000, 1149999), (1150000, 1249999), (1250000, 1350000)]

try:
    import jinja2  # noqa: F401
    import matplotlib  # noqa: F401
    MISSING = ''
except ModuleNotFoundError as missing_module:
    MISSING = 'the Python package %s is missing' % missing_module.name


def orvide(out, lower, upper, *options):
    subprocess.run([BINARY, '-m', EXAMPLES / 'map.txt', '-h', EXAMPLES / 'ref.hap.gz', '-l', EXAMPLES / 'ref.legend.gz', '-int',
                    str(lower), str(upper), '-buffer', '50', '-seed', '1', '-iter', '6', '-burnin', '3', '-chr', '20', '-o', out,
                    *options], check=True, stdout=subprocess.DEVNULL)


def report(*arguments):
    """(exit status, what was said on standard error) of orvide-report in this process."""
    from orvide_report.command_line import main
    said = io.StringIO()
    with contextlib.redirect_stderr(said), contextlib.redirect_stdout(io.StringIO()):
        status = main([str(argument) for argument in arguments])
    return status, said.getvalue()


def setUpModule():
    if not MISSING:
        Runs.folder = Path(tempfile.mkdtemp())
        for number, (lower, upper) in enumerate(CHUNKS):
            orvide(Runs.folder / ('c%d' % number), lower, upper, '-phase', '-g', EXAMPLES / 'study.gen.gz', '-sample_g',
                   EXAMPLES / 'study.sample')
            (Runs.folder / ('c%d_benchmark' % number)).write_text('s\th:m:s\tmax_rss\n%d.5\t0:00:10\t%d\n' % (10 + number, 50))


def tearDownModule():
    if not MISSING:
        shutil.rmtree(Runs.folder)


@unittest.skipIf(MISSING, MISSING)
class Runs(unittest.TestCase):
    folder = None

    def setUp(self):
        self.own = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.own)

    def name(self, number):
        return str(self.folder / ('c%d' % number))

    def page(self, *arguments):
        """The text of the page that is made."""
        path = self.own / 'page.html'
        self.assertEqual(report('-o', path, *arguments), (0, ''))
        return path.read_text(encoding='utf-8')

    def tables(self, *arguments):
        """The same without pictures, which take most of the time."""
        from orvide_report import figures
        with unittest.mock.patch.object(figures, 'draw', lambda width, height, plot, alt: figures.Picture('data:,', alt)):
            return self.page(*arguments)

    def copy(self, number):
        """A copy of a run that a test may spoil."""
        for path in self.folder.glob('c%d_*' % number):
            shutil.copy(path, self.own)
        return str(self.own / ('c%d' % number))

    def assert_error(self, arguments, *words):
        status, said = report('-o', self.own / 'page.html', *arguments)
        self.assertEqual(status, 1)
        self.assertRegex(said, '^ERROR: ')
        for word in words:
            self.assertIn(word, said)
        self.assertFalse((self.own / 'page.html').exists())


def cells(page, caption):
    """The rows of the table with this caption."""
    table = re.search(r'<caption>%s</caption>(.*?)</table>' % re.escape(caption), page, re.DOTALL)[1]
    return [re.findall(r'<t[hd][^>]*>(.*?)</t[hd]>', row) for row in re.findall(r'<tr>(.*?)</tr>', table, re.DOTALL)]


class Content(Runs):
    def test_counts_every_site_once(self):
        page = self.tables(*map(self.name, range(3)))
        rows = [line.split() for number in range(3) for line in (self.folder / ('c%d_info' % number)).read_text().splitlines()[1:]]
        imputed = [row for row in rows if row[8] == '0']
        overview = dict(cells(page, 'Numbers of the whole'))
        self.assertEqual(overview['Imputed sites'], str(len(imputed)))
        self.assertTrue(overview['Typed sites'].startswith('%d,' % (len(rows) - len(imputed))))
        self.assertEqual(sum(int(row[-1]) for row in cells(page, 'Imputed sites')[1:]), len(imputed))
        high = sum(float(row[6]) >= 0.9 for row in imputed)
        self.assertEqual(sum(int(row[-2]) for row in cells(page, 'Imputed sites')[1:]), high)

    def test_adds_up_the_accuracy_tables(self):
        page = self.tables(*map(self.name, range(3)))
        masked = [int(re.search(r'evaluated (\d+) genotypes', (self.folder / ('c%d_summary' % n)).read_text())[1]) for n in range(3)]
        rows = cells(page, 'Concordance, imputed from Panel 0')[1:]
        self.assertEqual(sum(int(row[1].replace(',', '')) for row in rows), sum(masked))
        self.assertEqual(rows[0][3], '100.0 %')

    def test_orders_runs_by_position(self):
        page = self.tables(self.name(2), self.name(0), self.name(1))
        self.assertEqual([row[1] for row in cells(page, 'Runs')[1:]], ['1,050,000', '1,150,000', '1,250,000'])
        self.assertEqual(page, self.tables(*map(self.name, range(3))))

    def test_names_people_and_shows_who_stands_out(self):
        bad = self.copy(0)
        quality = Path(bad + '_info_by_sample')
        lines = quality.read_text().splitlines()
        quality.write_text('\n'.join([*lines[:4], '0.500 0.100', *lines[5:]]) + '\n')
        self.assertEqual([row[0] for row in cells(self.tables(bad), 'Outliers: 1')[1:]], ['F04 P04'])

    def test_compares_frequencies_with_the_panel(self):
        page = self.tables('--panel', self.name(0))
        self.assertEqual(cells(page, 'Frequency outliers: 0')[1:], [['none']])
        self.assertIn('Density plot of the allele frequency in the study', page)
        self.assertNotIn('Density plot of the allele frequency in the study', self.tables(self.name(0)))

    @unittest.skipUnless(shutil.which('bcftools'), 'bcftools is missing')
    def test_panel_frequencies_of_text_and_variants_are_the_same(self):
        from orvide_report.panel import text_frequencies, variant_frequencies
        wanted = {int(line.split()[2]) for line in (self.folder / 'c0_info').read_text().splitlines()[1:]}
        text = text_frequencies(str(EXAMPLES / 'ref.hap.gz'), str(EXAMPLES / 'ref.legend.gz'), wanted)
        self.assertEqual(variant_frequencies(str(EXAMPLES / 'panel.vcf.gz'), wanted, '20'), text)
        self.assertEqual(variant_frequencies(str(EXAMPLES / 'panel.vcf.gz'), wanted, ''), text)
        self.assertEqual(len(text), len(wanted))

    @unittest.skipUnless(shutil.which('bcftools'), 'bcftools is missing')
    def test_a_panel_that_is_no_variant_file(self):
        spoilt = self.copy(0)
        (self.own / 'panel.vcf').write_text('nothing')
        text = Path(spoilt + '_summary').read_text()
        Path(spoilt + '_summary').write_text(re.sub(r'-h \S+ -l \S+', '-h %s' % (self.own / 'panel.vcf'), text))
        self.assert_error(['--panel', spoilt], 'cannot read the panel', 'panel.vcf')

    def test_lists_a_site_with_exchanged_alleles(self):
        spoilt = self.copy(0)
        info = Path(spoilt + '_info')
        lines = info.read_text().splitlines()
        place = next(i for i, line in enumerate(lines[1:], 1) if line.split()[8] == '2' and float(line.split()[5]) < 0.12)
        fields = lines[place].split()
        fields[5] = '%.3f' % (1 - float(fields[5]))
        lines[place] = ' '.join(fields)
        info.write_text('\n'.join(lines) + '\n')
        row = cells(self.tables('--panel', spoilt), 'Frequency outliers: 1')[1]
        self.assertEqual((row[2], row[-1]), (fields[1], 'alleles exchanged'))

    def test_tells_of_a_stretch_without_a_run(self):
        self.assertIn('no run covers 1,150,000 to 1,249,999', self.tables(self.name(0), self.name(2)))

    def test_groups_warnings_of_one_kind(self):
        warned = self.copy(0)
        Path(warned + '_warnings').write_text('WARNING: Position 12 occurs twice.\nWARNING: Position 34 occurs twice.\nWARNING: Else.\n')
        rows = cells(self.tables(warned), 'Warnings by kind')[1:]
        self.assertEqual(rows, [['2', '1', 'Position 12 occurs twice.'], ['1', '1', 'Else.']])

    def test_shows_text_of_files_as_text(self):
        warned = self.copy(0)
        Path(warned + '_warnings').write_text('WARNING: <script>alert("x")</script>\n')
        page = self.tables(warned)
        self.assertNotIn('<script', page)
        self.assertIn('&lt;script&gt;', page)

    def test_counts_confidence_of_the_phase(self):
        values = [v for line in (self.folder / 'c0_haps_confidence').read_text().splitlines() for v in line.split()[5:] if v not in '*-']
        rows = cells(self.tables(self.name(0)), 'Heterozygotes by confidence')[1:]
        self.assertEqual(sum(int(row[1].replace(',', '')) for row in rows), len(values))
        self.assertEqual(int(rows[-1][1].replace(',', '')), sum(float(v) >= 1 for v in values))

    def test_a_prephasing_run_counts_for_phasing_only(self):
        orvide(self.own / 'pre', *CHUNKS[0], '-prephase_g', '-g', EXAMPLES / 'study.gen.gz')
        page = self.tables(self.name(0), str(self.own / 'pre'))
        self.assertEqual(len(cells(page, 'Runs')), 2)
        self.assertEqual(len(cells(page, 'Command lines')), 3)

    def test_is_one_file_with_a_word_for_every_picture(self):
        page = self.page('--panel', self.name(0))
        self.assertEqual(re.findall(r'(?:src|href)="(?!data:|#)', page), [])
        pictures = re.findall(r'<img ([^>]*)>', page)
        self.assertEqual(len(pictures), 8)
        for attributes in pictures:
            self.assertRegex(attributes, r'alt="[^"]{40,}"')

    def test_pictures_have_no_colour(self):
        for code in re.findall(r'base64,([^"]+)"', self.page('--panel', self.name(0))):
            for colour in re.findall(r'#[0-9a-f]{6}\b', base64.b64decode(code).decode()):
                self.assertEqual(len({colour[1:3], colour[3:5], colour[5:7]}), 1, colour)


class Errors(Runs):
    def test_no_such_run(self):
        self.assert_error(['nowhere'], '[nowhere_summary]', 'No such file')

    def test_a_run_named_twice(self):
        self.assert_error([self.name(0), self.name(0)], 'named twice')

    def test_overlapping_runs(self):
        orvide(self.own / 'again', 1100000, 1200000, '-g', EXAMPLES / 'study.gen.gz')
        self.assert_error([self.name(0), str(self.own / 'again')], 'overlap')

    def test_a_summary_that_is_none(self):
        spoilt = self.copy(0)
        Path(spoilt + '_summary').write_text('nothing\n')
        self.assert_error([spoilt], '_summary]', 'no summary of a run')

    def test_a_summary_that_is_cut(self):
        spoilt = self.copy(0)
        text = Path(spoilt + '_summary').read_text()
        Path(spoilt + '_summary').write_text(text[:text.index('  [0.5-0.6]')])
        self.assert_error([spoilt], 'accuracy table', 'cut')

    def test_a_run_that_failed(self):
        spoilt = self.copy(0)
        with open(spoilt + '_summary', 'a', encoding='utf-8') as summary:
            summary.write('\nERROR: The memory is exhausted.\n')
        self.assert_error([spoilt], 'did not end well', 'The memory is exhausted')

    def test_a_summary_without_an_interval(self):
        spoilt = self.copy(0)
        text = Path(spoilt + '_summary').read_text()
        Path(spoilt + '_summary').write_text(text.replace('-int 1050000 1149999', ''))
        self.assert_error([spoilt], '-int LOWER UPPER')

    def test_a_missing_column_of_the_quality_file(self):
        spoilt = self.copy(0)
        Path(spoilt + '_info').write_text('snp_id rs_id position a0 a1 exp_freq_a1 certainty type\n')
        self.assert_error([spoilt], '_info]', 'no column info')

    def test_a_cut_line_of_the_quality_file(self):
        spoilt = self.copy(0)
        text = Path(spoilt + '_info').read_text()
        Path(spoilt + '_info').write_text(text[:-20])
        self.assert_error([spoilt], 'line %d of' % len(text.splitlines()), 'cut')

    def test_a_quality_file_by_sample_with_a_word(self):
        spoilt = self.copy(0)
        Path(spoilt + '_info_by_sample').write_text('concord_type0 r2_type0\nhigh 0.9\n')
        self.assert_error([spoilt], '_info_by_sample]', 'no number')

    def test_a_quality_file_by_sample_with_a_short_line(self):
        spoilt = self.copy(0)
        Path(spoilt + '_info_by_sample').write_text('concord_type0 r2_type0\n0.9\n')
        self.assert_error([spoilt], 'line 2 of', '1 columns')

    def test_runs_of_other_people(self):
        spoilt = self.copy(0)
        Path(spoilt + '_info_by_sample').write_text('concord_type0 r2_type0\n0.9 0.9\n')
        self.assert_error([spoilt, self.name(1)], '20 people', '1;')

    def test_a_benchmark_without_its_columns(self):
        spoilt = self.copy(0)
        Path(spoilt + '_benchmark').write_text('seconds\n1\n')
        self.assert_error([spoilt], '_benchmark]', 'max_rss')

    def test_a_panel_that_is_gone(self):
        spoilt = self.copy(0)
        text = Path(spoilt + '_summary').read_text()
        Path(spoilt + '_summary').write_text(text.replace('ref.hap.gz', 'gone.hap.gz'))
        self.assert_error(['--panel', spoilt], 'gone.hap.gz', 'leave --panel out')

    def test_a_place_that_cannot_be_written(self):
        status, said = report('-o', self.own / 'no' / 'page.html', self.name(0))
        self.assertEqual(status, 1)
        self.assertIn('ERROR: cannot write', said)


class PlaceOfThePage(Runs):
    def assert_refused(self, page, *runs):
        before = Path(page).read_bytes()
        status, said = report('-o', page, *runs)
        self.assertEqual(status, 1)
        self.assertIn('ERROR: the page [%s] would be written into a file that is read for it' % page, said)
        self.assertEqual(Path(page).read_bytes(), before)

    def test_it_is_not_written_into_a_file_of_a_run(self):
        run = self.copy(0)
        for ending in ('_summary', '_info', '_info_by_sample', '_warnings', '_benchmark'):
            self.assert_refused(run + ending, run)
        (self.own / 'link').symlink_to(run + '_info')
        self.assert_refused(self.own / 'link', run)

    def test_it_is_not_written_into_an_input_of_a_run(self):
        run = self.copy(0)
        panel = self.own / 'panel'
        panel.write_text('haplotypes')
        summary = Path(run + '_summary')
        summary.write_text(summary.read_text().replace(str(EXAMPLES / 'ref.hap.gz'), str(panel)))
        self.assert_refused(panel, run)

    def test_a_failure_leaves_the_older_page_and_nothing_else(self):
        from orvide_report import page_file
        page = self.own / 'page.html'
        page.write_text('older')
        with unittest.mock.patch.object(page_file.os, 'replace', side_effect=OSError(28, 'No space left on device')):
            status, said = report('-o', page, self.name(0))
        self.assertEqual((status, said), (1, 'ERROR: cannot write [%s]: No space left on device\n' % page))
        self.assertEqual(page.read_text(), 'older')
        self.assertEqual([path.name for path in self.own.iterdir()], ['page.html'])

    def test_a_link_and_permissions_stay(self):
        page = self.own / 'page.html'
        page.write_text('older')
        page.chmod(0o640)
        (self.own / 'link').symlink_to(page)
        self.assertEqual(report('-o', self.own / 'link', self.name(0)), (0, ''))
        self.assertTrue((self.own / 'link').is_symlink())
        self.assertEqual(page.stat().st_mode & 0o777, 0o640)
        self.assertIn('<html', page.read_text())

    def test_a_device_is_written_directly(self):
        self.assertEqual(report('-o', '/dev/null', self.name(0)), (0, ''))
        self.assertTrue(Path('/dev/null').is_char_device())


CHROMIUM = shutil.which('chromium') or shutil.which('chromium-browser')


@unittest.skipUnless(CHROMIUM, 'chromium is missing')
class Browser(Runs):
    def look(self, path, *options):
        command = [CHROMIUM, '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
                   '--disable-background-networking', '--disable-component-update', '--disable-sync',
                   '--user-data-dir=%s' % (self.own / 'profile'), '--enable-logging=stderr', *options, path.as_uri()]
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True, timeout=120)

    def test_opens_without_a_word_on_the_console(self):
        # As a user starts it.
        subprocess.run([sys.executable, SCRIPT, '--panel', *map(self.name, range(3)), '-o', self.own / 'page.html'], check=True,
                       stdout=subprocess.DEVNULL)
        picture = self.own / 'page.png'
        said = self.look(self.own / 'page.html', '--window-size=1000,6000', '--screenshot=%s' % picture)
        self.assertEqual([line for line in said.stderr.splitlines() if 'CONSOLE' in line], [])
        self.assertGreater(picture.stat().st_size, 100000)

    def test_the_console_would_tell_of_an_error(self):
        broken = self.own / 'broken.html'
        broken.write_text('<script>throw new Error("shown")</script>')
        said = self.look(broken, '--screenshot=%s' % (self.own / 'broken.png'))
        self.assertIn('shown', ''.join(line for line in said.stderr.splitlines() if 'CONSOLE' in line))


if __name__ == '__main__':
    BINARY = sys.argv.pop(1)
    unittest.main()
