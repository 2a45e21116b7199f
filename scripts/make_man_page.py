#!/usr/bin/env python3
"""Makes the man pages: docs/orvide.1 from docs/options.md, those of the other commands from what they tell of themselves.

    make_man_page.py BINARY           writes docs/orvide*.1; the other commands stand beside BINARY and in tools/
    make_man_page.py --check BINARY   fails when a page is not what would be written, or when docs/options.md and the
                                      options that BINARY --help all prints are not the same
"""
import os
import re
import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
SOURCE = TOP / 'docs' / 'options.md'
PAGE = TOP / 'docs' / 'orvide.1'
COMMANDS = {
    'orvide-plan': 'parts a chromosome into chunks for runs of orvide',
    'orvide-ligate': 'joins phased chunks of a chromosome',
    'orvide-report': 'makes a page of what runs of orvide wrote',
}
ITEM = re.compile(r'- `([^`]+)`: (.*)', re.DOTALL)


def version():
    return re.search(r'project\(orvide VERSION (\S+)', (TOP / 'CMakeLists.txt').read_text())[1]


def blocks(text):
    """The paragraphs and list items of the page, each on one line; indented lines stay as they are."""
    block = ''
    for line in re.sub(r'<!--.*?-->', '', text).splitlines() + ['']:
        starts = line.startswith(('- ', '#')) or not line.strip()
        if block and (starts or block.startswith('#')):
            yield block
            block = ''
        if line.strip():
            block = line if line.startswith('    ') else (block + ' ' + line.strip()).strip()


def roff(text):
    """Text with code in bold, safe for a line of its own."""
    text = text.replace('\\', '\\e').replace('-', '\\-')
    text = re.sub(r'`([^`]+)`', r'\\fB\1\\fR', text)
    return '\\&' + text if text.startswith(('.', "'")) else text


def option_head(text):
    """An option in bold, the names of its values in italics."""
    name, _, values = text.partition(' ')
    values = re.sub(r'[A-Z]+', lambda m: '\\fI%s\\fR' % m[0], values)
    return ('\\fB%s\\fR %s' % (name.replace('-', '\\-'), values)).rstrip()


def make_page(text):
    lines = ['.\\" Made from docs/options.md by scripts/make_man_page.py.',
             '.TH ORVIDE 1 "" "ORVIDE %s" "User Commands"' % version(),
             '.SH NAME', 'orvide \\- genotype imputation and phasing', '.SH SYNOPSIS']
    in_synopsis = True
    for block in blocks(text):
        item = ITEM.match(block)
        if block.startswith('# '):
            continue
        if block.startswith('## '):
            lines.append('.SH ' + block[3:].upper())
        elif block.startswith('    '):
            lines.append(roff(block.strip()))
        elif item:
            lines += ['.TP', option_head(item[1]), roff(item[2])]
        elif block.startswith('- '):
            lines += ['.IP \\(bu 2', roff(block[2:])]
        else:
            if in_synopsis:
                lines.append('.SH DESCRIPTION')
            lines += ['.PP', roff(block)]
            in_synopsis = False
    return '\n'.join(lines) + '\n'


def help_of(command, binary):
    """The lines that a command prints for --help."""
    path = TOP / 'tools' / command if command == 'orvide-report' else Path(binary).with_name(command)
    words = ['/usr/bin/python3', path] if command == 'orvide-report' else [path]
    environment = dict(os.environ, COLUMNS='100', PYTHONDONTWRITEBYTECODE='1')
    return subprocess.run([*words, '--help'], stdout=subprocess.PIPE, check=True, text=True, env=environment).stdout.splitlines()


def make_command_page(command, lines):
    """The first paragraph is the synopsis; all else stands as it is printed."""
    end = lines.index('')
    head = ['.\\" Made from %s --help by scripts/make_man_page.py.' % command,
            '.TH %s 1 "" "ORVIDE %s" "User Commands"' % (command.upper(), version()),
            '.SH NAME', '%s \\- %s' % (command.replace('-', '\\-'), COMMANDS[command]), '.SH SYNOPSIS']
    synopsis = ' '.join(line.strip() for line in lines[:end]).replace('usage: ', '')
    body = [roff(line) for line in lines[end + 1:]]
    return '\n'.join([*head, roff(synopsis), '.SH DESCRIPTION', '.nf', *body, '.fi',
                      '.SH SEE ALSO', '.BR orvide (1)']) + '\n'


def pages(binary):
    """(path, text) of all man pages."""
    yield PAGE, make_page(SOURCE.read_text())
    for command in COMMANDS:
        yield PAGE.with_name(command + '.1'), make_command_page(command, help_of(command, binary))


def check(binary):
    faults = ['docs/%s is not what would be written; run scripts/make_man_page.py' % path.name
              for path, text in pages(binary) if not path.exists() or path.read_text() != text]
    printed = subprocess.run([binary, '--help', 'all'], stdout=subprocess.PIPE, check=True, text=True).stdout
    accepted = set(re.findall(r'^ +(-\S+)', printed, re.MULTILINE))
    told = set(re.findall(r'^- `(-[^ `]+)', SOURCE.read_text(), re.MULTILINE))
    faults += ['docs/options.md does not tell of ' + name for name in sorted(accepted - told)]
    faults += ['the binary does not know ' + name for name in sorted(told - accepted)]
    print('\n'.join(faults) or 'docs: %d options told, man pages up to date' % len(told))
    return 1 if faults else 0


def main():
    if sys.argv[1:2] == ['--check'] and len(sys.argv) == 3:
        return check(sys.argv[2])
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for path, text in pages(sys.argv[1]):
        path.write_text(text)
    return 0


if __name__ == '__main__':
    sys.exit(main())
