#!/usr/bin/env python3
"""Makes example data: a reference panel, a study, a genetic map and the study's true genotypes.

Haplotypes are made one after the other. Each is a mosaic of the haplotypes before it: at every position it copies one of
them, switches to another at a rate of 4 Ne r / k with k haplotypes there so far, and brings new mutations of its own at a
rate of theta / k. Read at one position this is an urn that gives the neutral spectrum of allele frequencies, with many
rare variants; along the sequence it gives linkage disequilibrium that decays with genetic distance. Some haplotypes
become the reference, the others are joined in pairs to the people of the study. A part of the frequent sites is "typed"
and some of its genotypes are lost.

The same options give the same text with every version of Python.
"""
import argparse
import gzip
import math
import os
import random
import struct
import sys
import zlib

MUTATION_RATE = 1.25e-8   # per base pair and generation
EFFECTIVE_SIZE = 10000    # diploid people
BACKGROUND_RATE = 0.6     # cM/Mb outside hotspots
HOTSPOTS = [(0.27, 0.005, 25.0), (0.66, 0.008, 15.0)]  # where in the region, its width as a share of it, cM/Mb there
BASES = 'ACGT'
TRIPLES = {0: '1 0 0', 1: '0 1 0', 2: '0 0 1', None: '0 0 0'}  # of a genotype; None is missing
TRANSITIONS = {'A': 'G', 'G': 'A', 'C': 'T', 'T': 'C'}


class Draws:
    """Random numbers that depend on random.random() alone, which does not change between versions of Python."""

    def __init__(self, seed):
        self.uniform = random.Random(seed).random

    def below(self, n):
        return int(self.uniform() * n)

    def waiting(self, rate):
        """An exponential waiting time; infinite for a rate of 0."""
        return -math.log(1.0 - self.uniform()) / rate if rate > 0 else math.inf

    def shuffled(self, items):
        items = list(items)
        for i in range(len(items) - 1, 0, -1):
            j = self.below(i + 1)
            items[i], items[j] = items[j], items[i]
        return items


class GeneticMap:
    """Points [(position, cM/Mb up to the next point, cM)] of a region with hotspots."""

    def __init__(self, lower, upper, points):
        self.lower, self.upper = lower, upper
        self.points = []
        length = upper - lower
        centimorgans = 0.0
        step = length // (points - 1)
        positions = [lower + i * step for i in range(points - 1)] + [upper]
        # An edge of a hotspot is a point of its own, so that the rate between two points is one number.
        for middle, width, _ in HOTSPOTS:
            positions += [lower + int((middle - width / 2) * length), lower + int((middle + width / 2) * length)]
        positions = sorted(set(positions))
        for here, after in zip(positions, positions[1:] + [upper]):
            rate = self.rate_at((here - lower) / length)
            self.points.append((here, rate, centimorgans))
            centimorgans += rate * (after - here) * 1e-6

    @staticmethod
    def rate_at(share):
        for middle, width, rate in HOTSPOTS:
            if middle - width / 2 <= share < middle + width / 2:
                return rate
        return BACKGROUND_RATE

    def length(self):
        return self.points[-1][2]

    def position(self, centimorgans):
        """The base pair position of a genetic position."""
        for (here, rate, start), (after, _, end) in zip(self.points, self.points[1:]):
            if centimorgans < end:
                return min(after, here + int((centimorgans - start) / rate * 1e6))
        return self.upper


