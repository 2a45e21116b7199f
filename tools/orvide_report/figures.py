"""The plots, as SVG images that depend on the data alone and can be told apart without colour."""
import base64
import io
from dataclasses import dataclass

import matplotlib
import numpy
from matplotlib.colors import LogNorm
from matplotlib.figure import Figure
from matplotlib.ticker import MaxNLocator

from orvide_report.run_files import COMMON, N_FREQUENCIES, WINDOW

STYLE = {
    'svg.hashsalt': 'orvide', 'svg.fonttype': 'none', 'font.family': 'sans-serif', 'font.size': 9.5,
    'axes.spines.top': False, 'axes.spines.right': False, 'axes.grid': True, 'grid.color': '#d9d9d9', 'grid.linewidth': 0.6,
    'axes.axisbelow': True, 'axes.titlesize': 10, 'axes.titlelocation': 'left', 'legend.frameon': False, 'hatch.linewidth': 0.5,
}
DARK, MIDDLE, LIGHT = '#1a1a1a', '#6b6b6b', '#c4c4c4'
MARKERS = ['o', 's', '^', 'D']
LINES = ['-', '--', ':', '-.']


@dataclass
class Picture:
    source: str  # a data URI
    alt: str


def draw(width, height, plot, alt):
    """A picture of what `plot` draws into a figure of this size in inches."""
    with matplotlib.rc_context(STYLE):
        figure = Figure(figsize=(width, height), layout='constrained')
        plot(figure)
        text = io.StringIO()
        figure.savefig(text, format='svg', metadata={'Date': None, 'Creator': None, 'Type': None})
    return Picture('data:image/svg+xml;base64,' + base64.b64encode(text.getvalue().encode()).decode(), alt)


# Lower ends of classes of the minor allele frequency in thousandths, about equal in steps of its logarithm.
CLASS_STARTS = [0, 1, 2, 3, 4, 6, 8, 11, 16, 23, 32, 45, 64, 91, 128, 181, 256, 362]


def class_label(start):
    return '0' if start == 0 else '%g' % (start / 10)


def weighted_quantile(counts, share):
    """The info below which this share of sites lies; counts by info bin."""
    total = counts.sum()
    place = int(numpy.searchsorted(numpy.cumsum(counts), share * total, side='left'))
    return max(0, place - 1) / 100


def info_by_frequency(counts, typed):
    """Imputed sites by frequency and info as shades, with quartiles, and the r2 of masked typed sites."""
    ends = CLASS_STARTS[1:] + [N_FREQUENCIES]
    classes = numpy.array([counts[a:b].sum(axis=0) for a, b in zip(CLASS_STARTS, ends)])
    shades = numpy.array([[row[0], *row[1:101].reshape(20, 5).sum(axis=1)] for row in classes], dtype=float)
    shades[:, -1] += classes[:, 101]
    there = [i for i, row in enumerate(classes) if row.sum()]
    masked = masked_r2(typed, ends)

    def plot(figure):
        axes = figure.subplots()
        picture = axes.imshow(numpy.where(shades > 0, shades, numpy.nan).T, origin='lower', aspect='auto', cmap='Greys',
                              norm=LogNorm(1, max(10, shades.max()) * 4), extent=(-0.5, len(CLASS_STARTS) - 0.5, -0.05, 1.0),
                              interpolation='nearest')
        for share, line, label in ((0.25, ':', 'quarter of the sites below'), (0.5, '-', 'median')):
            axes.plot(there, [weighted_quantile(classes[i], share) for i in there], line, color='white', linewidth=4)
            axes.plot(there, [weighted_quantile(classes[i], share) for i in there], line, color='black', linewidth=1.8,
                      label=label)
        if masked:
            axes.plot(*zip(*masked), linestyle='none', marker='D', markersize=6, markerfacecolor='white',
                      markeredgecolor='black', label='r² of masked typed sites')
        axes.set_xticks(range(len(CLASS_STARTS)), [class_label(start) for start in CLASS_STARTS])
        axes.set(xlabel='minor allele frequency in percent, lower end of the class', ylabel='info', ylim=(-0.05, 1.02))
        axes.legend(loc='lower right', frameon=True, framealpha=0.9)
        figure.colorbar(picture, ax=axes, label='sites')
    common = counts[50:].sum(axis=0)
    alt = ('Density plot of info against minor allele frequency for imputed sites. The median info is %s below a frequency of '
           '1 percent and %s from 5 percent on.' % (quantile_text(counts[:10].sum(axis=0)), quantile_text(common)))
    return draw(7.6, 4.0, plot, alt)


def quantile_text(counts):
    return '%.2f' % weighted_quantile(counts, 0.5) if counts.sum() else 'undefined'


def masked_r2(typed, ends):
    """(class, mean r2) of masked typed sites, classes with at least 5 sites."""
    values = [[] for _ in ends]
    for site in typed:
        if site.r2 >= 0:
            minor = min(N_FREQUENCIES - 1, int(min(site.frequency, 1 - site.frequency) * 1000 + 0.5))
            values[next(i for i, end in enumerate(ends) if minor < end)].append(site.r2)
    return [(i, sum(v) / len(v)) for i, v in enumerate(values) if len(v) >= 5]


