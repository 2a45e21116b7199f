"""Runs put together: their order, sums over them, and what stands out."""
import math
import re
from collections import Counter, defaultdict
from dataclasses import dataclass, field

import numpy

from orvide_report.errors import ReportError
from orvide_report.panel import panel_frequencies
from orvide_report.run_files import N_FREQUENCIES, N_INFOS, Run, read_run
from orvide_report.run_summary import N_ROWS, ConcordanceRow


@dataclass
class FrequencyPair:
    """A typed site in study and panel; `z` is the difference in standard errors of the two samples."""
    chromosome: str
    site: object
    panel: float
    z: float

    @property
    def difference(self):
        return self.site.frequency - self.panel

    def looks_like(self):
        turned = abs(1 - self.site.frequency - self.panel)
        if turned > abs(self.difference) / 3:
            return 'no simple reason'
        if {self.site.a0, self.site.a1} in ({'A', 'T'}, {'C', 'G'}):
            return 'other strand (A/T or C/G)'
        return 'alleles exchanged'


@dataclass
class Study:
    runs: list                                      # by chromosome and position
    pairs: list = field(default_factory=list)       # FrequencyPair, when asked for
    compared_with_panel: bool = False

    def __post_init__(self):
        self.imputed = [run for run in self.runs if not run.only_phasing]

    def chromosomes(self):
        """Chromosome -> its runs that impute, in order."""
        groups = defaultdict(list)
        for run in self.imputed:
            groups[run.chromosome].append(run)
        return dict(groups)


def chromosome_key(name):
    """Numbers by size, then names."""
    number = re.fullmatch(r'(?:chr)?(\d+)', name)
    return (0, int(number[1]), '') if number else (1, 0, name)


def check_names(names):
    double = [name for name, count in Counter(names).items() if count > 1]
    if double:
        raise ReportError('the run [%s] is named twice' % double[0])


def check_overlaps(runs):
    """Two imputed stretches with sites in common would count them twice."""
    last = None
    for run in runs:
        if run.only_phasing:
            continue
        if last and last.chromosome == run.chromosome and run.summary.lower <= last.summary.upper:
            raise ReportError('the intervals of [%s] and [%s] overlap%s; give each stretch once'
                              % (last.name, run.name, '' if run.chromosome else
                                 ', or are of different chromosomes, which -chr or a word such as chr20 in the name tells'))
        last = run


def compare_with_panel(runs):
    by_panel = defaultdict(list)
    for run in runs:
        by_panel[tuple(run.summary.option('-h')), run.chromosome].append(run)
    pairs = []
    for group in by_panel.values():
        frequencies = panel_frequencies(group)
        for run in group:
            pairs += [pair for site in run.typed if site.in_panel
                      for pair in [frequency_pair(run, site, frequencies)] if pair]
    return pairs


def frequency_pair(run: Run, site, frequencies):
    found = frequencies.get((site.position, site.a0, site.a1))
    if not found:
        turned = frequencies.get((site.position, site.a1, site.a0))
        found = (1 - turned[0], turned[1]) if turned else None
    if not found:
        return None
    panel, alleles = found
    own = 2 * max(1, run.summary.people)
    pooled = (site.frequency * own + panel * alleles) / (own + alleles)
    error = math.sqrt(max(pooled * (1 - pooled), 0.25 / (own + alleles)) * (1 / own + 1 / alleles))
    return FrequencyPair(run.chromosome, site, panel, (site.frequency - panel) / error)


def read_study(names, with_panel):
    check_names(names)
    runs = sorted((read_run(name) for name in names),
                  key=lambda run: (chromosome_key(run.chromosome), run.summary.lower, run.only_phasing, run.name))
    check_overlaps(runs)
    study = Study(runs)
    if with_panel:
        study.pairs = compare_with_panel(study.imputed)
        study.compared_with_panel = True
    return study


def site_counts(study):
    """Imputed sites by [frequency][info], summed over all runs."""
    return sum((run.counts for run in study.imputed), numpy.zeros((N_FREQUENCIES, N_INFOS), dtype=numpy.int64))


def concordance_tables(study):
    """Name of the panels -> rows, summed over all runs."""
    sums = {}
    for run in study.imputed:
        for panels, rows in run.summary.tables.items():
            total = sums.setdefault(panels, [ConcordanceRow(i / 10, 0, 0) for i in range(N_ROWS)])
            for into, row in zip(total, rows):
                into.n += row.n
                into.concordant += row.concordant
    return {panels: rows for panels, rows in sums.items() if sum(row.n for row in rows)}


