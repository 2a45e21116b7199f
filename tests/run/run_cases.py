#!/usr/bin/env python3
"""Runs whole-run cases: command lines with their input, and everything that the binary must write.

    run_cases.py --binary BINARY [--update] [--keep] [--extra OPTIONS] [CASE ...]

Without CASE, all of tests/run/cases. --update writes what the binary does now into the cases, --keep leaves the working
folders. --extra puts options that change nothing but the command line in front of those of every run, such as "-threads 3". README.md beside this file tells the format of a case.
"""
import argparse
import difflib
import gzip
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

import make_data

HERE = os.path.dirname(os.path.abspath(__file__))
MARK = '>>> '
NO_NEWLINE = '\\ no newline at the end'
SECTIONS = ('input', 'raw input', 'directory', 'stdout', 'stdout contains', 'stderr', 'file')
TIMEOUT = 280  # seconds, below the limit of a test


class CaseError(Exception):
    """A case that cannot be read."""


def escaped(data):
    """Bytes as lines of printable text."""
    text = data.decode('latin-1').replace('\\', '\\\\')
    text = re.sub(r'[^\n\t -~]', lambda m: '\\r' if m[0] == '\r' else '\\x%02x' % ord(m[0]), text)
    if not text:
        return []
    if text.endswith('\n'):
        return text[:-1].split('\n')
    return text.split('\n') + [NO_NEWLINE]


def unescaped(lines):
    """The inverse of escaped."""
    if not lines:
        return b''
    end = '\n'
    if lines[-1] == NO_NEWLINE:
        lines, end = lines[:-1], ''
    text = '\n'.join(lines) + end
    text = re.sub(r'\\(\\|r|x[0-9a-f]{2})',
                  lambda m: {'\\': '\\', 'r': '\r'}.get(m[1]) or chr(int(m[1][1:], 16)), text)
    return text.encode('latin-1')


class Run:
    """One command line of a case with its exit status."""

    def __init__(self, arguments):
        self.arguments = arguments
        self.status = None
        self.any_stderr = False
        self.environment = {}


class Case:
    def __init__(self, path):
        self.path = path
        self.name = os.path.splitext(os.path.basename(path))[0]
        self.head = []      # the lines before the first section, as they stand
        self.data = None
        self.masks = []
        self.runs = []
        self.sections = {}  # (kind, name) -> lines, in the order of the file
        with open(path, encoding='ascii') as f:
            self.parse(f.read().split('\n')[:-1])
        if not self.runs:
            raise CaseError('%s: no run: line' % path)

    def parse(self, lines):
        section = None
        for number, line in enumerate(lines, 1):
            if line.startswith(MARK):
                section = self.open_section(line[len(MARK):].strip(), number)
            elif section is None:
                self.head.append(line)
                self.parse_head(line, number)
            else:
                section.append(line)

    def parse_head(self, line, number):
        key, _, value = line.partition(':')
        value = value.strip()
        if not line.strip() or key == 'about':
            return
        if key == 'data':
            self.data = value
        elif key == 'mask':
            self.masks.append(re.compile(value))
        elif key == 'run':
            self.runs.append(Run(shlex.split(value)))
        elif key == 'status' and self.runs:
            self.runs[-1].status = int(value)
        elif key == 'env' and self.runs:
            name, _, content = value.partition('=')
            self.runs[-1].environment[name] = content
        elif key == 'stderr' and value == 'any' and self.runs:
            self.runs[-1].any_stderr = True
        else:
            raise CaseError('%s, line %d: what is [%s]?' % (self.path, number, line))

    def open_section(self, title, number):
        for kind in sorted(SECTIONS, key=len, reverse=True):
            if title == kind or title.startswith(kind + ' '):
                key = kind, title[len(kind):].strip()
                if key in self.sections:
                    raise CaseError('%s, line %d: a second section [%s]' % (self.path, number, title))
                return self.sections.setdefault(key, [])
        raise CaseError('%s, line %d: no such section: [%s]' % (self.path, number, title))

    def inputs(self):
        """Name -> bytes of the files that the run finds."""
        files = dict(make_data.files(self.data)) if self.data else {}
        for (kind, name), lines in self.sections.items():
            if kind == 'input':
                files[name] = make_data.packed(name, unescaped(lines))
            elif kind == 'raw input':
                files[name] = unescaped(lines)
        return files

    def expected(self):
        """(kind, name) -> lines of all that is compared."""
        wanted = {}
        for (kind, title), lines in self.sections.items():
            if kind in ('stdout', 'stderr'):
                wanted[kind, title] = lines
            elif kind == 'file':
                name, equal, other = title.partition(' = ')
                wanted[kind, name] = self.sections[tuple((other + ' ').split(' ', 1))[0], ''] if equal else lines
        return wanted

    def masked(self, line):
        for mask in self.masks:
            line = mask.sub('(masked)', line)
        return line


def read_tree(folder):
    """Relative name -> bytes of every file below a folder."""
    found = {}
    for root, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(root, name)
            with open(path, 'rb') as f:
                found[os.path.relpath(path, folder)] = f.read()
    return found


def without_extra(data, extra):
    """Bytes that tell the command line, without the added options."""
    return data.replace(' '.join(['orvide'] + extra).encode('ascii'), b'orvide', 1) if extra else data


