#!/usr/bin/env python3
"""Makes the man page docs/orvide.1 from docs/options.md.

    make_man_page.py                  writes docs/orvide.1
    make_man_page.py --check BINARY   fails when docs/orvide.1 is not what would be written, or when docs/options.md and the
                                      options that BINARY --help all prints are not the same
"""
import re
import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
SOURCE = TOP / 'docs' / 'options.md'
PAGE = TOP / 'docs' / 'orvide.1'
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


def check(binary):
    faults = []
    if not PAGE.exists() or PAGE.read_text() != make_page(SOURCE.read_text()):
        faults.append('docs/orvide.1 is not what docs/options.md gives; run scripts/make_man_page.py')
    printed = subprocess.run([binary, '--help', 'all'], stdout=subprocess.PIPE, check=True, text=True).stdout
    accepted = set(re.findall(r'^ +(-\S+)', printed, re.MULTILINE))
    told = set(re.findall(r'^- `(-[^ `]+)', SOURCE.read_text(), re.MULTILINE))
    faults += ['docs/options.md does not tell of ' + name for name in sorted(accepted - told)]
    faults += ['the binary does not know ' + name for name in sorted(told - accepted)]
    print('\n'.join(faults) or 'docs: %d options told, man page up to date' % len(told))
    return 1 if faults else 0


def main():
    if sys.argv[1:2] == ['--check'] and len(sys.argv) == 3:
        return check(sys.argv[2])
    if len(sys.argv) > 1:
        sys.exit(__doc__)
    PAGE.write_text(make_page(SOURCE.read_text()))
    return 0


if __name__ == '__main__':
    sys.exit(main())