def run_concordance(run):
    """Share of masked genotypes that came back, of the last table of a run; None without one."""
    for rows in reversed(list(run.summary.tables.values())):
        n = sum(row.n for row in rows)
        if n:
            return sum(row.concordant for row in rows) / n
    return None


@dataclass
class SampleQuality:
    name: str
    concordance: float
    r2: float
    sites: float  # masked ones
    stands_out: bool = False


def sample_quality(study):
    """By person: means over the runs, weighted by their typed sites that were masked."""
    sums, weights, names = None, None, []
    for run in study.imputed:
        columns = [run.sample_columns.get('concord_type' + p) or [] for p in '01']
        squares = [run.sample_columns.get('r2_type' + p) or [] for p in '01']
        values = numpy.array([next((c for c in columns if c), []), next((c for c in squares if c), [])])
        if not values.size:
            continue
        if sums is None:
            sums, weights = numpy.zeros(values.shape), numpy.zeros(values.shape)
        if values.shape != sums.shape:
            raise ReportError('[%s_info_by_sample] has %d people, an earlier run %d; give the runs of one study'
                              % (run.name, values.shape[1], sums.shape[1]))
        weight = (values > -1) * max(1, sum(site.concordance >= 0 for site in run.typed))
        sums += values * weight
        weights += weight
        names = names or run.samples
    if sums is None:
        return []
    means = numpy.where(weights > 0, sums / numpy.maximum(weights, 1), -1)
    if len(names) != means.shape[1]:
        names = ['person %d' % (i + 1) for i in range(means.shape[1])]
    people = [SampleQuality(name, *map(float, values)) for name, *values in zip(names, *means, weights[0])]
    mark_outliers(people)
    return people


def mark_outliers(people):
    """Far below the middle: by more than five standard deviations, those of people (robust) and of few sites, and by more than a
    hundredth."""
    values = numpy.array([person.concordance for person in people])
    middle = numpy.median(values)
    people_spread = 1.4826 * numpy.median(numpy.abs(values - middle))
    mean = min(1.0, max(0.0, float(values.mean())))
    for person in people:
        spread = math.hypot(people_spread, math.sqrt(mean * (1 - mean) / max(1, person.sites)))
        person.stands_out = bool(middle - person.concordance > max(5 * spread, 0.01))


def frequency_outliers(study):
    """Pairs that differ by more than a tenth and six standard errors, the farthest first."""
    far = [pair for pair in study.pairs if abs(pair.difference) > 0.1 and abs(pair.z) > 6]
    return sorted(far, key=lambda pair: (-abs(pair.difference), chromosome_key(pair.chromosome), pair.site.position))


def poor_typed_sites(study):
    """(chromosome, site) of frequent typed sites that come back badly when they are masked, the worst first."""
    poor = [(run.chromosome, site) for run in study.imputed for site in run.typed
            if site.concordance >= 0 and 0.05 <= site.frequency <= 0.95 and 0 <= site.r2 < 0.3]
    return sorted(poor, key=lambda item: (item[1].r2, chromosome_key(item[0]), item[1].position))


def seam_gaps(study):
    """(chromosome, first missing position, last missing position) between neighbouring runs."""
    return [(chromosome, before.summary.upper + 1, after.summary.lower - 1)
            for chromosome, runs in study.chromosomes().items() for before, after in zip(runs, runs[1:])
            if after.summary.lower > before.summary.upper + 1]


@dataclass
class WarningGroup:
    example: str
    count: int = 0
    runs: int = 0


def warning_groups(study):
    """Warnings that differ in positions, names and alleles only are one group; the largest group first."""
    groups = {}
    for run in study.runs:
        seen = set()
        for text in run.warnings:
            key = re.sub(r'(?<!Panel )(?<!Type )\S*\d\S*', '#', text)
            key = re.sub(r'\b[ACGT]+\b', '*', key)
            group = groups.setdefault(key, WarningGroup(text.removeprefix('WARNING: ')))
            group.count += 1
            group.runs += key not in seen
            seen.add(key)
    return sorted(groups.values(), key=lambda group: (-group.count, group.example))


def confidence_counts(study):
    """Heterozygous pairs by phasing confidence: below 0.5, then tenths, the last one only what is 1."""
    counts = [0] * 7
    for run in study.runs:
        for value, n in run.confidence.items():
            place = 6 if float(value) >= 1 else max(0, int(float(value) * 10 + 1e-6) - 4)
            counts[place] += n
    return counts