class Population:
    """Haplotypes as lists of carried mutations, and the mutations' positions and alleles."""

    def __init__(self, draws, genetic_map, n_haplotypes):
        self.draws = draws
        self.map = genetic_map
        self.alleles = {}      # position -> (ancestral base, derived base)
        self.haplotypes = []   # of sets of positions
        for _ in range(n_haplotypes):
            self.haplotypes.append(self.new_haplotype())

    def new_haplotype(self):
        k = len(self.haplotypes)
        carried = set()
        if k > 0:
            start = self.map.lower
            switch_rate = 4 * EFFECTIVE_SIZE * 0.01 / k  # per centimorgan
            genetic = 0.0
            while start < self.map.upper:
                genetic += self.draws.waiting(switch_rate)
                end = self.map.position(genetic) if genetic < self.map.length() else self.map.upper
                source = self.haplotypes[self.draws.below(k)]
                carried.update(p for p in source if start <= p < end)
                start = max(start, end)
            # What the first haplotype had of its own would be in all of them.
            self.mutate(carried, 4 * EFFECTIVE_SIZE * MUTATION_RATE / k)
        return carried

    def mutate(self, carried, rate):
        """Adds mutations at positions that have none yet, at a rate per base pair."""
        position = self.map.lower + self.draws.waiting(rate)
        while position < self.map.upper:
            p = int(position)
            if p not in self.alleles:
                self.alleles[p] = self.new_alleles()
                carried.add(p)
            position += self.draws.waiting(rate)

    def new_alleles(self):
        ancestral = BASES[self.draws.below(4)]
        if self.draws.uniform() < 0.67:
            return ancestral, TRANSITIONS[ancestral]
        others = [b for b in BASES if b not in (ancestral, TRANSITIONS[ancestral])]
        return ancestral, others[self.draws.below(2)]


class Site:
    def __init__(self, position, alleles, reference, study):
        self.position = position
        self.alleles = alleles
        self.reference = reference  # allele of each reference haplotype
        self.study = study          # allele of each haplotype of the study; two neighbours are one person
        self.people = [a + b for a, b in zip(study[0::2], study[1::2])]  # genotype, 0 to 2, of each person

    def name(self):
        return 'rs%d' % self.position

    def frequency(self):
        return sum(self.reference) / len(self.reference)

    def is_ambiguous(self):
        """Whether the labels read the same on both strands."""
        return set(self.alleles) in ({'A', 'T'}, {'C', 'G'})


def make_sites(draws, genetic_map, options):
    """The wanted number of sites that vary in the reference, in order."""
    n_study = 2 * options.people
    population = Population(draws, genetic_map, options.reference + n_study)
    haplotypes = draws.shuffled(population.haplotypes)
    reference, study = haplotypes[n_study:], haplotypes[:n_study]
    sites = []
    for position in sorted(population.alleles):
        carriers = [int(position in h) for h in reference]
        if 0 < sum(carriers) < len(carriers):
            alleles = population.alleles[position]
            sites.append(Site(position, alleles, carriers, [int(position in h) for h in study]))
    if len(sites) < options.sites:
        raise SystemExit('make_example_data.py: only %d sites vary; ask for fewer, or for a longer region' % len(sites))
    kept = sorted(draws.shuffled(range(len(sites)))[:options.sites])
    return [sites[i] for i in kept]


