"""The page: one section a question, each with what it shows, a picture and the table behind it."""
from dataclasses import dataclass, field
from pathlib import Path

import jinja2

from orvide_report import figures
from orvide_report.study import (concordance_tables, confidence_counts, frequency_outliers, poor_typed_sites, run_concordance,
                                 sample_quality, seam_gaps, site_counts, warning_groups)

LISTED = 50  # rows of a list of outliers
FREQUENCY_CLASSES = [('below 0.5 %', 0, 5), ('0.5 to 1 %', 5, 10), ('1 to 5 %', 10, 50), ('5 to 10 %', 50, 100),
                     ('10 to 50 %', 100, 501)]
INFO_CLASSES = [('info < 0.3', 0, 31), ('0.3 to 0.5', 31, 51), ('0.5 to 0.8', 51, 81), ('0.8 to 0.9', 81, 91), ('≥ 0.9', 91, 102)]
CONFIDENCE_LABELS = ['< 0.5', '0.5 to 0.6', '0.6 to 0.7', '0.7 to 0.8', '0.8 to 0.9', '0.9 to 1', '1']


@dataclass
class Table:
    caption: str
    header: list
    rows: list
    is_open: bool = False


@dataclass
class Section:
    name: str
    title: str
    text: list = field(default_factory=list)
    pictures: list = field(default_factory=list)
    tables: list = field(default_factory=list)


def number(value, digits=0):
    return format(value, ',.%df' % digits)


def percent(value, digits=1):
    return '–' if value is None else '%.*f %%' % (digits, 100 * value)


def list_caption(what, n):
    return '%s: %s' % (what, number(n) if n <= LISTED else 'the first %d of %s' % (LISTED, number(n)))


def chromosome_title(name):
    if not name:
        return 'Chromosome without a name'
    return name.replace('chr', 'Chromosome ', 1) if name.startswith('chr') else 'Chromosome ' + name


def self_check_section(study):
    section = Section('self-check', 'Self-check: masked genotypes that come back')
    tables = concordance_tables(study)
    if not tables:
        section.text = ['No run checked itself (no reference panel, -selfcheck 0, -prob_g or -mc_impute).']
        return section
    section.text = ['Each typed site was imputed as if it had not been typed. Left: the most certain calls come first, the last '
                    'point is all of them. Right: calls should be right as often as their probability says.']
    section.pictures = [figures.self_check(tables)]
    for panels, rows in tables.items():
        called, right = figures.cumulated(rows)
        section.tables.append(Table(
            'Concordance, imputed from ' + panels,
            ['Probability of the call from', 'Genotypes', 'Right', 'Called at this threshold', 'Right of these'],
            [['%.1f' % row.lower, number(row.n), percent(row.concordant / row.n if row.n else None), '%.1f %%' % c, '%.1f %%' % r]
             for row, c, r in zip(rows, called, right)]))
    return section


def class_table(counts):
    return [[int(counts[a:b, c:d].sum()) for _, c, d in INFO_CLASSES] for _, a, b in FREQUENCY_CLASSES]


def info_sections(study):
    counts = site_counts(study)
    first = Section('info', 'Info against allele frequency')
    second = Section('classes', 'Sites by info and frequency')
    if not counts.sum():
        first.text = second.text = ['No site was imputed.']
        return [first, second]
    typed = [site for run in study.imputed for site in run.typed]
    first.text = ['Imputed sites only; darker is more sites. The squared correlation of masked typed sites, shown as diamonds, should '
                  'lie near the info of imputed sites of the same frequency.']
    first.pictures = [figures.info_by_frequency(counts, typed)]
    first.tables = [Table('Info by minor allele frequency', ['Frequency from', 'Sites', 'Quarter below', 'Median', 'Quarter above'],
                          info_rows(counts))]
    table = class_table(counts)
    labels, names = [c[0] for c in FREQUENCY_CLASSES], [c[0] for c in INFO_CLASSES]
    second.pictures = [figures.sites_by_class(labels, names, table)]
    second.tables = [Table('Imputed sites', ['Minor allele frequency', *names, 'All'],
                           [[label, *map(number, row), number(sum(row))] for label, row in zip(labels, table)])]
    return [first, second]


def info_rows(counts):
    rows = []
    starts = figures.CLASS_STARTS
    for start, end in zip(starts, starts[1:] + [figures.N_FREQUENCIES]):
        row = counts[start:end].sum(axis=0)
        if row.sum():
            rows.append([figures.class_label(start) + ' %', number(int(row.sum()))] +
                        ['%.2f' % figures.weighted_quantile(row, share) for share in (0.25, 0.5, 0.75)])
    return rows


