"""The files of one run. Sites are counted while they are read: only typed ones are kept."""
import gzip
import re
import struct
from array import array
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

import numpy

from orvide_report.errors import ReportError, read_text
from orvide_report.run_summary import RunSummary, read_summary

N_FREQUENCIES = 501   # minor allele frequency in thousandths, as it is printed
N_INFOS = 102         # below 0, then hundredths from 0 to 1
WINDOW = 10000        # base pairs
COMMON = 10           # from which minor allele frequency, in thousandths, a site counts in the mean of a window
SITE_COLUMNS = ['rs_id', 'position', 'a0', 'a1', 'exp_freq_a1', 'info', 'type']


@dataclass
class TypedSite:
    rs_id: str
    position: int
    a0: str
    a1: str
    frequency: float
    in_panel: bool
    concordance: float  # of the masked site; -1 where it was not masked
    r2: float


@dataclass
class Run:
    name: str
    chromosome: str
    summary: RunSummary
    only_phasing: bool
    typed: list = field(default_factory=list)                # of TypedSite, by position
    n_imputed: int = 0
    counts: numpy.ndarray = None                             # imputed sites by [frequency][info]
    window_sites: Counter = field(default_factory=Counter)   # common imputed sites by window
    window_info: Counter = field(default_factory=Counter)    # sum of their info, in thousandths
    samples: list = field(default_factory=list)              # names, when a file has them
    sample_columns: dict = field(default_factory=dict)       # column of OUT_info_by_sample -> values
    warnings: list = field(default_factory=list)
    confidence: Counter = field(default_factory=Counter)     # printed value -> how often
    seconds: float = None
    megabytes: float = None


def chromosome_of(name, summary):
    """From the option -chr, else from a word in the name of the run."""
    given = summary.option('-chr')
    if given:
        return given[0]
    found = re.search(r'chr([0-9]+|[XY])(?![0-9A-Za-z])', Path(name).name)
    return found[1] if found else ''


def info_bin(info):
    return 0 if info < 0 else 1 + min(100, int(info * 100 + 1e-6))


