#!/usr/bin/env python3
"""Makes the completions for bash, zsh and fish from what the program tells of its options.

    make_completions.py BINARY          writes completions/
    make_completions.py --check BINARY  fails when the files are not what would be written, or bash does not complete by them
"""
import re
import subprocess
import sys
from pathlib import Path

FOLDER = Path(__file__).resolve().parent.parent / 'completions'
VALUE = r'(?:[A-Z]\S*|\[[A-Z]+\]|\.\.\.)'
LINE = re.compile(r'^  (--?\S+) +(?:(%s(?: %s)*)  )?(\S.*)$' % (VALUE, VALUE))
PATHS = {'FILE', 'NAME', 'DIR'}  # words for values that are names of files, but for the name of a chromosome
MARK = 'Made by scripts/make_completions.py.'


def read_options(binary):
    """[(option, words for its values, text)]"""
    said = subprocess.run([binary, '--help', 'all'], stdout=subprocess.PIPE, check=True, text=True).stdout
    return [(found[1], (found[2] or '').split(), found[3]) for found in map(LINE.match, said.splitlines()) if found]


def takes_path(name, values):
    return bool(values) and values[0] in PATHS and name != '-chr'


def bash(options):
    words = ' '.join(name for name, _, _ in options)
    plain = '|'.join(name for name, values, _ in options if values and not takes_path(name, values))
    return '''# Completion of orvide for bash. %s
_orvide() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "%s" -- "$word") ;;
    *)
        case $before in
        %s) ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}
complete -o filenames -F _orvide orvide
''' % (MARK, words, plain)


def zsh(options):
    lines = []
    for name, values, text in options:
        text = text.replace("'", '').replace('[', '(').replace(']', ')').replace(':', '\\:')
        needed = [value for value in values if not value.startswith(('[', '.'))]
        values_text = ''.join(':%s:%s' % (value, '_files' if takes_path(name, [value]) else ' ') for value in needed)
        lines.append("    '%s[%s]%s' \\\n" % (name, text, values_text))
    return '#compdef orvide\n# Completion of orvide for zsh. %s\n_arguments \\\n%s    \'*:file:_files\'\n' % (MARK, ''.join(lines))


def fish(options):
    lines = ['# Completion of orvide for fish. %s\n' % MARK]
    for name, values, text in options:
        kind = '-l ' + name[2:] if name.startswith('--') else '-o ' + name[1:] if len(name) > 2 else '-s ' + name[1:]
        needs = ' -r -F' if takes_path(name, values) else ' -x' if values else ''
        lines.append("complete -c orvide %s%s -d '%s'\n" % (kind, needs, text.replace("'", '')))
    return ''.join(lines)


def check_bash(path, options):
    """What bash does not complete."""
    wanted = sorted(name for name, _, _ in options if name.startswith('-pre'))
    script = 'source "$1"; COMP_WORDS=(orvide -pre); COMP_CWORD=1; _orvide; printf "%s\\n" "${COMPREPLY[@]}"'
    found = subprocess.run(['bash', '-c', script, 'bash', path], stdout=subprocess.PIPE, check=True, text=True).stdout.split()
    return [] if wanted and sorted(found) == wanted else ['bash completes -pre to %s in place of %s' % (found, wanted)]


def main():
    checking = sys.argv[1:2] == ['--check']
    if len(sys.argv) != 2 + checking:
        sys.exit(__doc__)
    options = read_options(sys.argv[-1])
    files = {'orvide.bash': bash(options), '_orvide': zsh(options), 'orvide.fish': fish(options)}
    if not checking:
        FOLDER.mkdir(exist_ok=True)
        for name, text in files.items():
            (FOLDER / name).write_text(text)
        return 0
    faults = ['completions/%s is not up to date; run scripts/make_completions.py BINARY' % name for name, text in files.items()
              if not (FOLDER / name).exists() or (FOLDER / name).read_text() != text]
    faults += check_bash(str(FOLDER / 'orvide.bash'), options)
    print('\n'.join(faults) or 'completions: %d options, up to date' % len(options))
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
