import argparse
import sys

from orvide_report.errors import ReportError
from orvide_report.page_file import files_of, refuse_to_overwrite_input, words_of, write_whole

DESCRIPTION = """\
Makes one self-contained HTML page from what runs of orvide wrote: for one run, for the chunks of a chromosome, or for a
study. OUT is what was given to -o. Of each run OUT_summary is read and OUT_info, and where they are there
OUT_info_by_sample, OUT_warnings, OUT_samples, OUT_haps_confidence[.gz] and OUT_benchmark (time and memory: a table with a
header and the columns s and max_rss, in seconds and MB). Runs are grouped into chromosomes by their option -chr, else by
a word such as chr20 in OUT, and ordered by position. A run with -prephase_g gives its phasing, time and warnings only."""


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog='orvide-report', description=DESCRIPTION,
        formatter_class=lambda prog: argparse.RawDescriptionHelpFormatter(prog, max_help_position=26))
    parser.add_argument('runs', metavar='OUT', nargs='+', help='the -o name of a run')
    parser.add_argument('-o', '--output', metavar='FILE', default='orvide_report.html', help='the page (default: %(default)s)')
    parser.add_argument('--title', default='Imputation report', help='its title (default: %(default)s)')
    parser.add_argument('--panel', action='store_true',
                        help='compare allele frequencies of study and panel; reads the first -h file of each run again')
    return parser.parse_args(arguments)


def make(options):
    # Imported here, so that --help works, and a missing package is told, without them.
    try:
        from orvide_report.page import make_page
    except ModuleNotFoundError as missing:
        raise ReportError('the Python package %s is missing: install it (Debian: python3-matplotlib python3-jinja2)'
                          % missing.name) from missing
    from orvide_report.study import read_study
    refuse_to_overwrite_input(options.output, files_of(options.runs))
    study = read_study(options.runs, options.panel)
    refuse_to_overwrite_input(options.output, words_of(study.runs))
    write_whole(options.output, make_page(study, options.title))


def main(arguments=None):
    options = parse(arguments)
    try:
        make(options)
    except ReportError as error:
        print('ERROR: %s' % error, file=sys.stderr)
        return 1
    print('orvide-report: wrote %s' % options.output)
    return 0
