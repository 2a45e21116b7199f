#!/usr/bin/env python3
"""Puts the imputed chunks of a chromosome together, with an index and one quality file, and checks the seams.

The chunks are those of a plan (orvide-plan), in its order; beside each stands its quality file, named like it with _info.
They must have the same people, every site once and inside its chunk, in order, and as many sites as their quality files.
bcftools joins them without unpacking.
"""
import argparse
import csv
import os
import subprocess
import sys


class JoinError(Exception):
    pass


def bcftools(*words):
    try:
        done = subprocess.run(['bcftools', *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    except FileNotFoundError as missing:
        raise JoinError('bcftools is missing (Debian: apt install bcftools)') from missing
    if done.returncode:
        raise JoinError('bcftools %s: %s' % (' '.join(words[:3]), done.stderr.strip()))
    return done.stdout


def read_plan(path, n_chunks):
    """[(lower, upper)]; neighbours of one arm follow each other without a hole."""
    with open(path, encoding='utf-8', newline='') as table:
        rows = list(csv.DictReader(table, delimiter='\t'))
    if len(rows) != n_chunks:
        raise JoinError('the plan [%s] has %d chunks, and %d are given' % (path, len(rows), n_chunks))
    for before, after in zip(rows, rows[1:]):
        if before['arm'] == after['arm'] and int(after['lower']) != int(before['upper']) + 1:
            raise JoinError('the plan [%s] has a hole or an overlap behind %s' % (path, before['upper']))
    return [(int(row['lower']), int(row['upper'])) for row in rows]


class QualityJoiner:
    """Checks the sites of chunk after chunk by their quality files, and writes them as one."""

    def __init__(self, out):
        self.out = out
        self.header = None
        self.last = 0
        self.here = set()  # labels at the last position

    def add(self, path, lower, upper):
        """The number of sites."""
        n = 0
        with open(path, encoding='utf-8') as lines:
            header = next(lines, '')
            if self.header is None:
                self.out.write(header)
                self.header = header
            if header != self.header:
                raise JoinError('[%s] has other columns than the chunk before' % path)
            for n, line in enumerate(lines, 1):
                self.check(path, line.split(), lower, upper)
                self.out.write(line)
        return n

    def check(self, path, fields, lower, upper):
        position, labels = int(fields[2]), (fields[3], fields[4])
        if not lower <= position <= upper:
            raise JoinError('[%s] has a site at %d, outside its chunk %d to %d' % (path, position, lower, upper))
        if position < self.last:
            raise JoinError('[%s] is not in order at %d' % (path, position))
        if position > self.last:
            self.here = set()
        if labels in self.here:
            raise JoinError('[%s] has the site %d %s %s twice' % (path, position, *labels))
        self.here.add(labels)
        self.last = position


def join_quality(chunks, intervals, path):
    """The number of sites of each chunk."""
    with open(path, 'w', encoding='utf-8') as out:
        joiner = QualityJoiner(out)
        return [joiner.add(chunk + '_info', *interval) for chunk, interval in zip(chunks, intervals)]


def check_people(chunks):
    first = bcftools('query', '-l', chunks[0])
    for chunk in chunks[1:]:
        if bcftools('query', '-l', chunk) != first:
            raise JoinError('[%s] and [%s] do not have the same people' % (chunks[0], chunk))


def temporary(path):
    """A name in the same directory, with the same ending, for what is not whole yet."""
    folder, name = os.path.split(path)
    return os.path.join(folder, '.joining_' + name)


def index_of(path):
    return path + ('.tbi' if path.endswith('.gz') else '.csi')


def join(options, output, info):
    """Writes output with its index and info; the options name what goes in."""
    intervals = read_plan(options.plan, len(options.chunks))
    check_people(options.chunks)
    counts = join_quality(options.chunks, intervals, info)
    for chunk, count in zip(options.chunks, counts):
        records = int(bcftools('index', '-n', chunk))
        if records != count:
            raise JoinError('[%s] has %d records, its quality file %d' % (chunk, records, count))
    bcftools('concat', '--naive', '-o', output, *options.chunks)
    bcftools('index', '--tbi' if output.endswith('.gz') else '--csi', '--force', output)
    records = int(bcftools('index', '-n', output))
    if records != sum(counts):
        raise JoinError('[%s] has %d records, its chunks %d' % (options.output, records, sum(counts)))
    print('joined %d chunks with %d sites to %s' % (len(counts), records, options.output))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('chunks', nargs='+', metavar='CHUNK', help='.vcf.gz or .bcf, with an index')
    parser.add_argument('--plan', metavar='FILE', required=True, help='table of orvide-plan')
    parser.add_argument('--info', metavar='FILE', required=True, help='the quality file of all, to be written')
    parser.add_argument('-o', '--output', metavar='FILE', required=True, help='the chromosome, to be written')
    options = parser.parse_args()
    output, info = temporary(options.output), temporary(options.info)
    try:
        join(options, output, info)
        for made, name in ((index_of(output), index_of(options.output)), (info, options.info), (output, options.output)):
            os.replace(made, name)
        os.utime(index_of(options.output))  # not older than its file
    except (JoinError, OSError, ValueError) as error:
        for path in (output, index_of(output), info):
            if os.path.exists(path):
                os.remove(path)
        print('ERROR: %s' % error, file=sys.stderr)
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main())
