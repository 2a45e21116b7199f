#!/usr/bin/env python3
"""Whether programs that many people use take the VCF and BCF files of ORVIDE without a word of complaint.

    check_clients.py --binary BINARY [CHECK ...]

Runs the program on examples/ in a temporary folder and hands its files to bcftools, plink2 and pysam. Without CHECK,
every function below whose name begins with check_. A check whose client is not installed is skipped and said so.
"""
import argparse
import functools
import importlib.util
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'examples')
REGION = ['-int', '1050000', '1350000', '-buffer', '50']
SHORT = ['-iter', '6', '-burnin', '2', '-k', '20', '-k_hap', '100', '-seed', '1']
N_PEOPLE, N_SITES, N_TYPED_WITH_BUFFER = 20, 612, 90


class Failure(Exception):
    """What a client or a file did not do as expected."""


def needs(*clients):
    """Marks a check with the clients that it needs: programs, and modules behind "python:"."""
    def mark(check):
        check.clients = clients
        return check
    return mark


def is_there(client):
    kind, _, module = client.partition(':')
    return importlib.util.find_spec(module) is not None if kind == 'python' else shutil.which(client) is not None


def quiet(*command):
    """Standard output of a command that has to end with status 0 and nothing on standard error."""
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0 or done.stderr:
        raise Failure('%s: status %d\n%s' % (' '.join(command), done.returncode, done.stderr))
    return done.stdout


def expect(found, wanted, what):
    if found != wanted:
        raise Failure('%s: %s in place of %s' % (what, found, wanted))


class Runs:
    """The runs of the program that the checks share; each is made once, when a check asks for it."""

    def __init__(self, binary):
        self.binary = os.path.abspath(binary)

    @functools.lru_cache(maxsize=None)
    def output(self, name, *options, study=True):
        """The main output of a run with some options, by its name."""
        files = ['-m', 'map.txt', '-h', 'ref.hap.gz', '-l', 'ref.legend.gz'] + (['-g', 'study.gen.gz'] if study else [])
        files = [os.path.join(EXAMPLES, word) if not word.startswith('-') else word for word in files]
        sample = ['-sample_g', os.path.join(EXAMPLES, 'study.sample')]
        given = [*files, *sample, *REGION, *SHORT, '-chr', '20']
        for option in {'-int', '-sample_g', '-chr', '-seed'} & set(options):  # an option that is given twice is noted
            at = given.index(option)
            del given[at:at + (3 if option == '-int' else 2)]
        quiet(self.binary, *given, *options, '-o', name)
        return name

    def both(self, name, *options):
        """The same run in compressed VCF and in BCF."""
        return [self.output(name + ending, *options) for ending in ('.vcf.gz', '.bcf')]

    def prephased(self):
        return self.output('pre.vcf.gz', '-prephase_g')

    def second_step(self, ending):
        """Imputation from the haplotypes of a prephasing run."""
        self.prephased()
        return self.output('second' + ending, '-known_haps_g', 'pre.vcf.gz_haps', '-use_prephased_g', study=False)


# --- bcftools ---------------------------------------------------------------------------------------------------------

@needs('bcftools')
def check_bcftools_view(runs):
    """Every format reads back whole, and all of a run are the same data."""
    texts = []
    for name in runs.both('out') + [runs.output('out.vcf')]:
        texts.append([line for line in quiet('bcftools', 'view', '--no-version', name).splitlines()
                      if not line.startswith('##orvide_command')])
    expect(sum(not line.startswith('#') for line in texts[0]), N_SITES, 'sites')
    if texts[0] != texts[1] or texts[0] != texts[2]:
        raise Failure('the formats of one run differ')


@needs('bcftools')
def check_bcftools_index(runs):
    """The index counts all sites, finds regions, and is what the client makes itself."""
    for name, index in zip(runs.both('out'), ('.tbi', '.csi')):
        # The client says of any BCF index that it has no names; nothing of it is ours.
        counted = subprocess.run(['bcftools', 'index', '-n', name], capture_output=True, text=True, check=True).stdout
        expect(int(counted), N_SITES, 'indexed sites of ' + name)
        expect(os.path.getmtime(name + index) >= os.path.getmtime(name), True, 'index as new as ' + name)
        all_lines = quiet('bcftools', 'query', '-f', '%POS\n', name).splitlines()
        inside = [p for p in all_lines if 1100000 <= int(p) <= 1200000]
        region = ['-r', '20:1100000-1200000']
        expect(quiet('bcftools', 'query', *region, '-f', '%POS\n', name).splitlines(), inside, 'sites of a region')
        with open(name + index, 'rb') as file:
            ours = file.read()
        kind = ['-t'] if index == '.tbi' else []
        quiet('bcftools', 'index', '-f', *kind, '-o', 'theirs' + index, name)
        with open('theirs' + index, 'rb') as file:
            expect(file.read() == ours, True, 'index as the client makes it for ' + name)


