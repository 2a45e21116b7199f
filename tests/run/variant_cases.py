#!/usr/bin/env python3
"""Runs whole-run cases with VCF or BCF in place of their text, and compares all results with those that the cases hold.

    variant_cases.py --binary BINARY [CASE ...]

Taken are the cases that have genotypes, haplotypes with a legend, or haplotypes of people, neither read nor write VCF, and end
well. Each runs twice: all of these files become VCF text, compressed VCF with an index or BCF with an index, in turn from case
to case; then the panels of haplotypes alone, the study staying text. (Without bgzip and bcftools: VCF text, or VCF through gzip.) Files keep their names,
for a format is told by content. Put aside is what VCF does not hold, the first ID of a site, and what only it tells: lines of
the log about people, fields and fit of the sites.
"""
import argparse
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile

import run_cases

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'scripts'))
import text_to_vcf  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))

# Why the results of a case are not the same.
HALF_CALLS = 'pairs of which one allele is missing are half calls in VCF, of which both are missing'
FIRST_ID = 'it uses the first of the two IDs of a site'
NOT_COMPARED = {
    'allele_star': 'a star of VCF is no allele',
    'fill_holes': HALF_CALLS,
    'fill_holes_by_distances': HALF_CALLS,
    'fill_holes_two_panels': HALF_CALLS,
    'g_returns': 'VCF must be sorted',
    'h_ends_before_legend': 'a file of text that ends before its legend',
    'note_short_genotype_line': 'a line of text that is too short',
    'odd_words': 'an option that is given twice',
    'pgs_miss_reference': HALF_CALLS,
    'random_cond_reference': HALF_CALLS,
    'snp_exclusion': FIRST_ID,
    'snp_exclusion_imputed': FIRST_ID,
    'split_site_pgs': 'its people are diploid in one run and haploid in the other',
    'warn_duplicate_position': 'equal sites of VCF are one site with a warning of its own (vcf_in_equal_sites)',
    'warn_known_star_of_male': 'a haploid call of VCF has no phase',
    'warn_merged_gen_odd_panel0': 'an odd number of haplotypes, of which people of VCF have two each',
    'warn_two_panel0_matches': FIRST_ID,
    'warn_two_panel1_matches': FIRST_ID,
}

TOOLS = all(shutil.which(tool) for tool in ('bgzip', 'bcftools'))
STYLES = ('vcf', 'vcf.gz', 'bcf') if TOOLS else ('vcf', 'gzip')

# Lines of the log that one of the two has.
ASIDE = re.compile(r'Command-line input: |  *Panel \d hap legend: | --filename=\[| --took | --passed over | --told the sexes'
                   r'| --found \d+ of |-comparing the typed sites| --of \d+ study SNPs'
                   r'|-reading Panel \d haplotypes from -h')


def option_values(arguments):
    """Option -> its values, in order."""
    values = {}
    current = values.setdefault('', [])
    for argument in arguments:
        if re.match(r'-[A-Za-z]', argument):
            current = values.setdefault(argument, [])
        else:
            current.append(argument)
    return values


class Conversion:
    """Makes the files of a folder VCF."""

    def __init__(self, folder, style):
        self.folder, self.style = folder, style
        self.done = set()
        self.indices = set()
        self.first_ids = set()  # of sites, in the text

    def path(self, name):
        return os.path.join(self.folder, name)

    def run(self, *command):
        subprocess.run(command, cwd=self.folder, check=True, stderr=subprocess.PIPE)

    def convert(self, name, **options):
        """Replaces a text file by its VCF."""
        self.done.add(name)
        given = text_to_vcf.parser().parse_args(['--chr', options.pop('chr')])
        for option, value in options.items():
            setattr(given, option, value)
        text = ''.join(line + '\n' for line in text_to_vcf.convert(given))
        if not text:
            raise ValueError('%s has no site' % name)
        self.store(name, text.encode('ascii'))

    def store(self, name, data):
        path = self.path(name)
        with open(path + '.part', 'wb') as f:
            f.write(gzip.compress(data, mtime=0) if self.style == 'gzip' else data)
        if self.style == 'vcf.gz':
            with open(path, 'wb') as f:
                subprocess.run(['bgzip', '-c', path + '.part'], stdout=f, check=True)
        elif self.style == 'bcf':
            self.run('bcftools', 'view', '--no-version', '-Ob', '-o', path, path + '.part')
        else:
            os.replace(path + '.part', path)
        if self.style in ('vcf.gz', 'bcf'):
            os.unlink(path + '.part')
            self.run('bcftools', 'index', '-f', path)
            self.indices.add(name + '.csi')

    def convert_panels(self, values, chromosome):
        for h, legend in zip(values.get('-h', []), values.pop('-l', [])):
            if h in self.done:
                continue
            self.convert(h, chr=chromosome, hap=self.path(h), legend=self.path(legend),
                         info_type='String' if '-filt_rules_l' in values else 'Float')

    def convert_people(self, values, chromosome):
        haploid = 'everybody' if '-haploid_g' in values else None
        males = 'males' if '-chrX' in values and '-Xpar' not in values else None
        for option, sample, people in (('-g', '-sample_g', 'id'), ('-g_ref', '-sample_g_ref', 'gref')):
            for name in self.waiting(values, option):
                rows = list(text_to_vcf.lines_of(self.path(name)))
                self.first_ids.update(row[0] for row in rows)
                certain = all(field in ('0', '1') for row in rows for field in row[5:])
                self.convert(name, chr=chromosome, gen=self.path(name), fields='GT' if certain else 'GT,GP', people=people,
                             haploid=haploid or males, sample=self.sample(values, sample))
        for option in ('-known_haps_g', '-hap_init_g'):
            for name in self.waiting(values, option):
                self.first_ids.update(row[0] for row in text_to_vcf.lines_of(self.path(name)))
                sample = '-sample_known_haps_g' if option == '-known_haps_g' and '-sample_known_haps_g' in values else '-sample_g'
                self.convert(name, chr=chromosome, haps=self.path(name), haploid=haploid, sample=self.sample(values, sample))

    def waiting(self, values, option):
        """The file of an option, unless it is VCF by now or no file of the case."""
        return [name for name in values.get(option, []) if name not in self.done and os.path.exists(self.path(name))]

    def sample(self, values, option):
        return self.path(values[option][0]) if option in values else None