def sites_by_class(labels, classes, table):
    """Shares of info classes in each frequency class, as stacked bars; table[frequency class][info class]."""
    fills = [('white', ''), (LIGHT, '....'), (LIGHT, '////'), (MIDDLE, ''), (DARK, '')]

    def plot(figure):
        axes = figure.subplots()
        left = numpy.zeros(len(labels))
        totals = numpy.maximum(1, numpy.array(table).sum(axis=1))
        for i, name in enumerate(classes):
            widths = 100 * numpy.array([row[i] for row in table]) / totals
            axes.barh(labels, widths, left=left, color=fills[i][0], hatch=fills[i][1], edgecolor='black', linewidth=0.6,
                      label=name)
            left += widths
        axes.set(xlabel='percent of the imputed sites of the class', xlim=(0, 100), ylabel='minor allele frequency')
        axes.grid(axis='y', visible=False)
        axes.legend(loc='lower center', bbox_to_anchor=(0.5, 1.0), ncols=len(classes))
    n = [sum(row) for row in table]
    good = sum(row[-1] + row[-2] for row in table)
    alt = ('Stacked bars of info classes by allele frequency. %s of %s imputed sites have an info of 0.8 or more.'
           % (format(good, ','), format(sum(n), ',')))
    return draw(7.6, 2.9, plot, alt)


def self_check(tables):
    """Concordance against the share of calls made, and calibration."""
    def plot(figure):
        curve, calibration = figure.subplots(1, 2)
        for number, (panels, rows) in enumerate(tables.items()):
            called, right = cumulated(rows)
            style = {'color': 'black', 'linestyle': LINES[number], 'marker': MARKERS[number], 'markersize': 4.5, 'label': panels}
            curve.plot(called, right, **style)
            some = [row for row in rows if row.n]
            calibration.plot([row.lower * 100 + 5 for row in some], [100 * row.concordant / row.n for row in some], **style)
        curve.set(xlabel='percent of masked genotypes called', ylabel='percent of calls that are right',
                  title='Certain calls first')
        calibration.plot([0, 100], [0, 100], color=MIDDLE, linewidth=1, linestyle=(0, (1, 3)), label='perfect calibration')
        calibration.set(xlabel='probability of the call in percent', ylabel='percent of calls that are right', xlim=(0, 100),
                        ylim=(0, 103), title='Calibration')
        calibration.legend(loc='lower right')
    first = next(iter(tables.values()))
    called, right = cumulated(first)
    alt = ('Two curves from the self-check. When all masked genotypes are called, %.1f percent of the calls are right; of the '
           'calls with a probability of at least 0.9, which are %.1f percent of all, %.1f percent are right.'
           % (right[0], called[-1], right[-1]))
    return draw(7.6, 3.2, plot, alt)


def cumulated(rows):
    """By threshold: percent of masked genotypes that are called, and percent of these calls that are right."""
    n = numpy.cumsum([row.n for row in reversed(rows)])[::-1]
    right = numpy.cumsum([row.concordant for row in reversed(rows)])[::-1]
    return 100 * n / n[0], 100 * right / numpy.maximum(1, n)


def frequencies(pairs, outliers):
    """Study against panel frequency as shades, with outliers as crosses."""
    def plot(figure):
        axes = figure.subplots()
        cells, _, _ = numpy.histogram2d([p.panel for p in pairs], [p.site.frequency for p in pairs], bins=50,
                                        range=[[0, 1], [0, 1]])
        picture = axes.imshow(numpy.where(cells > 0, cells, numpy.nan).T, origin='lower', cmap='Greys', extent=(0, 1, 0, 1),
                              norm=LogNorm(0.5, max(10, cells.max())), interpolation='nearest')
        axes.plot([0, 1], [0, 1], color='black', linewidth=0.8, linestyle='--')
        if outliers:
            axes.plot([p.panel for p in outliers], [p.site.frequency for p in outliers], linestyle='none', marker='x',
                      markersize=6, color='black', label='outliers')
            axes.legend(loc='lower center', bbox_to_anchor=(0.5, 1.0))
        axes.set(xlabel='frequency of allele 1 in the panel', ylabel='frequency of allele 1 in the study')
        figure.colorbar(picture, ax=axes, label='typed sites')
    return draw(4.9, 4.2, plot, 'Density plot of the allele frequency in the study against that in the panel at %s typed sites: '
                '%d outliers.' % (format(len(pairs), ','), len(outliers)))