@needs('bcftools')
def check_bcftools_stats(runs):
    for name in runs.both('out') + runs.both('phased', '-phase') + [runs.prephased(), runs.second_step('.bcf')]:
        numbers = dict(line.split('\t')[2:4] for line in quiet('bcftools', 'stats', name).splitlines()
                       if line.startswith('SN'))
        expect(int(numbers['number of samples:']), N_PEOPLE, 'people of ' + name)
        wanted = N_TYPED_WITH_BUFFER if name.startswith('pre') else N_SITES
        expect(int(numbers['number of records:']), wanted, 'sites of ' + name)


@needs('bcftools')
def check_bcftools_query(runs):
    """Fields of sites and genotypes by expression; the quality is that of _info."""
    for name in runs.both('out'):
        rows = quiet('bcftools', 'query', '-f', '%POS %INFO/INFO %INFO/CERT %INFO/TYPE\n', name).splitlines()
        with open(name + '_info', encoding='ascii') as file:
            table = [line.split() for line in file][1:]
        expect(len(rows), len(table), 'sites of _info')
        for row, line in zip(rows, table):
            position, info, certainty, kind = row.split()
            expect((position, kind), (line[2], line[8]), 'site')
            if abs(float(info) - float(line[6])) > 0.00051 or abs(float(certainty) - float(line[7])) > 0.00051:
                raise Failure('%s: %s beside %s' % (name, row, line))
        good = quiet('bcftools', 'view', '-H', '-i', 'INFO/INFO>0.5 && IMP=1', name).splitlines()
        expect(0 < len(good) < N_SITES, True, 'some sites are good')


@needs('bcftools')
def check_bcftools_merge_and_concat(runs):
    """Stretches side by side give all sites, people side by side give all people."""
    for ending in ('.vcf.gz', '.bcf'):
        halves = [runs.output('half%d' % k + ending, '-int', lower, upper)
                  for k, (lower, upper) in enumerate([('1050000', '1200000'), ('1200001', '1350000')])]
        joined = subprocess.run(['bcftools', 'concat', *halves], capture_output=True, text=True, check=True).stdout
        expect(sum(not line.startswith('#') for line in joined.splitlines()), N_SITES, 'sites of joined stretches')
        first, second = runs.output('first' + ending), runs.output('other' + ending, '-seed', '2')
        quiet('bcftools', 'reheader', '-s', names_file(), '-o', 'named' + ending, second)
        quiet('bcftools', 'index', '-f', 'named' + ending)
        merged = quiet('bcftools', 'merge', '-m', 'none', first, 'named' + ending).splitlines()
        header = [line for line in merged if line.startswith('#CHROM')][0]
        expect(len(header.split('\t')), 9 + 2 * N_PEOPLE, 'columns of merged people')
        expect(sum(not line.startswith('#') for line in merged), N_SITES, 'sites of merged people')


def names_file():
    with open('names', 'w', encoding='ascii') as file:
        file.writelines('other%d\n' % k for k in range(N_PEOPLE))
    return 'names'


# --- plink2 -----------------------------------------------------------------------------------------------------------

def complaints_of_plink2(*options):
    """Runs it and gives its lines that warn or fail."""
    done = subprocess.run(['plink2', *options], capture_output=True, text=True, check=False)
    found = re.findall(r'^(?:Warning|Error).*', done.stdout + '\n' + done.stderr, re.MULTILINE)
    return found if done.returncode == 0 else found + ['status %d' % done.returncode]


def compare_frequencies(name, dosage, tolerance=4e-5):
    """The client's frequencies of ALT, from the dosages, beside AF of the file. It keeps multiples of 1 / 16384."""
    source = '--bcf' if name.endswith('.bcf') else '--vcf'
    expect(complaints_of_plink2(source, name, 'dosage=' + dosage, '--freq', '--out', 'plink'), [], 'complaints')
    with open('plink.afreq', encoding='ascii') as file:
        rows = [line.split() for line in file]
    column = rows[0].index('ALT_FREQS')
    ours = quiet('bcftools', 'query', '-f', '%INFO/AF\n', name).split()
    expect(len(ours), len(rows) - 1, 'sites')
    for row, frequency in zip(rows[1:], ours):
        if not math.isclose(float(row[column]), float(frequency), abs_tol=tolerance):
            raise Failure('%s: frequency %s, in the file %s' % (row, row[column], frequency))


@needs('plink2', 'bcftools')
def check_plink2_frequencies(runs):
    for name in runs.both('out') + runs.both('phased', '-phase') + [runs.prephased()]:
        compare_frequencies(name, 'DS')


@needs('plink2', 'bcftools')
def check_plink2_haplotype_dosages(runs):
    for ending in ('.vcf.gz', '.bcf'):
        compare_frequencies(runs.second_step(ending), 'HDS', tolerance=1e-4)  # each of the two is rounded


