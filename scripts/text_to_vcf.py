#!/usr/bin/env python3
"""Makes VCF text of genotypes, haplotypes with a legend, or haplotypes of people in ORVIDE's text formats.

    text_to_vcf.py --chr NAME [--length BP] --gen FILE [--sample FILE] [--fields GT,GP,GL,PL] [--threshold P] [--haploid WHO]
    text_to_vcf.py --chr NAME [--length BP] --hap FILE --legend FILE
    text_to_vcf.py --chr NAME [--length BP] --haps FILE [--sample FILE] [--haploid everybody]

Writes to standard output; 'bgzip' or 'bcftools view -Ob' compresses it, 'bcftools index' indexes the result. A genotype is
called when its largest probability is at least the threshold (0.9), and is missing otherwise. Legend columns behind the
fourth become INFO fields. Without a sample file people are named id1, id2, ... (reference people ref1, ...; another word by
--people). A "-" in place of a second haplotype makes a haploid call; so does --haploid, for everybody or for the males of the
sample file.
"""
import argparse
import gzip
import math
import sys


def lines_of(name):
    with (gzip.open(name, 'rt') if name.endswith('.gz') else open(name)) as f:
        for line in f:
            if line.strip():
                yield line.split()


def people(arguments, n):
    if not arguments.sample:
        word = arguments.people or ('ref' if arguments.hap else 'id')
        return ['%s%d' % (word, i + 1) for i in range(n)]
    rows = list(lines_of(arguments.sample))[2:]
    return [row[1] for row in rows]


def haploid_people(arguments, n):
    """By person: whether the calls have one allele."""
    if arguments.haploid != 'males':
        return [arguments.haploid == 'everybody'] * n
    rows = list(lines_of(arguments.sample))
    column = rows[0].index('sex')
    return [row[column] == '1' for row in rows[2:]]


def number(value):
    return '%g' % value


def genotype_fields(triple, fields, threshold, haploid):
    best = max(range(3), key=lambda g: triple[g])
    total = sum(triple)
    texts = []
    for field in fields:
        if field == 'GT':
            calls = ('0', '.', '1') if haploid else ('0/0', '0/1', '1/1')
            texts.append(calls[best] if triple[best] > threshold - 1e-6 else '.' if haploid else './.')
        elif total <= 0:
            texts.append('.')
        elif field == 'GP':
            texts.append(','.join(number(p) for p in triple))
        elif field == 'GL':
            texts.append(','.join(number(max(-300.0, math.log10(p))) if p > 0 else '-300' for p in triple))
        else:
            top = max(triple)
            texts.append(','.join(str(round(-10 * math.log10(p / top))) if p > 0 else '3000' for p in triple))
    return ':'.join(texts)


def of_genotypes(arguments):
    fields = arguments.fields.split(',')
    for row in lines_of(arguments.gen):
        values = [float(v) for v in row[5:]]
        if len(values) % 3:
            raise ValueError('%d probabilities are not three a person' % len(values))
        triples = [values[i:i + 3] for i in range(0, len(values), 3)]
        calls = [genotype_fields(t, fields, arguments.threshold, haploid)
                 for t, haploid in zip(triples, haploid_people(arguments, len(triples)))]
        yield row[1], row[2], row[3], row[4], '.', calls


def pairs_of(alleles, haploid=False):
    alleles = [a.replace('?', '.') for a in alleles]
    if haploid:
        yield from (a.rstrip('*') for a in alleles)
        return
    for first, second in zip(alleles[::2], alleles[1::2]):
        mark = '/' if first.endswith('*') else '|'
        first, second = first.rstrip('*'), second.rstrip('*')
        yield first if second == '-' else first + mark + second


def of_panel(arguments):
    rows = lines_of(arguments.legend)
    header = next(rows)
    for site, alleles in zip(rows, lines_of(arguments.hap)):
        info = ';'.join('%s=%s' % (name, value) for name, value in zip(header[4:], site[4:])) or '.'
        yield site[0], site[1], site[2], site[3], info, list(pairs_of(alleles))


def of_haplotypes(arguments):
    for row in lines_of(arguments.haps):
        yield row[1], row[2], row[3], row[4], '.', list(pairs_of(row[5:], arguments.haploid == 'everybody'))


FORMATS = {'GT': ('1', 'String'), 'GP': ('G', 'Float'), 'GL': ('G', 'Float'), 'PL': ('G', 'Integer')}


def head(arguments, fields, names):
    yield '##fileformat=VCFv4.3'
    length = ',length=%d' % arguments.length if arguments.length else ''
    yield '##contig=<ID=%s%s>' % (arguments.chr, length)
    if arguments.legend:
        for name in next(lines_of(arguments.legend))[4:]:
            yield '##INFO=<ID=%s,Number=1,Type=%s,Description="Column of the legend">' % (name, arguments.info_type)
    for field in fields:
        yield '##FORMAT=<ID=%s,Number=%s,Type=%s,Description="Genotype">' % ((field,) + FORMATS[field])
    yield '\t'.join(['#CHROM', 'POS', 'ID', 'REF', 'ALT', 'QUAL', 'FILTER', 'INFO', 'FORMAT'] + names)


def parser():
    result = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    result.add_argument('--chr', required=True)
    result.add_argument('--length', type=int)
    result.add_argument('--gen')
    result.add_argument('--hap')
    result.add_argument('--legend')
    result.add_argument('--haps')
    result.add_argument('--sample')
    result.add_argument('--fields', default='GT')
    result.add_argument('--info-type', default='Float')
    result.add_argument('--threshold', type=float, default=0.9)
    result.add_argument('--people')
    result.add_argument('--haploid', choices=['everybody', 'males'])
    return result


def convert(arguments):
    """The lines of VCF text."""
    if arguments.gen:
        sites = of_genotypes(arguments)
    else:
        sites = of_panel(arguments) if arguments.hap else of_haplotypes(arguments)
    fields = arguments.fields.split(',') if arguments.gen else ['GT']
    for i, (name, position, ref, alt, info, calls) in enumerate(sites):
        if i == 0:
            names = people(arguments, len(calls))
            if len(names) != len(calls):
                raise ValueError('the sample file names %d people, the data have %d' % (len(names), len(calls)))
            yield from head(arguments, fields, names)
        yield '\t'.join([arguments.chr, position, name, ref, alt, '.', '.', info, ':'.join(fields)] + calls)


def main():
    options = parser()
    arguments = options.parse_args()
    kinds = sum(bool(x) for x in (arguments.gen, arguments.hap, arguments.haps))
    if kinds != 1 or bool(arguments.hap) != bool(arguments.legend):
        options.error('one of --gen, --hap with --legend, --haps is needed')
    try:
        for line in convert(arguments):
            print(line)
    except ValueError as error:
        sys.exit(str(error))


if __name__ == '__main__':
    main()
