#!/usr/bin/env python3
"""Makes studies of known phase from a phased reference panel: some of its people become the study of the others.

FOLDER/split_1, split_2, ... get the files of bench/coalescent_data.py. People are drawn anew for every split, seeded. Typed are
the sites of the real study that the reference has; the truth of the phase (study.haps.gz) is that of the panel.
"""
import argparse
import gzip
import os
import random
import shutil

GENOTYPES = {('0', '0'): '1 0 0', ('0', '1'): '0 1 0', ('1', '0'): '0 1 0', ('1', '1'): '0 0 1'}


def read_lines(name):
    with gzip.open(name, 'rt') as lines:
        return [line.split() for line in lines]


def typed_sites(real):
    """(position, {both alleles}) of the sites of the real study."""
    return {(fields[2], frozenset(fields[3:5])) for fields in read_lines(real + '/study.gen.gz')}


def haplotypes_of(people):
    return [h for person in people for h in (2 * person, 2 * person + 1)]


def write_split(real, folder, legend, panel, study, others):
    """study and others: people of the panel."""
    os.makedirs(folder, exist_ok=True)
    shutil.copy(real + '/map.txt', folder + '/map.txt')
    shutil.copy(real + '/ref.legend.gz', folder + '/ref.legend.gz')
    typed = typed_sites(real)
    names = ['ref.hap.gz', 'study.gen.gz', 'study.haps.gz', 'truth.gen.gz']
    reference, genotypes, haplotypes, truth = [gzip.open(f'{folder}/{name}', 'wt', compresslevel=6) for name in names]
    with reference, genotypes, haplotypes, truth:
        for (identifier, position, *labels), alleles in zip(legend, panel):
            chosen = [alleles[h] for h in haplotypes_of(study)]
            pairs = ' '.join(GENOTYPES[pair] for pair in zip(chosen[0::2], chosen[1::2]))
            start = ' '.join([identifier, identifier, position, *labels[:2]])
            reference.write(' '.join(alleles[h] for h in haplotypes_of(others)) + '\n')
            truth.write(f'{start} {pairs}\n')
            if (position, frozenset(labels[:2])) in typed:
                genotypes.write(f'{start} {pairs}\n')
                haplotypes.write(f'{start} {" ".join(chosen)}\n')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('real', help='folder with map.txt, ref.hap.gz, ref.legend.gz and study.gen.gz')
    parser.add_argument('folder', help='where the splits are written')
    parser.add_argument('--splits', metavar='N', type=int, default=10)
    parser.add_argument('--people', metavar='N', type=int, default=100, help='people of the panel that become the study')
    parser.add_argument('--seed', type=int, default=1)
    options = parser.parse_args()
    legend = read_lines(options.real + '/ref.legend.gz')[1:]
    panel = read_lines(options.real + '/ref.hap.gz')
    n_people = len(panel[0]) // 2
    if not 0 < options.people < n_people:
        parser.error(f'--people must leave some of the {n_people} people of the panel')
    for split in range(1, options.splits + 1):
        people = list(range(n_people))
        random.Random(f'{options.seed} {split}').shuffle(people)
        study, others = sorted(people[:options.people]), sorted(people[options.people:])
        write_split(options.real, f'{options.folder}/split_{split}', legend, panel, study, others)


if __name__ == '__main__':
    main()
