"""Allele frequencies of reference panels at typed sites."""
import gzip
from pathlib import Path

from orvide_report.errors import ReportError


def open_text(path):
    try:
        return gzip.open(path, 'rt') if path.endswith('.gz') else open(path, encoding='utf-8')
    except OSError as failure:
        raise ReportError('cannot read the panel [%s], which a run names: %s; run orvide-report where the runs were '
                          'started, or leave --panel out' % (path, failure.strerror)) from failure


def text_frequencies(haplotypes, legend, wanted):
    """(position, label 0, label 1) -> (frequency of allele 1, alleles) at the wanted positions."""
    found = {}
    with open_text(legend) as sites, open_text(haplotypes) as rows:
        next(sites, None)
        for site, row in zip(sites, rows):
            fields = site.split(None, 4)
            if len(fields) < 4 or not fields[1].isdigit():
                raise ReportError('[%s] has a line without position and two labels: "%s"' % (legend, site.strip()))
            if int(fields[1]) in wanted:
                ones, zeros = row.count('1'), row.count('0')
                if ones + zeros:
                    found[int(fields[1]), fields[2], fields[3]] = (ones / (ones + zeros), ones + zeros)
    return found


def record_frequency(record):
    """(frequency of the first alternative allele, alleles) of a VCF record."""
    ones = zeros = 0
    for sample in record.samples.values():
        for allele in sample.allele_indices or ():
            ones += allele == 1
            zeros += allele == 0
    return (ones / (ones + zeros), ones + zeros) if ones + zeros else None


def variant_frequencies(path, wanted, chromosome):
    try:
        import pysam
    except ModuleNotFoundError as missing:
        raise ReportError('--panel with the VCF or BCF panel [%s] needs the Python package pysam (Debian: python3-pysam)'
                          % path) from missing
    pysam.set_verbosity(0)
    found = {}
    try:
        with pysam.VariantFile(path) as records:
            chosen = records.fetch(chromosome, min(wanted) - 1, max(wanted)) if chromosome and records.index else records
            for record in chosen:
                if record.pos in wanted and record.alts and (not chromosome or record.chrom == chromosome):
                    frequency = record_frequency(record)
                    if frequency:
                        found[record.pos, record.ref, record.alts[0]] = frequency
    except (OSError, ValueError) as failure:
        raise ReportError('cannot read the panel [%s]: %s' % (path, failure)) from failure
    return found


def panel_frequencies(runs):
    """The same for all runs of one panel file: reads it once."""
    summary = runs[0].summary
    haplotypes, legends = summary.option('-h'), summary.option('-l')
    wanted = {site.position for run in runs for site in run.typed if site.in_panel}
    if not haplotypes or not wanted:
        return {}
    if not Path(haplotypes[0]).exists():
        raise ReportError('the panel [%s], which a run names, is not there; run orvide-report where the runs were '
                          'started, or leave --panel out' % haplotypes[0])
    if legends:
        return text_frequencies(haplotypes[0], legends[0], wanted)
    return variant_frequencies(haplotypes[0], wanted, runs[0].chromosome)
