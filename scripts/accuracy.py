#!/usr/bin/env python3
"""Squared correlation between imputed dosages and true genotypes at the sites that a study did not type.

The dosage of a genotype is P(AB) + 2 P(BB). Sites are paired by position and allele labels; a truth with the labels the
other way round is turned. Truth genotypes that are missing (all three numbers 0) and sites whose truth does not vary are
left out. "pooled r2" takes all genotypes of a frequency class together; "mean r2" averages over the sites, a site whose
dosage does not vary counting 0.
"""
import argparse
import bisect
import gzip
import math
import sys

CLASS_ENDS = [0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5]  # upper ends of the classes of true minor allele frequency

LEAST_SHARE = 0.95  # of the wanted sites that must be in the imputed file under --least


def open_text(name):
    return gzip.open(name, 'rt') if name.endswith('.gz') else open(name, encoding='ascii')


def read_genotypes(name):
    """Yields (position, allele A, allele B, dosages) by line; the dosage of a missing genotype is None."""
    with open_text(name) as lines:
        for line in lines:
            fields = line.split()
            if not fields:
                continue
            numbers = [float(field) for field in fields[5:]]
            triples = zip(numbers[0::3], numbers[1::3], numbers[2::3])
            yield int(fields[2]), fields[3], fields[4], [b + 2 * c if a + b + c > 0 else None for a, b, c in triples]


class Correlation:
    """Sums for the squared correlation of pairs."""

    def __init__(self):
        self.n = 0
        self.x = self.y = self.xx = self.yy = self.xy = 0.0

    def add(self, pairs):
        for x, y in pairs:
            self.n += 1
            self.x += x
            self.y += y
            self.xx += x * x
            self.yy += y * y
            self.xy += x * y

    def squared(self):
        """0 when one of the two sides does not vary."""
        spread_x = self.n * self.xx - self.x * self.x
        spread_y = self.n * self.yy - self.y * self.y
        if min(spread_x, spread_y) < 1e-9:
            return 0.0
        return (self.n * self.xy - self.x * self.y) ** 2 / (spread_x * spread_y)


class FrequencyClass:
    def __init__(self):
        self.pooled = Correlation()
        self.by_site = []

    def add(self, pairs):
        site = Correlation()
        site.add(pairs)
        self.pooled.add(pairs)
        self.by_site.append(site.squared())

    def row(self, name):
        mean = math.fsum(self.by_site) / len(self.by_site) if self.by_site else 0.0
        return '%-13s %8d %11d %10.4f %8.4f' % (name, len(self.by_site), self.pooled.n, self.pooled.squared(), mean)


def read_truth(name, typed, lower, upper):
    """(position, allele A, allele B) -> true dosages, at the sites of the interval that are not typed."""
    truth = {}
    for position, a, b, doses in read_genotypes(name):
        if lower <= position <= upper and (position, a, b) not in typed and (position, b, a) not in typed:
            truth[position, a, b] = doses
    return truth


def take_truth(truth, position, a, b):
    """Removes and returns the true dosages of a site, in the order of its labels; None if there are none."""
    if (position, a, b) in truth:
        return truth.pop((position, a, b))
    turned = truth.pop((position, b, a), None)
    return None if turned is None else [None if dose is None else 2 - dose for dose in turned]


def compare(imputed, truth):
    """The frequency classes, all sites together, and the number of sites that were found in both."""
    classes = [FrequencyClass() for _ in CLASS_ENDS]
    everything = FrequencyClass()
    found = 0
    for position, a, b, doses in read_genotypes(imputed):
        true_doses = take_truth(truth, position, a, b)
        if true_doses is None:
            continue
        if len(true_doses) != len(doses):
            sys.exit('accuracy.py: %d individuals in the truth and %d in the imputed genotypes at position %d'
                     % (len(true_doses), len(doses), position))
        found += 1
        pairs = [(dose or 0.0, true) for dose, true in zip(doses, true_doses) if true is not None]
        frequency = sum(true for _, true in pairs) / (2 * len(pairs)) if pairs else 0.0
        frequency = min(frequency, 1 - frequency)
        if frequency > 0:
            classes[bisect.bisect_left(CLASS_ENDS, min(frequency, 0.5))].add(pairs)
            everything.add(pairs)
    return classes, everything, found


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('imputed', help='genotypes that ORVIDE wrote')
    parser.add_argument('truth', help='true genotypes of the same people in the same order')
    parser.add_argument('--typed', metavar='FILE', help='genotypes of the study: its sites are left out')
    parser.add_argument('--interval', metavar=('LOWER', 'UPPER'), nargs=2, type=int, default=(0, sys.maxsize))
    parser.add_argument('--least', metavar='R2', type=float, help='fail when the pooled r2 of all sites is below this, or many sites are missing')
    options = parser.parse_args()

    typed = {site[:3] for site in read_genotypes(options.typed)} if options.typed else set()
    truth = read_truth(options.truth, typed, *options.interval)
    wanted = len(truth)
    classes, everything, found = compare(options.imputed, truth)

    print('%d of %d untyped sites compared' % (found, wanted))
    print('%-13s %8s %11s %10s %8s' % ('true MAF', 'sites', 'genotypes', 'pooled r2', 'mean r2'))
    for lower, upper, row in zip([0.0] + CLASS_ENDS, CLASS_ENDS, classes):
        if row.by_site:
            print(row.row('%.3f-%.3f' % (lower, upper)))
    print(everything.row('all'))
    if options.least is None:
        return 0
    r2 = everything.pooled.squared()
    enough_sites = found >= LEAST_SHARE * wanted
    print('pooled r2 %.4f %s %.4f' % (r2, 'reaches' if r2 >= options.least else 'IS BELOW', options.least))
    if not enough_sites:
        print('TOO FEW sites in the imputed file')
    return 0 if r2 >= options.least and enough_sites else 1


if __name__ == '__main__':
    sys.exit(main())
