#!/usr/bin/env python3
"""Runs every command of docs/tutorial.md on the example data, and checks what the page says of the results.

    run_tutorial.py --binary BINARY

Ends with status 77, which counts as skipped, when bcftools or plink2 are missing.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent
SKIPPED = 77


def commands():
    """The shell blocks of the page, each with the heading that it stands under."""
    heading = ''
    for part in re.split(r'(^## .*$)', (TOP / 'docs' / 'tutorial.md').read_text(), flags=re.MULTILINE):
        if part.startswith('## '):
            heading = part[3:]
        for block in re.findall(r'^```sh\n(.*?)^```', part, flags=re.MULTILINE | re.DOTALL):
            yield heading, block


def run(folder, binary, block):
    environment = dict(os.environ, PATH='%s:%s' % (binary.parent, os.environ['PATH']), examples=str(TOP / 'examples'))
    return subprocess.run(['bash', '-euc', block], cwd=folder, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True)


def output(folder, *command):
    return subprocess.run(command, cwd=folder, check=True, stdout=subprocess.PIPE, text=True).stdout


def check_results(folder):
    """What the page says, as (words, whether it holds)."""
    sites = output(folder, 'bcftools', 'query', '-f', '%POS\n', 'one_step.vcf.gz').split()
    yield 'the interval alone is written', 1050000 <= int(sites[0]) and int(sites[-1]) <= 1350000
    calls = output(folder, 'bcftools', 'query', '-f', '[%GT\n]', 'phased.vcf.gz').split()
    yield 'the first step leaves all genotypes phased and none missing', all(re.fullmatch(r'[01]\|[01]', c) for c in calls)
    phased = output(folder, 'bcftools', 'query', '-f', '%POS\n', 'phased.vcf.gz').split()
    yield 'the first step holds the buffers', int(phased[0]) < 1050000 and int(phased[-1]) > 1350000
    fields = output(folder, 'bcftools', 'view', '-h', 'imputed.vcf.gz')
    yield 'the second step has HDS', 'ID=HDS' in fields
    good = output(folder, 'bcftools', 'query', '-f', '%INFO/INFO %INFO/AF %INFO/TYPED\n', 'good.bcf').split('\n')[:-1]
    yield 'the filter keeps what it should', all(
        typed == '1' or (float(info) >= 0.4 and 0.01 <= float(af) <= 0.99) for info, af, typed in map(str.split, good))
    wanted = {p: float(f) for p, f in map(str.split, output(folder, 'bcftools', 'query', '-f', '%ID %INFO/AF\n', 'good.bcf')
                                          .split('\n')[:-1])}
    rows = [line.split() for line in (folder / 'good.afreq').read_text().split('\n')[1:-1]]
    yield 'ALT_FREQS is INFO/AF', len(rows) == len(wanted) and all(
        abs(float(row[4]) - wanted[row[1]]) < 2e-4 for row in rows)
    joined = output(folder, 'bcftools', 'query', '-f', '%POS %REF %ALT\n', 'chr20.vcf.gz')
    yield 'pieces hold the sites of the whole', joined == output(folder, 'bcftools', 'query', '-f', '%POS %REF %ALT\n',
                                                                'one_step.vcf.gz')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', required=True, type=Path)
    binary = parser.parse_args().binary.resolve()
    missing = [name for name in ('bcftools', 'plink2') if shutil.which(name) is None]
    if missing:
        print('skipped: no ' + ', no '.join(missing))
        return SKIPPED
    n_failed = 0
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        for heading, block in commands():
            result = run(folder, binary, block)
            good = result.returncode == 0 and not result.stderr
            print('%s %s' % ('PASS' if good else 'FAIL', heading or 'files'))
            if not good:
                print(block + result.stdout + result.stderr)
                return 1
        for words, holds in check_results(folder):
            print('%s %s' % ('PASS' if holds else 'FAIL', words))
            n_failed += not holds
    return 1 if n_failed else 0


if __name__ == '__main__':
    sys.exit(main())
