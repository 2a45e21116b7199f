#!/usr/bin/env python3
"""Compares settings of phasing on data whose phase is known: switch errors, processor time, calibration of confidence.

    phasing.py [--binary B] [--against B2] [--interval LOWER UPPER] [--with OPTIONS] [--settings OPTIONS]... FOLDER ...

A FOLDER holds what bench/phase_splits.py or bench/coalescent_data.py makes. Each of --settings is one text of options; the first
one is what the others are compared with, and '' stands for the defaults. --with goes to all runs. --against runs the first settings
with another binary. A row has the mean switch error over the folders with its standard error, and the ratio of all
errors to those of the first settings, with a standard error by leaving out one folder at a time.
"""
import argparse
import gzip
import math
import os
import shlex
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(HERE)
sys.path.insert(0, os.path.join(TOP, 'scripts'))
import switch_errors  # noqa: E402  scripts/ is no package

CONFIDENCE_ENDS = [0.55, 0.6, 0.7, 0.8, 0.9, 0.95, 0.99, 1.0]


def last_position(folder):
    with open(folder + '/map.txt', encoding='ascii') as lines:
        return lines.readlines()[-1].split()[0]


def run_program(binary, folder, words, interval, out):
    """Returns (processor seconds, wall seconds, peak MB)."""
    region = interval or ['1000000', last_position(folder)]
    command = [binary, '-m', folder + '/map.txt', '-h', folder + '/ref.hap.gz', '-l', folder + '/ref.legend.gz',
               '-g', folder + '/study.gen.gz', '-int', *region, '-o', out, *words]
    start = time.perf_counter()
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as child:
        _, status, used = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit('failed: ' + ' '.join(command))
    return used.ru_utime + used.ru_stime, time.perf_counter() - start, used.ru_maxrss / 1024


def read_confidences(name):
    with gzip.open(name, 'rt') if name.endswith('.gz') else open(name, encoding='ascii') as lines:
        for line in lines:
            fields = line.split()
            yield (int(fields[2]), fields[3], fields[4]), fields[5:]


def calibration(out, phased, known, tally):
    """Adds to tally[class] = [heterozygotes, right ones], by the confidence relative to the heterozygote before."""
    confidences = dict(read_confidences(out + '_haps_confidence'))
    for individual in range(len(next(iter(known.values()))) // 2):
        previous = None
        for key in sorted(phased):
            found = phased[key][2 * individual:2 * individual + 2]
            if sorted(found) != ['0', '1']:
                continue
            truth = known.get(key, ['*', '*'] * (individual + 1))[2 * individual:2 * individual + 2]
            same = truth == found if sorted(truth) == ['0', '1'] else None
            confidence = confidences[key][individual]
            if previous is not None and same is not None and confidence not in '*-':
                row = next(i for i, end in enumerate(CONFIDENCE_ENDS) if float(confidence) <= end)
                tally[row][0] += 1
                tally[row][1] += same == previous
            previous = same


def measure(binary, folder, words, options, tally):
    """One run: (switches, pairs, processor seconds, wall seconds, peak MB)."""
    with tempfile.TemporaryDirectory() as scratch:
        out = scratch + '/out'
        cost = run_program(binary, folder, words, options.interval, out)
        phased = switch_errors.read_haplotypes(out + '_haps', 0, 1 << 60)
        known = switch_errors.read_haplotypes(folder + '/study.haps.gz', 0, 1 << 60)
        people = len(next(iter(phased.values()))) // 2
        counts = [switch_errors.count_switches(phased, known, i) for i in range(people)]
        if options.calibration:
            calibration(out, phased, known, tally)
        return (sum(c[0] for c in counts), sum(c[1] for c in counts), *cost)


def standard_error(values):
    return statistics.stdev(values) / math.sqrt(len(values)) if len(values) > 1 else 0.0


def ratio_with_error(errors, others):
    """Ratio of sums and its jackknife standard error."""
    if sum(others) == 0:
        return math.nan, math.nan
    n = len(errors)
    whole = sum(errors) / sum(others)
    parts = [(sum(errors) - e) / (sum(others) - o) for e, o in zip(errors, others) if sum(others) > o]
    mean = sum(parts) / len(parts) if parts else whole
    return whole, math.sqrt((n - 1) / n * sum((part - mean) ** 2 for part in parts))


def print_row(name, rows, first):
    rates = [100 * row[0] / row[1] for row in rows]
    cpu, _, memory = (statistics.mean(row[i] for row in rows) for i in (2, 3, 4))
    ratio, error = ratio_with_error([row[0] for row in rows], [row[0] for row in first])
    print(f'| {name or "defaults"} | {statistics.mean(rates):.3f} +- {standard_error(rates):.3f} '
          f'| {ratio:.3f} +- {error:.3f} | {cpu:.2f} | {cpu / statistics.mean(row[2] for row in first):.2f} '
          f'| {memory:.0f} |', flush=True)


def print_calibration(tally):
    lower = 0.5
    for end, (n, right) in zip(CONFIDENCE_ENDS, tally):
        if n:
            print(f'    confidence {lower:.2f} to {end:.2f}: {n} heterozygotes, {100 * right / n:.1f} % right')
        lower = end


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', default=os.path.join(TOP, 'build/release/orvide'))
    parser.add_argument('--against', metavar='BINARY', help='runs the first settings')
    parser.add_argument('--interval', metavar=('LOWER', 'UPPER'), nargs=2, help='default: all of the data')
    parser.add_argument('--with', dest='shared', metavar='OPTIONS', default='-prephase_g')
    parser.add_argument('--settings', metavar='OPTIONS', action='append', help="may be given several times")
    parser.add_argument('--seeds', metavar='N', type=int, default=1, help='runs of each folder')
    parser.add_argument('--calibration', action='store_true', help='how often a confidence is right')
    parser.add_argument('folders', nargs='+', metavar='FOLDER')
    options = parser.parse_args()

    print('| settings | switch error, % | ratio | processor s | ratio | peak MB |')
    print('| --- | ---: | ---: | ---: | ---: | ---: |')
    first = None
    for settings in options.settings or ['']:
        binary = options.against if options.against and first is None else options.binary
        tally = [[0, 0] for _ in CONFIDENCE_ENDS]
        rows = []
        for folder in options.folders:
            words = shlex.split(options.shared) + shlex.split(settings)
            runs = [measure(binary, folder, [*words, '-seed', str(seed)], options, tally)
                    for seed in range(1, options.seeds + 1)]
            rows.append([sum(column) / len(runs) for column in zip(*runs)])
        first = first or rows
        print_row(settings, rows, first)
        if options.calibration:
            print_calibration(tally)


if __name__ == '__main__':
    main()