def choose_typed(sites, wanted):
    """Frequent sites whose strand can be told, spread evenly over the region."""
    frequent = [s for s in sites if 0.05 <= s.frequency() <= 0.95 and not s.is_ambiguous()]
    if len(frequent) < wanted:
        raise SystemExit('make_example_data.py: only %d sites are frequent enough to be typed' % len(frequent))
    return [frequent[i * len(frequent) // wanted] for i in range(wanted)]


def genotype_line(site, genotypes):
    """A line of a genotype file."""
    return ' '.join(['SNP%d' % site.position, site.name(), str(site.position), *site.alleles] +
                    [TRIPLES[g] for g in genotypes])


VCF_HEAD = ['##fileformat=VCFv4.3', '##contig=<ID=20,length=2000000>',
            '##FORMAT=<ID=GT,Number=1,Type=String,Description="Genotype">']
CALLS = {0: '0/0', 1: '0/1', 2: '1/1', None: './.'}


def variant_lines(people, rows):
    """Lines of VCF: rows are (site, genotypes as text by person)."""
    columns = ['#CHROM', 'POS', 'ID', 'REF', 'ALT', 'QUAL', 'FILTER', 'INFO', 'FORMAT']
    return VCF_HEAD + ['\t'.join(columns + people)] + [
        '\t'.join(['20', str(site.position), site.name(), *site.alleles, '.', '.', '.', 'GT'] + calls)
        for site, calls in rows]


def phased(haplotypes):
    return ['%d|%d' % pair for pair in zip(haplotypes[::2], haplotypes[1::2])]


def blocks_of(data):
    """Data as the blocks of gzip that an index can point to, each with its size in a field of its head."""
    size = 65280
    for i in list(range(0, len(data), size)) + [len(data)]:
        packer = zlib.compressobj(6, zlib.DEFLATED, -15)
        chunk = data[i:i + size]
        packed = packer.compress(chunk) + packer.flush()
        yield (b'\x1f\x8b\x08\x04\0\0\0\0\0\xff\x06\0BC\x02\0' + struct.pack('<H', len(packed) + 25) + packed +
               struct.pack('<II', zlib.crc32(chunk), len(chunk)))


def write(path, text):
    """Writes a text file, through gzip without a time stamp if its name ends in .gz."""
    with open(path, 'wb') as plain:
        if path.endswith('.vcf.gz'):
            plain.writelines(blocks_of(text.encode('ascii')))
        elif path.endswith('.gz'):
            with gzip.GzipFile(filename='', mode='wb', fileobj=plain, mtime=0) as zipped:
                zipped.write(text.encode('ascii'))
        else:
            plain.write(text.encode('ascii'))


def holds(path, text):
    """Whether a file is there with this text."""
    if not os.path.exists(path):
        return False
    with (gzip.open(path, 'rb') if path.endswith('.gz') else open(path, 'rb')) as f:
        return f.read() == text.encode('ascii')


def make_files(options):
    """File name -> text."""
    draws = Draws(options.seed)
    genetic_map = GeneticMap(*options.region, options.map_points)
    sites = make_sites(draws, genetic_map, options)
    typed = choose_typed(sites, options.typed)
    observed = [[None if draws.uniform() < options.missing else g for g in site.people] for site in typed]
    lines = {
        'map.txt': ['position COMBINED_rate(cM/Mb) Genetic_Map(cM)'] +
                   ['%d %.6f %.8f' % point for point in genetic_map.points],
        'ref.hap.gz': [' '.join(map(str, s.reference)) for s in sites],
        'ref.legend.gz': ['id position a0 a1'] + ['%s %d %s %s' % (s.name(), s.position, *s.alleles) for s in sites],
        'study.gen.gz': [genotype_line(s, g) for s, g in zip(typed, observed)],
        'study.sample': ['ID_1 ID_2 missing', '0 0 0'] +
                        ['F%02d P%02d %.4f' % (i + 1, i + 1, sum(g[i] is None for g in observed) / len(observed))
                         for i in range(options.people)],
        'truth.gen.gz': [genotype_line(s, s.people) for s in sites],
        'panel.vcf.gz': variant_lines(['R%03d' % (i + 1) for i in range(options.reference // 2)],
                                      [(s, phased(s.reference)) for s in sites]),
        'study.vcf.gz': variant_lines(['P%02d' % (i + 1) for i in range(options.people)],
                                      [(s, [CALLS[g] for g in genotypes]) for s, genotypes in zip(typed, observed)]),
    }
    return {name: ''.join(line + '\n' for line in text) for name, text in lines.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('folder', help='where the files are written')
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--region', metavar=('LOWER', 'UPPER'), type=int, nargs=2, default=(1000000, 1400000))
    parser.add_argument('--reference', metavar='N', type=int, default=200, help='reference haplotypes')
    parser.add_argument('--people', metavar='N', type=int, default=20, help='people of the study')
    parser.add_argument('--sites', metavar='N', type=int, default=800, help='sites of the reference')
    parser.add_argument('--typed', metavar='N', type=int, default=90, help='sites that the study typed')
    parser.add_argument('--missing', metavar='SHARE', type=float, default=0.01, help='share of typed genotypes lost')
    parser.add_argument('--map-points', metavar='N', type=int, default=60)
    parser.add_argument('--check', action='store_true', help='write nothing; fail unless the folder holds these files')
    options = parser.parse_args()

    files = make_files(options)
    if options.check:
        different = [name for name, text in files.items() if not holds(os.path.join(options.folder, name), text)]
        print('\n'.join('differs: ' + name for name in different) or '%d files are as they should be' % len(files))
        return 1 if different else 0
    os.makedirs(options.folder, exist_ok=True)
    for name, text in files.items():
        write(os.path.join(options.folder, name), text)
    return 0


if __name__ == '__main__':
    sys.exit(main())