def frequency_section(study):
    section = Section('frequencies', 'Study against panel')
    checked = sum(run.summary.checked_labels for run in study.imputed)
    section.text = ['By the labels of their alleles, %s of %s typed sites (buffers included) were brought to the strand of the panel, and %s were '
                    'removed because their alleles disagree.' % (number(sum(run.summary.flipped for run in study.imputed)),
                                                                 number(checked), number(sum(run.summary.removed for run in study.imputed)))]
    if study.pairs:
        add_frequencies(study, section)
    elif study.compared_with_panel:
        section.text.append('The panels of these runs have no typed site whose frequency could be compared.')
    else:
        section.text.append('Frequencies of the panel are in no result file. With the option --panel, orvide-report reads the panels '
                            'that the runs name again and shows study against panel frequency here.')
    poor = poor_typed_sites(study)
    section.text.append('%s frequent typed sites come back badly when they are masked (r² below 0.3). A site at the wrong place, on '
                        'the wrong strand or with many wrong genotypes does so.' % (number(len(poor)) if poor else 'No'))
    if poor:
        section.tables.append(Table(list_caption('Typed sites that come back badly', len(poor)),
                                    ['Chromosome', 'Position', 'Site', 'Alleles', 'Frequency', 'Concordance', 'r²'],
                                    [[c or '–', number(s.position), s.rs_id, s.a0 + ' ' + s.a1, '%.3f' % s.frequency, percent(s.concordance),
                                      '%.2f' % s.r2] for c, s in poor[:LISTED]]))
    return section


def add_frequencies(study, section):
    outliers = frequency_outliers(study)
    section.text.append('Points should lie on the line. Outliers differ by more than 0.1 and six standard errors: wrong strands and '
                        'exchanged alleles lie on the other diagonal, another genome build is scattered all over, another population '
                        'widens the cloud.')
    section.pictures = [figures.frequencies(study.pairs, outliers)]
    section.tables.append(Table(list_caption('Frequency outliers', len(outliers)),
                                ['Chromosome', 'Position', 'Site', 'Alleles', 'Study', 'Panel', 'Standard errors', 'Looks like'],
                                [[p.chromosome or '–', number(p.site.position), p.site.rs_id, p.site.a0 + ' ' + p.site.a1,
                                  '%.3f' % p.site.frequency, '%.3f' % p.panel, '%+.1f' % p.z, p.looks_like()]
                                 for p in outliers[:LISTED]], True))


def sample_section(people):
    section = Section('samples', 'People')
    if not people:
        section.text = ['No run wrote quality by person.']
        return section
    section.text = ['How well masked genotypes of each person come back, over all runs. Outliers are more than five standard '
                    'deviations (of people and of the number of sites) and more than one percent below the middle: other ancestry than the panel, a bad sample, a mix-up.']
    section.pictures = [figures.samples(people)]
    far = [person for person in people if person.stands_out]
    for caption, chosen, is_open in ((list_caption('Outliers', len(far)), far[:LISTED], bool(far)), ('All people', people, False)):
        section.tables.append(Table(caption, ['Person', 'Concordance', 'r²'],
                                    [[p.name, percent(p.concordance), '%.3f' % p.r2] for p in chosen], is_open))
    return section


def along_section(study):
    section = Section('chromosomes', 'Along the chromosomes')
    section.text = ['Dashed lines are borders of runs. Info falls where typed sites are far between.']
    for chromosome, runs in study.chromosomes().items():
        section.pictures.append(figures.along(chromosome_title(chromosome), runs))
    section.tables = [Table('Runs', ['Chromosome', 'From', 'To', 'Typed in panel', 'Typed only', 'Imputed', 'Median info, frequency ≥ 1 %',
                                     'Self-check'], [run_row(run) for run in study.imputed])]
    return section


def run_row(run):
    common = run.counts[10:].sum(axis=0)
    in_panel = sum(site.in_panel for site in run.typed)
    return [run.chromosome or '–', number(run.summary.lower), number(run.summary.upper), number(in_panel),
            number(len(run.typed) - in_panel), number(run.n_imputed),
            '%.2f' % figures.weighted_quantile(common, 0.5) if common.sum() else '–', percent(run_concordance(run))]


def phasing_section(study):
    section = Section('phasing', 'Confidence of the phase')
    counts = confidence_counts(study)
    if not sum(counts):
        section.text = ['No run phased the study (-phase, -prephase_g).']
        return section
    section.text = ['Share of the iterations that agree with the phase of a heterozygote relative to the one before it.']
    section.pictures = [figures.confidence(CONFIDENCE_LABELS, counts)]
    section.tables = [Table('Heterozygotes by confidence', ['Confidence', 'Heterozygotes', 'Share'],
                            [[label, number(n), percent(n / sum(counts))] for label, n in zip(CONFIDENCE_LABELS, counts)])]
    return section


