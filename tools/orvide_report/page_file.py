"""Where the page is written: not into one of its inputs, and whole or not at all."""
import contextlib
import os
import stat
import tempfile

from orvide_report.errors import ReportError

RUN_FILES = ['', '_summary', '_info', '_info_by_sample', '_warnings', '_samples', '_haps_confidence', '_haps_confidence.gz', '_benchmark']


def is_stream(path):
    """Whether bytes go straight to it, as to a device or a pipe."""
    try:
        return not stat.S_ISREG(os.stat(path).st_mode)
    except OSError:
        return False


def same_file(a, b):
    try:
        return os.path.samefile(a, b)
    except OSError:
        return os.path.realpath(a) == os.path.realpath(b)


def refuse_to_overwrite_input(path, inputs):
    if not is_stream(path) and any(same_file(path, name) for name in inputs):
        raise ReportError('the page [%s] would be written into a file that is read for it; give another name by -o' % path)


def files_of(runs):
    """The names of all files that are read of runs, by their -o names."""
    return [name + ending for name in runs for ending in RUN_FILES]


def words_of(runs):
    """The words of their command lines, among them the names of all that they read."""
    return {word for run in runs for word in run.summary.command.split()}


def write_whole(path, text):
    """Writes to a temporary file in the same folder first, so that no half page is left behind and an older one stays until then."""
    try:
        if is_stream(path):
            with open(path, 'w', encoding='utf-8') as page:
                page.write(text)
        else:
            replace(os.path.realpath(path), text)
    except OSError as failure:
        raise ReportError('cannot write [%s]: %s' % (path, failure.strerror)) from failure


def replace(path, text):
    mask = os.umask(0)
    os.umask(mask)
    with contextlib.ExitStack() as undo:
        descriptor, part = tempfile.mkstemp(prefix='.orvide_', suffix='.tmp', dir=os.path.dirname(path))
        undo.callback(os.remove, part)
        with open(descriptor, 'w', encoding='utf-8') as page:
            page.write(text)
        os.chmod(part, stat.S_IMODE(os.stat(path).st_mode) if os.path.exists(path) else 0o666 & ~mask)
        os.replace(part, path)
        undo.pop_all()