def converted(conversion, arguments, panels_only):
    """The arguments of a run whose files have become VCF."""
    values = option_values(arguments)
    chromosome = 'X' if '-chrX' in values else '20'
    if not panels_only:
        conversion.convert_people(values, chromosome)
    conversion.convert_panels(values, chromosome)
    return [text for option, texts in values.items() for text in ([option] if option else []) + texts]


def compared(lines, first_ids):
    """What of a result must be equal."""
    kept = []
    for line in lines:
        first, blank, rest = line.partition(' ')
        if not ASIDE.match(line):
            kept.append('---' + blank + rest if first in first_ids else line)
    # A stage of the log that is put aside leaves its empty line.
    return [line for line in kept if line]


def differences(case, binary, style, panels_only):
    """Lines that tell what differs; none when all is equal."""
    folder = tempfile.mkdtemp(prefix='orvide_%s_' % case.name)
    try:
        run_cases.lay_out(case, case.inputs(), folder)
        conversion = Conversion(folder, style)
        for run in case.runs:
            arguments = converted(conversion, run.arguments, panels_only)
            done = subprocess.run(['orvide'] + arguments, executable=binary, cwd=folder, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=run_cases.TIMEOUT, check=False)
            if done.returncode != run.status:
                return ['status %d: %s' % (done.returncode, done.stdout.decode('latin-1').strip().split('\n')[-1])]
        found = {name: data for name, data in run_cases.read_tree(folder).items()
                 if name not in case.inputs() and name not in conversion.indices}
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    wanted = {name: lines for (kind, name), lines in case.expected().items() if kind == 'file'}
    text = ['only one has ' + name for name in sorted(set(wanted) ^ set(found))]
    for name in sorted(set(wanted) & set(found)):
        data = gzip.decompress(found[name]) if name.endswith('.gz') else found[name]
        lines = [[case.masked(line) for line in compared(lines, conversion.first_ids)]
                 for lines in (wanted[name], run_cases.escaped(data))]
        if lines[0] != lines[1]:
            text += list(run_cases.difflib.unified_diff(*lines, 'text ' + name, 'VCF ' + name, lineterm='', n=0))[:12]
    return text


def is_suitable(case):
    """Whether a case has such files, neither reads nor writes VCF, and ends well."""
    options = {option for run in case.runs for option in option_values(run.arguments)}
    if any(data.startswith(b'##fileformat=VCF') for data in case.inputs().values()):
        return False
    if any(re.search(r'\.(vcf|bcf)(\.gz)?$', name) for kind, name in case.sections if kind == 'file'):
        return False
    return bool(options & {'-g', '-h', '-known_haps_g', '-g_ref'}) and all(run.status == 0 for run in case.runs) and \
        '--help' not in options


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', required=True)
    parser.add_argument('cases', metavar='CASE', nargs='*')
    options = parser.parse_args()
    binary = os.path.abspath(options.binary)
    folder = os.path.join(HERE, 'cases')
    paths = options.cases or sorted(os.path.join(folder, f) for f in os.listdir(folder) if f.endswith('.case'))
    cases = [case for case in map(run_cases.Case, paths) if is_suitable(case)]
    unknown = set(NOT_COMPARED) - {case.name for case in cases}
    failed = 0 if options.cases else len(unknown)
    for i, case in enumerate(case for case in cases if case.name not in NOT_COMPARED):
        for panels_only in (False, True):
            style = STYLES[(i + panels_only) % len(STYLES)]
            try:
                text = differences(case, binary, style, panels_only)
            except ValueError as error:
                text = ['not converted: %s' % error]
            if text:
                failed += 1
                print('FAIL %s (%s, %s)' % (case.name, style, 'panels alone' if panels_only else 'all'))
                print(''.join('    %s\n' % line for line in text), end='')
    print('%d cases compared, %d not, %d differ' % (len(cases) - len(NOT_COMPARED), len(NOT_COMPARED), failed))
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
