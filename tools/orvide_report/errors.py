class ReportError(Exception):
    """What is wrong with the input, where, and what to do."""


def read_text(path):
    """The text of a file, as lines without their ends."""
    try:
        with open(path, encoding='utf-8', errors='replace') as lines:
            return lines.read().splitlines()
    except OSError as failure:
        raise ReportError('cannot read [%s]: %s' % (path, failure.strerror)) from failure