def resource_section(study):
    section = Section('resources', 'Time and memory')
    runs = [run for run in study.runs if run.seconds is not None]
    if not runs:
        section.text = ['No run has a file OUT_benchmark.']
        return section
    section.text = ['%s hours of running time in %d runs; the largest took %s MB.'
                    % (number(sum(run.seconds for run in runs) / 3600, 2), len(runs), number(max(run.megabytes for run in runs)))]
    section.pictures = [figures.resources([run.name for run in runs], [run.seconds for run in runs], [run.megabytes for run in runs])]
    section.tables = [Table('Time and memory of each run', ['Run', 'Name', 'Seconds', 'Peak MB'],
                            [[str(i), run.name, number(run.seconds, 1), number(run.megabytes, 1)] for i, run in enumerate(runs, 1)])]
    return section


def warning_section(study):
    section = Section('warnings', 'Warnings')
    groups = warning_groups(study)
    if not groups:
        section.text = ['There are none.']
        return section
    section.text = ['Warnings of one kind are one line, with the first of them as example.']
    section.tables = [Table('Warnings by kind', ['How often', 'Runs', 'Example'],
                            [[number(group.count), number(group.runs), group.example] for group in groups], True)]
    return section


def command_section(study):
    section = Section('commands', 'Commands and versions')
    versions = sorted({run.summary.version for run in study.runs})
    section.text = ['ORVIDE ' + ', '.join(versions)]
    section.tables = [Table('Command lines', ['Run', 'Version', 'Seed', 'Command'],
                            [[run.name, run.summary.version, run.summary.seed, run.summary.command] for run in study.runs])]
    return section


def overview(study, people):
    """(what, value) rows of the table at the head."""
    counts = site_counts(study)
    typed = [site for run in study.imputed for site in run.typed]
    rows = [('Runs', '%d, on %d chromosome%s' % (len(study.runs), len({r.chromosome for r in study.runs}),
                                                 's' * (len({r.chromosome for r in study.runs}) > 1))),
            ('People', number(max(run.summary.people for run in study.runs))),
            ('Panel haplotypes', number(max(run.summary.haplotypes for run in study.runs))),
            ('Typed sites', '%s, of them %s in the panel' % (number(len(typed)), number(sum(s.in_panel for s in typed)))),
            ('Imputed sites', number(int(counts.sum())))]
    if counts.sum():
        rows.append(('… with info ≥ 0.8', '%s (%s of those with a frequency of 1 %% or more)' % (
            number(int(counts[:, 81:].sum())), percent(counts[10:, 81:].sum() / max(1, counts[10:].sum())))))
    for panels, table in concordance_tables(study).items():
        n = sum(row.n for row in table)
        rows.append(('Self-check, ' + panels, '%s of %s masked genotypes come back'
                     % (percent(sum(row.concordant for row in table) / n, 2), number(n))))
    return rows


def findings(study, people):
    """(section, sentence) of what deserves a look."""
    found = []
    typed = [site for run in study.imputed for site in run.typed]
    alone = sum(not site.in_panel for site in typed)
    if typed and alone > 0.2 * len(typed):
        found.append(('chromosomes', '%s of the typed sites are not in the panel; are both of the same genome build?'
                      % percent(alone / len(typed))))
    for chromosome, first, last in seam_gaps(study):
        found.append(('chromosomes', '%s: no run covers %s to %s.' % (chromosome_title(chromosome), number(first), number(last))))
    outliers = frequency_outliers(study)
    if outliers:
        found.append(('frequencies', '%s of %s typed sites have another frequency than the panel.'
                      % (number(len(outliers)), number(len(study.pairs)))))
    if poor_typed_sites(study):
        found.append(('frequencies', '%s frequent typed sites come back badly when they are masked.'
                      % number(len(poor_typed_sites(study)))))
    far = [person.name for person in people if person.stands_out]
    if far:
        found.append(('samples', 'People who stand out: %s%s.' % (', '.join(far[:5]), ' and others' * (len(far) > 5))))
    if len({run.summary.version for run in study.runs}) > 1:
        found.append(('commands', 'The runs are of different versions.'))
    warned = sum(group.count for group in warning_groups(study))
    if warned:
        found.append(('warnings', '%s warnings.' % number(warned)))
    return found


def make_page(study, title):
    """The HTML text."""
    people = sample_quality(study)
    sections = [self_check_section(study), *info_sections(study), frequency_section(study), sample_section(people),
                along_section(study), phasing_section(study), resource_section(study), warning_section(study),
                command_section(study)]
    environment = jinja2.Environment(loader=jinja2.FileSystemLoader(Path(__file__).resolve().parent), autoescape=True,
                                     trim_blocks=True, lstrip_blocks=True, undefined=jinja2.StrictUndefined,
                                     keep_trailing_newline=True)
    return environment.get_template('page.html.j2').render(title=title, overview=overview(study, people),
                                                           findings=findings(study, people), sections=sections)