def samples(people):
    """Concordance of each person, sorted."""
    ordered = sorted(people, key=lambda person: person.concordance)

    def plot(figure):
        axes = figure.subplots()
        axes.plot(range(1, len(ordered) + 1), [100 * p.concordance for p in ordered], color='black', marker='.', markersize=4,
                  linewidth=0.8, label='people')
        far = [(i + 1, 100 * p.concordance) for i, p in enumerate(ordered) if p.stands_out]
        if far:
            axes.plot(*zip(*far), linestyle='none', marker='x', markersize=8, color='black', label='outliers')
            axes.legend(loc='lower right')
        axes.set(xlabel='people, from the lowest', ylabel='masked genotypes\nthat come back, percent')
        axes.xaxis.set_major_locator(MaxNLocator(integer=True))
    values = [person.concordance for person in ordered]
    return draw(7.6, 2.7, plot, 'Concordance of masked genotypes by person, sorted: from %.1f to %.1f percent, median %.1f percent; '
                '%d people stand out.' % (100 * values[0], 100 * values[-1], 100 * float(numpy.median(values)),
                                          sum(person.stands_out for person in people)))


def nice_window(length):
    """A width in base pairs, a multiple of WINDOW, that gives some 100 windows."""
    for width in (10, 20, 50, 100, 200, 500, 1000, 2000):
        if length / (width * 1000) <= 150:
            break
    return max(WINDOW, width * 1000)


def along(title, runs):
    """Typed sites and mean info by window along a chromosome, with the borders of runs."""
    first, last = runs[0].summary.lower, max(run.summary.upper for run in runs)
    width = nice_window(last - first)
    starts = numpy.arange(first // width * width, last + 1, width)
    typed = numpy.zeros(len(starts))
    sites, info = numpy.zeros(len(starts)), numpy.zeros(len(starts))
    for run in runs:
        for site in run.typed:
            typed[(site.position - starts[0]) // width] += 1
        for window, n in run.window_sites.items():
            place = min(max(0, (window * WINDOW - starts[0]) // width), len(starts) - 1)
            sites[place] += n
            info[place] += run.window_info[window] / 1000

    def plot(figure):
        upper, lower = figure.subplots(2, 1, sharex=True)
        upper.bar(starts / 1e6, typed, width=width / 1e6, align='edge', color=MIDDLE, edgecolor=DARK, linewidth=0.3)
        upper.set(ylabel='typed sites\na window', title=title)
        mean = numpy.where(sites > 0, info / numpy.maximum(1, sites), numpy.nan)
        lower.plot((starts + width / 2) / 1e6, mean, color='black', marker='.', markersize=4, linewidth=1)
        lower.set(ylabel='mean info', xlabel='position in Mb', ylim=(min(0.5, numpy.nanmin(mean, initial=1)), 1.01))
        for axes in (upper, lower):
            axes.grid(axis='x', visible=False)
            for border in sorted({run.summary.lower for run in runs} | {run.summary.upper + 1 for run in runs}):
                axes.axvline(border / 1e6, color='black', linewidth=0.9, linestyle=(0, (4, 3)))
    alt = ('%s, positions %s to %s, in windows of %d kb: between %d and %d typed sites a window; %d runs, whose borders are '
           'dashed lines. Below it the mean info of imputed sites with a minor allele frequency of at least %g percent.'
           % (title, format(first, ','), format(last, ','), width // 1000, typed.min(), typed.max(), len(runs), COMMON / 10))
    return draw(7.6, 3.0, plot, alt)


def confidence(labels, counts):
    """Shares of heterozygous pairs by phasing confidence, as bars."""
    total = max(1, sum(counts))

    def plot(figure):
        axes = figure.subplots()
        bars = axes.bar(labels, [100 * n / total for n in counts], color=LIGHT, edgecolor='black', linewidth=0.8)
        axes.bar_label(bars, labels=['%.1f' % (100 * n / total) for n in counts], padding=2)
        axes.set(xlabel='confidence of the phase relative to the heterozygote before', ylabel='percent of heterozygotes')
        axes.margins(y=0.12)
        axes.grid(axis='x', visible=False)
    return draw(7.6, 2.8, plot, 'Bars of heterozygotes by phasing confidence: %.1f percent have a confidence of 1, %.1f percent one '
                'below 0.9.' % (100 * counts[-1] / total, 100 * sum(counts[:-2]) / total))


def resources(labels, seconds, megabytes):
    """Time and memory of each run, as bars."""
    def plot(figure):
        upper, lower = figure.subplots(2, 1, sharex=True)
        places = range(1, len(labels) + 1)
        upper.bar(places, [s / 60 for s in seconds], color=LIGHT, edgecolor='black', linewidth=0.6)
        upper.set(ylabel='minutes')
        lower.bar(places, megabytes, color='white', hatch='////', edgecolor='black', linewidth=0.6)
        lower.set(ylabel='MB', xlabel='run, in the order of the table below')
        lower.xaxis.set_major_locator(MaxNLocator(integer=True))
        for axes in (upper, lower):
            axes.grid(axis='x', visible=False)
    return draw(7.6, 3.0, plot, 'Bars of time and peak memory by run: %.1f minutes in all, at most %.1f minutes and %d MB a run.'
                % (sum(seconds) / 60, max(seconds) / 60, max(megabytes)))
