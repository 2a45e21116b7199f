#!/usr/bin/env python3
"""The data sets of the whole-run cases: small, made from a seed, the same with every version of Python.

    make_data.py NAME FOLDER     writes a data set into a folder, to look at it
"""
import functools
import gzip
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'scripts'))
import make_example_data as example  # noqa: E402

FLIP = {'A': 'T', 'T': 'A', 'C': 'G', 'G': 'C'}


def packed(name, data):
    """Bytes as they stand in a file of this name."""
    return gzip.compress(data, mtime=0) if name.endswith('.gz') else data


class Options:
    """What example.make_sites asks for."""

    def __init__(self, reference, people, sites):
        self.reference, self.people, self.sites = reference, people, sites


class Study:
    """A region of 200 kb: two reference panels from one population, and a study."""

    REFERENCE = 24  # haplotypes of Panel 0
    SECOND = 16     # haplotypes of Panel 1, or 8 people
    PEOPLE = 5
    SITES = 80
    TYPED = 30

    def __init__(self, seed):
        self.draws = example.Draws(seed)
        self.map = example.GeneticMap(1000000, 1200000, 20)
        options = Options(self.REFERENCE + self.SECOND, self.PEOPLE, self.SITES)
        self.sites = example.make_sites(self.draws, self.map, options)
        frequent = [s for s in self.sites if not s.is_ambiguous() and 0.1 <= s.frequency() <= 0.9]
        self.typed = [frequent[i * len(frequent) // self.TYPED] for i in range(min(self.TYPED, len(frequent)))]
        self.second = [s for i, s in enumerate(self.sites) if i % 3 != 1 or s in self.typed]
        self.observed = {s.position: [None if self.draws.uniform() < 0.03 else g for g in s.people] for s in self.typed}

    def map_lines(self):
        return ['position rate cM'] + ['%d %.6f %.8f' % point for point in self.map.points]

    def legend_lines(self, sites):
        return ['id position a0 a1'] + ['%s %d %s %s' % (s.name(), s.position, *s.alleles) for s in sites]

    def genotype_lines(self):
        """Typed sites, some with their labels the other way round or on the other strand, and two of the study alone."""
        lines = []
        for i, site in enumerate(self.typed):
            (a0, a1), genotypes = site.alleles, self.observed[site.position]
            if i % 7 == 3:
                a0, a1, genotypes = a1, a0, [None if g is None else 2 - g for g in genotypes]
            if i % 9 == 4:
                a0, a1 = FLIP[a0], FLIP[a1]
            lines.append((site.position, ' '.join(['SNP%d' % site.position, site.name(), str(site.position), a0, a1] +
                                                  [example.TRIPLES[g] for g in genotypes])))
        for position in (1060001, 1130001):
            genotypes = [example.TRIPLES[self.draws.below(3)] for _ in range(self.PEOPLE)]
            lines.append((position, ' '.join(['SNP%d' % position, 'rs%d' % position, str(position), 'A', 'G'] + genotypes)))
        return [line for _, line in sorted(lines)]

    def second_genotype_lines(self):
        lines = []
        for site in self.second:
            alleles = site.reference[self.REFERENCE:]
            lines.append(example.genotype_line(site, [a + b for a, b in zip(alleles[0::2], alleles[1::2])]))
        return lines

    def known_lines(self):
        """Phase of every typed site; every sixth heterozygote has none, a missing genotype is a pair of "?"."""
        lines = []
        count = 0
        for site in self.typed:
            fields = ['SNP%d' % site.position, site.name(), str(site.position), *site.alleles]
            alleles = zip(site.study[0::2], site.study[1::2])
            for genotype, pair in zip(self.observed[site.position], alleles):
                count += genotype == 1
                if genotype is None:
                    fields.append('? ?')
                elif genotype == 1 and count % 6 == 0:
                    fields.append('0* 1*')
                else:
                    fields.append('%d %d' % pair)
            lines.append(' '.join(fields))
        return lines

    def complete_known_lines(self):
        """The true phase of every typed site, with nothing missing."""
        return [' '.join(['SNP%d' % s.position, s.name(), str(s.position), *s.alleles] + list(map(str, s.study)))
                for s in self.typed]

    def uncertain_lines(self):
        """The genotypes of the typed sites as probabilities, some of them vague, some that do not add up to 1."""
        lines = []
        for site in self.typed:
            fields = ['SNP%d' % site.position, site.name(), str(site.position), *site.alleles]
            for genotype in self.observed[site.position]:
                triple = [0.0, 0.0, 0.0]
                if genotype is not None:
                    doubt = 0.5 * self.draws.uniform() ** 3
                    triple = [doubt / 2] * 3
                    triple[genotype] = 1 - doubt if self.draws.uniform() < 0.8 else 0.9 - doubt
                fields += ['%.3f' % p for p in triple]
            lines.append(' '.join(fields))
        return lines

    def ambiguous_lines(self):
        """The typed sites and all frequent A/T and C/G sites; every other one of these is on the other strand."""
        lines = [(s.position, example.genotype_line(s, self.observed[s.position])) for s in self.typed]
        for i, site in enumerate(s for s in self.sites if s.is_ambiguous() and 0.1 <= s.frequency() <= 0.9):
            lines.append((site.position, example.genotype_line(site, [2 - g if i % 2 else g for g in site.people])))
        return [line for _, line in sorted(lines)]

    def holes_lines(self):
        """The reference haplotypes with some alleles missing, and every ninth typed site missing altogether."""
        holes = set(self.typed[4::9])
        return [' '.join('?' if s in holes or self.draws.uniform() < 0.02 else str(a)
                         for a in s.reference[:self.REFERENCE]) for s in self.sites]

    def distance_lines(self, n):
        """A symmetric matrix of n rows."""
        rows = [[0.0] * n for _ in range(n)]
        for i in range(n):
            for j in range(i):
                rows[i][j] = rows[j][i] = round(self.draws.uniform(), 2)
        return [' '.join('%.2f' % d for d in row) for row in rows]

    def sample_lines(self):
        return ['ID_1 ID_2 missing sex', '0 0 0 D'] + ['F%d P%d 0 %d' % (i, i, 1 + i % 2) for i in range(self.PEOPLE)]

    def files(self):
        first = [' '.join(map(str, s.reference[:self.REFERENCE])) for s in self.sites]
        second = [' '.join(map(str, s.reference[self.REFERENCE:])) for s in self.second]
        return {
            'map.txt': self.map_lines(),
            'ref.hap': first,
            'ref.legend': self.legend_lines(self.sites),
            'ref1.hap': second,
            'ref1.legend': self.legend_lines(self.second),
            'gref.gen': self.second_genotype_lines(),
            'study.gen': self.genotype_lines(),
            'study.sample': self.sample_lines(),
            'known.haps': self.known_lines(),
            'complete.haps': self.complete_known_lines(),
            'uncertain.gen': self.uncertain_lines(),
            'ambiguous.gen': self.ambiguous_lines(),
            'holes.hap': self.holes_lines(),
            'distances.txt': self.distance_lines(self.PEOPLE),
            'distances_by_hap.txt': self.distance_lines(self.REFERENCE + 2 * self.PEOPLE),
        }


def tiny():
    """Four sites, three people, six reference haplotypes, written by hand: for the messages of the readers."""
    return {
        'map.txt': ['position rate cM', '900 1 0.0', '2000 1 0.001', '3000 1 0.002', '9000 1 0.008'],
        'ref.hap': ['0 1 0 1 0 0', '1 1 0 0 0 1', '0 0 1 0 1 1', '0 1 1 0 0 1', '1 0 0 1 0 1'],
        'ref.legend': ['id position a0 a1', 'rs1 1000 A G', 'rs2 2000 C T', 'rs3 3000 A C', 'rs4 4000 G T',
                       'rs5 5000 T C'],
        'study.gen': ['S1 rs1 1000 A G 1 0 0 0 1 0 0 0 1', 'S2 rs2 2000 C T 0 1 0 0 1 0 1 0 0',
                      'S4 rs4 4000 G T 0 0 1 0 0 0 0 1 0'],
        'study.sample': ['ID_1 ID_2 missing sex', '0 0 0 D', 'F1 P1 0 2', 'F2 P2 0 2', 'F3 P3 0 2'],
    }


SETS = {'small': lambda: Study(1).files(), 'tiny': tiny}


@functools.lru_cache(maxsize=None)
def files(name):
    """File name -> bytes of a data set."""
    lines = SETS[name]()
    return {f: packed(f, ''.join(line + '\n' for line in text).encode('ascii')) for f, text in lines.items()}


def main():
    name, folder = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    for file, data in files(name).items():
        with open(os.path.join(folder, file), 'wb') as f:
            f.write(data)


if __name__ == '__main__':
    main()
