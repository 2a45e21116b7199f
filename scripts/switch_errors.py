#!/usr/bin/env python3
"""Switch error rate of phased haplotypes against haplotypes of known phase.

usage: switch_errors.py PHASED.haps[.gz] KNOWN.haps[.gz] [LOWER UPPER]

Both files have five leading columns and two alleles an individual, individuals in the same order. At each pair of
consecutive sites at which an individual is heterozygous and its phase is known (no starred or missing alleles), the
phased file either keeps the known phase or switches it. Sites are matched by position and alleles.
"""
import gzip
import sys


def read_haplotypes(name, lower, upper):
    """(position, allele 0, allele 1) -> list of allele fields."""
    sites = {}
    with (gzip.open(name, 'rt') if name.endswith('.gz') else open(name)) as lines:
        for line in lines:
            fields = line.split()
            position = int(fields[2])
            if lower <= position <= upper:
                sites[(position, fields[3], fields[4])] = fields[5:]
    return sites


def count_switches(phased, known, individual):
    """Switches and comparable pairs of one individual."""
    previous = None
    n_switches = n_pairs = 0
    for key in sorted(known):
        if key not in phased:
            continue
        truth = known[key][2 * individual:2 * individual + 2]
        found = phased[key][2 * individual:2 * individual + 2]
        if sorted(truth) != ['0', '1'] or sorted(found) != ['0', '1']:
            continue
        same = truth == found
        if previous is not None:
            n_pairs += 1
            n_switches += same != previous
        previous = same
    return n_switches, n_pairs


def main():
    if len(sys.argv) not in (3, 5):
        sys.exit(__doc__)
    lower, upper = (int(x) for x in sys.argv[3:5]) if len(sys.argv) == 5 else (0, 1 << 60)
    phased = read_haplotypes(sys.argv[1], lower, upper)
    known = read_haplotypes(sys.argv[2], lower, upper)
    if not phased or not known:
        sys.exit('no sites to compare')
    n_individuals = len(next(iter(known.values()))) // 2
    totals = [count_switches(phased, known, i) for i in range(n_individuals)]
    n_switches = sum(t[0] for t in totals)
    n_pairs = sum(t[1] for t in totals)
    rate = 100.0 * n_switches / n_pairs if n_pairs else 0.0
    print(f'individuals {n_individuals}  pairs of heterozygous sites {n_pairs}  switches {n_switches}  '
          f'switch error rate {rate:.2f} %')


if __name__ == '__main__':
    main()