class SiteReader:
    """Reads OUT_info into a run."""

    def __init__(self, run, path):
        self.run, self.path = run, path
        self.cells = array('l')

    def read(self):
        lines = iter(read_text(self.path))
        header = next(lines, '').split()
        missing = [column for column in SITE_COLUMNS if column not in header]
        if missing:
            raise ReportError('[%s] is no quality file by site: its first line has no column %s' % (self.path, missing[0]))
        self.at = {column: place for place, column in enumerate(header)}
        number = 1
        try:
            for number, line in enumerate(lines, 2):
                self.add(line.split(), len(header))
        except (ValueError, IndexError) as failure:
            raise ReportError('line %d of [%s] is no line of %d columns with numbers; was the file cut?'
                              % (number, self.path, len(header))) from failure
        counts = numpy.bincount(numpy.array(self.cells, dtype=numpy.int64), minlength=N_FREQUENCIES * N_INFOS)
        self.run.counts = counts.reshape(N_FREQUENCIES, N_INFOS)

    def add(self, fields, n_columns):
        if len(fields) != n_columns:
            raise ValueError
        frequency, info = float(fields[self.at['exp_freq_a1']]), float(fields[self.at['info']])
        if fields[self.at['type']] in '01':
            self.add_imputed(int(fields[self.at['position']]), frequency, info)
        else:
            self.add_typed(fields, frequency)

    def add_imputed(self, position, frequency, info):
        thousandths = max(0, int(min(frequency, 1 - frequency) * 1000 + 0.5))
        self.run.n_imputed += 1
        self.cells.append(thousandths * N_INFOS + info_bin(info))
        if thousandths >= COMMON:
            self.run.window_sites[position // WINDOW] += 1
            self.run.window_info[position // WINDOW] += round(info * 1000)

    def add_typed(self, fields, frequency):
        def masked(what):
            for panels in '01':
                place = self.at.get('%s_type%s' % (what, panels))
                if place is not None and fields[place] != '-1':
                    return float(fields[place])
            return -1.0
        names = (fields[self.at[column]] for column in ('rs_id', 'position', 'a0', 'a1'))
        rs_id, position, a0, a1 = names
        self.run.typed.append(TypedSite(rs_id, int(position), a0, a1, frequency, fields[self.at['type']] == '2',
                                        masked('concord'), masked('r2')))


def read_columns(path):
    """Column -> numbers of a table with a header, fields separated by blanks or tabs."""
    lines = read_text(path)
    header = lines[0].split() if lines else []
    columns = {name: [] for name in header}
    for number, line in enumerate(lines[1:], 2):
        fields = line.split()
        if len(fields) != len(header):
            raise ReportError('line %d of [%s] has %d columns, its header %d' % (number, path, len(fields), len(header)))
        for name, value in zip(header, fields):
            columns[name].append(value)
    return columns


def read_quality_by_sample(path):
    try:
        return {name: [float(v) for v in values] for name, values in read_columns(path).items()}
    except ValueError as failure:
        raise ReportError('a column of [%s] holds something that is no number' % path) from failure


def read_confidence(path):
    """How often each printed value stands in a file of phasing confidence."""
    values = Counter()
    with (gzip.open(path, 'rt') if str(path).endswith('.gz') else open(path, encoding='utf-8')) as lines:
        for line in lines:
            values.update(line.split()[5:])
    for mark in ('*', '-'):
        values.pop(mark, None)
    return values


def header_names(path):
    """The sample names in the header of a VCF or BCF file."""
    with (open(path, 'rb') if str(path).endswith('.vcf') else gzip.open(path, 'rb')) as content:
        if str(path).endswith('.bcf'):
            content.read(5)
            lines = content.read(struct.unpack('<I', content.read(4))[0]).splitlines()
        else:
            lines = content
        for line in lines:
            if line.startswith(b'#CHROM'):
                return line.rstrip(b'\n\0').decode('utf-8', 'replace').split('\t')[9:]
    return []


def read_sample_names(name):
    if Path(name + '_samples').exists():
        rows = [line.split() for line in read_text(name + '_samples')[2:]]
        return [' '.join(dict.fromkeys(row[:2])) for row in rows]
    if name.endswith(('.vcf', '.vcf.gz', '.bcf')) and Path(name).exists():
        try:
            return header_names(name)
        except (OSError, EOFError, struct.error) as failure:
            raise ReportError('cannot read the header of [%s]: %s' % (name, failure)) from failure
    return []


def read_benchmark(run, path):
    columns = read_columns(path)
    try:
        run.seconds = float(columns['s'][-1])
        run.megabytes = float(columns['max_rss'][-1])
    except (KeyError, IndexError) as failure:
        raise ReportError('[%s] has no columns s and max_rss with a line of values' % path) from failure
    except ValueError:
        pass  # A run that was too short to be looked at has a hyphen.


def read_run(name):
    """All files of the run whose -o name this is."""
    summary = read_summary(name + '_summary')
    run = Run(name, chromosome_of(name, summary), summary, '-prephase_g' in summary.command.split())
    if not run.only_phasing:
        SiteReader(run, name + '_info').read()
    if not run.only_phasing and Path(name + '_info_by_sample').exists():
        run.sample_columns = read_quality_by_sample(name + '_info_by_sample')
        run.samples = read_sample_names(name)
    if Path(name + '_warnings').exists():
        run.warnings = [line for line in read_text(name + '_warnings') if line]
    for path in (name + '_haps_confidence', name + '_haps_confidence.gz'):
        if Path(path).exists():
            run.confidence = read_confidence(path)
    if Path(name + '_benchmark').exists():
        read_benchmark(run, name + '_benchmark')
    return run