def lay_out(case, inputs, folder):
    """Writes the inputs of a case (name -> bytes) and makes its directories."""
    for name, data in inputs.items():
        os.makedirs(os.path.dirname(os.path.join(folder, name)), exist_ok=True)
        with open(os.path.join(folder, name), 'wb') as f:
            f.write(data)
    for kind, name in case.sections:
        if kind == 'directory':
            os.makedirs(os.path.join(folder, name))


def execute(case, binary, folder, extra):
    """Runs the command lines in the folder: [exit status], and (kind, name) -> lines of all that was written."""
    inputs = case.inputs()
    lay_out(case, inputs, folder)
    statuses = []
    got = {}
    given = extra
    for i, run in enumerate(case.runs):
        # An option that the case gives itself is not given twice.
        extra = [] if set(given) & set(run.arguments) else given
        tail = '' if i == 0 else str(i + 1)
        done = subprocess.run(['orvide'] + extra + run.arguments, executable=binary, cwd=folder, env={**os.environ, **run.environment},
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              timeout=TIMEOUT, check=False)
        statuses.append(done.returncode)
        got['stdout', tail] = escaped(without_extra(done.stdout, extra))
        if done.stderr and not run.any_stderr:
            got['stderr', tail] = escaped(done.stderr)
    for name, data in sorted(read_tree(folder).items()):
        if name not in inputs:
            text = gzip.decompress(data) if name.endswith('.gz') else data
            got['file', name] = escaped(without_extra(text, given))
        elif data != inputs[name]:
            got['changed input', name] = escaped(data)
    return statuses, got


def differences(case, statuses, got):
    """Lines of text that tell what differs; none when all is as stored."""
    text = []
    for i, (run, status) in enumerate(zip(case.runs, statuses), 1):
        if status != run.status:
            text.append('run %d: exit status %s, expected %s' % (i, status, run.status))
    wanted = case.expected()
    for (kind, tail), lines in case.sections.items():
        if kind == 'stdout contains':
            output = got.pop(('stdout', tail), [])
            text += ['stdout %s does not contain [%s]' % (tail, line)
                     for line in lines if not any(line in x for x in output)]
    for key in list(dict.fromkeys(list(wanted) + list(got))):
        name = ' '.join(key).strip()
        if key not in got:
            text.append('not written: ' + name)
        elif key not in wanted and (key[0] != 'stdout' or got[key]):
            text.append('not expected: ' + name)
            text += ['    ' + line for line in got[key][:10]]
        else:
            a, b = ([case.masked(line) for line in lines] for lines in (wanted.get(key, []), got[key]))
            if a != b:
                text += difflib.unified_diff(a, b, 'expected ' + name, 'got ' + name, lineterm='', n=2)
    return text


def update(case, statuses, got):
    """Writes the case anew with what was got."""
    runs = iter(statuses)
    lines = []
    for line in case.head:
        if line.startswith('status:'):
            continue
        lines.append(line)
        if line.startswith('run:'):
            lines.append('status: %d' % next(runs))
    contains = {tail for kind, tail in case.sections if kind == 'stdout contains'}
    for (kind, name), body in case.sections.items():
        if kind in ('input', 'raw input', 'directory', 'stdout contains'):
            lines += [(MARK + kind + ' ' + name).rstrip()] + body
    for (kind, name), body in got.items():
        if kind == 'stdout' and name in contains:
            continue
        if kind == 'file' and body and body == got.get(('stdout', '')):
            lines.append('%sfile %s = stdout' % (MARK, name))
            continue
        lines += [(MARK + kind + ' ' + name).rstrip()] + body
    with open(case.path, 'w', encoding='ascii') as f:
        f.write('\n'.join(lines) + '\n')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', required=True)
    parser.add_argument('--update', action='store_true')
    parser.add_argument('--keep', action='store_true')
    parser.add_argument('--extra', default='', metavar='OPTIONS')
    parser.add_argument('cases', metavar='CASE', nargs='*')
    options = parser.parse_args()
    extra = shlex.split(options.extra)
    if extra and options.update:
        parser.error('--update stores what runs without --extra')
    binary = os.path.abspath(options.binary)
    folder = os.path.join(HERE, 'cases')
    paths = options.cases or sorted(os.path.join(folder, f) for f in os.listdir(folder) if f.endswith('.case'))

    failed = 0
    for path in paths:
        case = Case(path)
        work = tempfile.mkdtemp(prefix='orvide_%s_' % case.name)
        try:
            statuses, got = execute(case, binary, work, extra)
        finally:
            if options.keep:
                print('%s ran in %s' % (case.name, work))
            else:
                shutil.rmtree(work, ignore_errors=True)
        different = differences(case, statuses, dict(got))
        if different and options.update:
            update(case, statuses, got)
        failed += bool(different) and not options.update
        print('%s %s' % ('PASS' if not different else 'UPDATED' if options.update else 'FAIL', case.name))
        for line in different:
            print('    ' + line)
    print('%d passed, %d failed' % (len(paths) - failed, failed))
    return 1 if failed else 0


if __name__ == '__main__':
    try:
        sys.exit(main())
    except CaseError as error:
        sys.exit(str(error))
