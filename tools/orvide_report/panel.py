"""Allele frequencies of reference panels at typed sites."""
import gzip
import subprocess
import tempfile
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


def run_bcftools(commands):
    """What the last of some commands of bcftools says, each reading what the one before writes."""
    stages = []
    try:
        for words in commands:
            stages.append(subprocess.Popen(['bcftools', *words], stdin=stages[-1].stdout if stages else subprocess.DEVNULL,
                                           stdout=subprocess.PIPE, stderr=subprocess.PIPE))
    except FileNotFoundError as missing:
        raise ReportError('--panel with a panel in VCF or BCF needs bcftools (Debian: apt install bcftools)') from missing
    for stage in stages[:-1]:
        stage.stdout.close()  # the next one has it
    said = stages[-1].communicate()[0].decode('utf-8', 'replace')
    for stage, words in zip(stages, commands):
        complaint = '' if stage is stages[-1] else stage.stderr.read().decode('utf-8', 'replace').strip()
        stage.stderr.close()
        if stage.wait():
            raise ReportError('cannot read the panel: bcftools %s: %s' % (' '.join(words[:1] + words[-1:]), complaint))
    return said


def variant_frequencies(path, wanted, chromosome):
    with tempfile.NamedTemporaryFile('w', suffix='.tsv') as positions:
        positions.writelines('%s\t%d\n' % (chromosome, position) for position in sorted(wanted))
        positions.flush()
        targets = ['-T', positions.name] if chromosome else []
        said = run_bcftools([['view', '--no-version', '-Ou', *targets, path], ['+fill-AN-AC', '-Ou'],
                             ['query', '-f', '%POS\t%REF\t%ALT{0}\t%AC{0}\t%AN\n']])
    found = {}
    for line in said.splitlines():
        position, ref, alt, carriers, alleles = line.split('\t')
        if int(position) in wanted and alleles.isdigit() and int(alleles) > 0 and carriers.isdigit():
            found[int(position), ref, alt] = (int(carriers) / int(alleles), int(alleles))
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