@needs('plink2', 'bcftools')
def check_plink2_chromosome_x(runs):
    """Males have one haplotype, as the client thinks of chromosome X."""
    with open(os.path.join(EXAMPLES, 'study.sample'), encoding='ascii') as file:
        people = [line.split() for line in file]
    with open('sexes.sample', 'w', encoding='ascii') as file:
        for k, person in enumerate(people):
            file.write(' '.join(person + [['sex', 'D'][k] if k < 2 else str(1 + k % 2)]) + '\n')
    with open('sexes.txt', 'w', encoding='ascii') as file:
        file.write('#IID SEX\n')
        file.writelines('%s %d\n' % (person[1], 1 + k % 2) for k, person in enumerate(people) if k >= 2)
    name = runs.output('x.vcf.gz', '-chrX', '-sample_g', 'sexes.sample', '-chr', 'X', '-phase')
    options = ['--vcf', name, 'dosage=DS', '--update-sex', 'sexes.txt', '--freq', '--out', 'plink_x']
    # The positions are those of a region where the sexes do not differ in man.
    complaints = [line for line in complaints_of_plink2(*options) if 'pseudoautosomal' not in line]
    expect(complaints, [], 'complaints')
    with open('plink_x.afreq', encoding='ascii') as file:
        rows = [line.split() for line in file]
    ours = quiet('bcftools', 'query', '-f', '%INFO/AF\n', name).split()
    for row, frequency in zip(rows[1:], ours):
        if not math.isclose(float(row[rows[0].index('ALT_FREQS')]), float(frequency), abs_tol=4e-5):
            raise Failure('%s: frequency in the file %s' % (row, frequency))


# --- pysam ------------------------------------------------------------------------------------------------------------

@needs('python:pysam')
def check_pysam_reads_all_fields(runs):
    import pysam
    for name in [runs.second_step('.vcf.gz'), runs.second_step('.bcf')]:
        n_sites = 0
        with pysam.VariantFile(name) as file:
            expect(len(file.header.samples), N_PEOPLE, 'people')
            for record in file:
                n_sites += 1
                for field in ('AF', 'INFO', 'CERT', 'TYPE'):
                    record.info[field]
                expect('IMP' in record.info, record.info['TYPE'] < 2, 'flag of a site')
                for person in record.samples.values():
                    check_genotype(person)
            expect(n_sites, N_SITES, 'sites')
            expect(sum(1 for _ in file.fetch('20', 1100000, 1200000)) > 0, True, 'sites of a region')


def check_genotype(person):
    """The values of a genotype go together."""
    if person['DS'] is None:
        return
    chances, haplotypes = person['GP'], person['HDS']
    wrong = abs(sum(chances) - 1) > 1e-6 or abs(chances[1] + 2 * chances[2] - person['DS']) > 2.1e-4
    if haplotypes[0] is not None:
        wrong = wrong or abs(sum(haplotypes) - person['DS']) > 1.6e-4
        wrong = wrong or not (person.phased or chances[1] == max(chances))
    if wrong or max(chances) - chances[sum(person['GT'])] > 1e-4:
        raise Failure('genotype %s' % dict(person.items()))


@needs('python:pysam')
def check_pysam_phases_are_those_of_haps(runs):
    """The phased genotypes of a prephasing run are its haplotypes, with those of the buffer."""
    import pysam
    name = runs.prephased()
    with open(name + '_haps', encoding='ascii') as file:
        haplotypes = [line.split() for line in file]
    with pysam.VariantFile(name) as file:
        records = list(file)
    expect(len(records), N_TYPED_WITH_BUFFER, 'sites')
    expect(len(haplotypes), N_TYPED_WITH_BUFFER, 'sites of _haps')
    for record, line in zip(records, haplotypes):
        expect([str(record.pos), *record.alleles], line[2:5], 'site')
        found = [str(allele) for person in record.samples.values() for allele in person['GT']]
        expect(found, line[5:], 'alleles')
        expect(all(person.phased for person in record.samples.values()), True, 'phased')


# ----------------------------------------------------------------------------------------------------------------------

def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', required=True)
    parser.add_argument('checks', nargs='*', metavar='CHECK')
    options = parser.parse_args()
    checks = {name: function for name, function in globals().items() if name.startswith('check_') and
              hasattr(function, 'clients')}
    chosen = options.checks or list(checks)
    unknown = [name for name in chosen if name not in checks]
    if unknown:
        parser.error('no such check: ' + ', '.join(unknown))
    runs = Runs(options.binary)
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for name in chosen:
            missing = [client for client in checks[name].clients if not is_there(client)]
            if missing:
                print('SKIP %s: not installed: %s' % (name, ', '.join(missing)))
                continue
            try:
                checks[name](runs)
                print('PASS', name)
            except (Failure, subprocess.CalledProcessError) as failure:
                failed += 1
                print('FAIL %s\n%s' % (name, failure))
        os.chdir(EXAMPLES)
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
