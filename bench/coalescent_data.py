#!/usr/bin/env python3
"""Makes large data for whole-run benchmarks from a coalescent simulation by scrm (a Debian package).

Constant population of 10,000 diploid people, mutation rate 1.25e-8 a base pair and generation, 1 cM/Mb. The first
simulated haplotypes become the reference, the others are joined in pairs to the people of the study. Typed sites are
frequent ones, spread evenly. Files in the folder: map.txt, ref.hap.gz, ref.legend.gz, study.gen.gz (unphased typed
genotypes), study.haps.gz (the same, phased), truth.gen.gz (all sites).

With --errors the reference has one allele in 5,000 wrong and one switch between the haplotypes of a person and Mb, and the
study 0.2 % of its genotypes; truth.gen.gz has none of these, and study.haps.gz has stars at the wrong genotypes, whose phase
cannot be right or wrong.
"""
import argparse
import gzip
import math
import os
import random
import shutil
import subprocess
import sys

EFFECTIVE_SIZE = 10000
MUTATION_RATE = 1.25e-8
RECOMBINATION_RATE = 1e-8
FIRST_POSITION = 1000000
WRONG_ALLELES = 1 / 5000  # of the reference
SWITCHES = 1e-6           # of a reference person, a base pair
WRONG_GENOTYPES = 0.002   # of the study
GENOTYPES = {'00': '1 0 0', '01': '0 1 0', '10': '0 1 0', '11': '0 0 1'}


def simulated_sites(n_haplotypes, length, seed):
    """Yields (position, string of alleles by haplotype) in order."""
    command = ['scrm', str(n_haplotypes), '1', '-t', repr(4 * EFFECTIVE_SIZE * MUTATION_RATE * length),
               '-r', repr(4 * EFFECTIVE_SIZE * RECOMBINATION_RATE * length), str(length), '-l', '0',
               '-seed', str(seed), '-SC', 'abs', '-p', '12', '-transpose-segsites']
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as scrm:
        for line in scrm.stdout:
            if line.startswith('position'):
                break
        last = 0
        for line in scrm.stdout:
            fields = line.split(' ', 2)
            if len(fields) < 3:
                continue
            last = max(last + 1, int(float(fields[0])))  # two mutations never share a base pair
            yield FIRST_POSITION + last, fields[2].strip().replace(' ', '')


def expected_length(options):
    """Base pairs that give somewhat more sites than wanted (Watterson's expectation)."""
    n = options.reference
    per_base = 4 * EFFECTIVE_SIZE * MUTATION_RATE * (math.log(n) + 0.5772)
    return int(1.15 * options.sites / per_base) + 1


