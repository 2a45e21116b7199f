"""What the summary file of a run tells."""
import re
from dataclasses import dataclass, field

from orvide_report.errors import ReportError, read_text

TABLE_START = re.compile(r'^When the masked study genotypes were imputed with reference data from (Panels? [0-9+]+),')
TABLE_ROW = re.compile(r'^  \[(0\.\d)-(?:0\.\d|1\.0)\] +(\d+) +(\d+\.\d)  ')
N_ROWS = 10


@dataclass
class ConcordanceRow:
    """Masked genotypes whose call had a probability from `lower` to `lower` + 0.1."""
    lower: float
    n: int
    concordant: int


@dataclass
class RunSummary:
    version: str = ''
    seed: str = ''
    command: str = ''
    lower: int = 0
    upper: int = 0
    people: int = 0
    haplotypes: int = 0
    flipped: int = 0
    removed: int = 0
    checked_labels: int = 0
    tables: dict = field(default_factory=dict)  # name of the panels -> ConcordanceRow by probability

    def option(self, name, count=1):
        """The values of an option of the command line; none when it is not there."""
        words = self.command.split()
        return words[words.index(name) + 1:words.index(name) + 1 + count] if name in words else []


# What is read by a pattern: attribute, pattern, type.
FIELDS = [
    ('version', re.compile(r'^ ORVIDE version (\S+) *$'), str),
    ('seed', re.compile(r'^The seed for the random number generator is (-?\d+)\.'), str),
    ('command', re.compile(r'^Command-line input: (.*)'), str),
    ('people', re.compile(r'^ +study individuals: (\d+) '), int),
    ('haplotypes', re.compile(r'^ +reference haplotypes: (\d+) \[Panel 0\]'), int),
    ('flipped', re.compile(r'^ --flipped strand due to allele mismatch at (\d+) out of \d+ SNPs in Panel 2'), int),
    ('removed', re.compile(r'^ --removed (\d+) out of \d+ SNPs with data in multiple panels'), int),
    ('checked_labels', re.compile(r'^ --removed \d+ out of (\d+) SNPs with data in multiple panels'), int),
]


def read_table(lines, path):
    rows = []
    for line in lines:
        row = TABLE_ROW.match(line)
        if row:
            n = int(row[2])
            rows.append(ConcordanceRow(float(row[1]), n, round(n * float(row[3]) / 100)))
        elif rows:
            break
    if len(rows) != N_ROWS:
        raise ReportError('the accuracy table of [%s] has %d rows in place of %d; was the file changed or cut?'
                          % (path, len(rows), N_ROWS))
    return rows


def read_interval(summary, path):
    values = summary.option('-int', 2)
    try:
        summary.lower, summary.upper = (int(float(v)) for v in values)
    except ValueError as failure:
        raise ReportError('the command line in [%s] has no interval (-int LOWER UPPER)' % path) from failure


def read_summary(path):
    lines = read_text(path)
    summary = RunSummary()
    for number, line in enumerate(lines):
        if line.startswith('ERROR:'):
            raise ReportError('the run of [%s] did not end well: "%s"; repeat it or leave it out' % (path, line))
        start = TABLE_START.match(line)
        if start:
            summary.tables[start[1]] = read_table(lines[number + 1:], path)
        for name, pattern, kind in FIELDS:
            found = pattern.match(line)
            if found and not getattr(summary, name):
                setattr(summary, name, kind(found[1]))
    if not summary.version or not summary.command:
        raise ReportError('[%s] is no summary of a run: it has no version or no command line' % path)
    read_interval(summary, path)
    return summary