def study_line(position, alleles, people, phased, stars=frozenset()):
    """stars: people whose phase is not known."""
    start = 'SNP%d rs%d %d A G ' % (position, position, position)
    if phased:
        return start + ' '.join(a + ('*' if h // 2 in stars else '') for h, a in enumerate(alleles))
    return start + ' '.join(GENOTYPES[alleles[2 * i:2 * i + 2]] for i in range(people))


class ReferenceErrors:
    """Puts wrong alleles and switches of phase into a reference, site by site in order."""

    def __init__(self, n_haplotypes, seed):
        self.draw = random.Random(seed)
        self.switched = [False] * (n_haplotypes // 2)
        self.last = FIRST_POSITION

    def spoil(self, position, alleles):
        alleles = list(alleles)
        chance = SWITCHES * (position - self.last)
        self.last = position
        for i, switched in enumerate(self.switched):
            self.switched[i] = switched ^ (self.draw.random() < chance)
            if self.switched[i]:
                alleles[2 * i], alleles[2 * i + 1] = alleles[2 * i + 1], alleles[2 * i]
        for h, allele in enumerate(alleles):
            if self.draw.random() < WRONG_ALLELES:
                alleles[h] = '1' if allele == '0' else '0'
        return ''.join(alleles)


def spoil_study(typed, people, seed):
    """Sites of the study with wrong genotypes: [(position, alleles, people with a wrong genotype)]."""
    draw = random.Random(seed)
    sites = []
    for position, alleles, _ in typed:
        pairs = [alleles[2 * i:2 * i + 2] for i in range(people)]
        wrong = {i for i in range(people) if draw.random() < WRONG_GENOTYPES}
        for i in sorted(wrong):
            pairs[i] = draw.choice([pair for pair in ('00', '01', '11') if GENOTYPES[pair] != GENOTYPES[pairs[i]]])
        sites.append((position, ''.join(pairs), wrong))
    return sites


def write_reference(options, folder):
    """Writes the panel. Returns [(position, study alleles, reference frequency)]."""
    sites = []
    errors = ReferenceErrors(options.reference, options.seed) if options.errors else None
    with gzip.open(os.path.join(folder, 'ref.hap.gz'), 'wt', compresslevel=6) as panel:
        for position, alleles in simulated_sites(options.reference + 2 * options.people, expected_length(options),
                                                 options.seed):
            if len(sites) == options.sites:
                continue  # to the end of what is simulated
            reference = alleles[:options.reference]
            if errors:
                reference = errors.spoil(position, reference)
            carriers = reference.count('1')
            if 0 < carriers < options.reference:
                panel.write(' '.join(reference) + '\n')
                sites.append((position, alleles[options.reference:], carriers / options.reference))
    if len(sites) < options.sites:
        sys.exit('coalescent_data.py: only %d sites vary' % len(sites))
    return sites


def write_lines(folder, name, lines):
    with (gzip.open if name.endswith('.gz') else open)(os.path.join(folder, name), 'wt') as out:
        out.writelines(line + '\n' for line in lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('folder', help='where the files are written')
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--reference', metavar='N', type=int, default=5000, help='reference haplotypes')
    parser.add_argument('--people', metavar='N', type=int, default=100, help='people of the study')
    parser.add_argument('--sites', metavar='N', type=int, default=10000, help='sites of the reference')
    parser.add_argument('--typed', metavar='N', type=int, default=900, help='sites that the study typed')
    parser.add_argument('--errors', action='store_true', help='wrong alleles, switches and genotypes as in real data')
    options = parser.parse_args()
    if shutil.which('scrm') is None:
        sys.exit('coalescent_data.py: scrm is missing; it is a Debian package')

    os.makedirs(options.folder, exist_ok=True)
    sites = write_reference(options, options.folder)
    frequent = [s for s in sites if 0.05 <= s[2] <= 0.95]
    if len(frequent) < options.typed:
        sys.exit('coalescent_data.py: only %d sites are frequent enough to be typed' % len(frequent))
    typed = [frequent[i * len(frequent) // options.typed] for i in range(options.typed)]
    end = sites[-1][0] + 1
    write_lines(options.folder, 'ref.legend.gz',
                ['id position a0 a1'] + ['rs%d %d A G' % (position, position) for position, _, _ in sites])
    write_lines(options.folder, 'map.txt', ['position COMBINED_rate(cM/Mb) Genetic_Map(cM)'] +
                ['%d %.6f %.8f' % (p, RECOMBINATION_RATE * 1e8, (p - FIRST_POSITION) * RECOMBINATION_RATE * 100)
                 for p in (*range(FIRST_POSITION, end, 5000), end)])
    study = [(position, alleles, frozenset()) for position, alleles, _ in typed]
    if options.errors:
        study = spoil_study(typed, options.people, options.seed)
    write_lines(options.folder, 'truth.gen.gz',
                [study_line(position, alleles, options.people, False) for position, alleles, _ in sites])
    for name, phased in (('study.gen.gz', False), ('study.haps.gz', True)):
        write_lines(options.folder, name,
                    [study_line(position, alleles, options.people, phased, wrong) for position, alleles, wrong in study])


if __name__ == '__main__':
    main()
