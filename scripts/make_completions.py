#!/usr/bin/env python3
"""Makes the completions for bash, zsh and fish from what the commands tell of their options.

    make_completions.py BINARY          writes completions/; the other commands stand beside BINARY and in tools/
    make_completions.py --check BINARY  fails when the files are not what would be written, or a shell that is there does not
                                        complete by them
"""
import re
import shutil
import subprocess
import sys
from pathlib import Path

from make_man_page import COMMANDS, help_of

FOLDER = Path(__file__).resolve().parent.parent / 'completions'
VALUE = r'(?:[A-Z]\S*|\[[A-Z]+\]|\.\.\.)'
LINE = re.compile(r'^  (?:-\w(?: [A-Z]+)?, )?(--?[^\s,]+) +(?:(%s(?: %s)*) {2,})?(\S.*)$' % (VALUE, VALUE))
SHORT = re.compile(r'^  (-\w)(?: [A-Z]+)?, (--.*)$')  # a name of one letter, with another one behind it
PATHS = {'FILE', 'NAME', 'DIR'}  # words for values that are names of files, but for the name of a chromosome
MARK = 'Made by scripts/make_completions.py.'


def whole_lines(lines):
    """The lines, each with those that go on with it further to the right."""
    text = re.sub(r'\n {8,}(?=\S)', ' ', '\n'.join(lines))
    return text.splitlines()


def parse_options(lines):
    """[(option, words for its values, text)] of a help text."""
    options = []
    for line in whole_lines(lines):
        found = LINE.match(line)
        if not found:
            continue
        names = [short[1] for short in [SHORT.match(line)] if short] + [found[1]]
        options += [(name, (found[2] or '').split(), found[3]) for name in names]
    return options


def read_options(binary):
    """Command -> its options."""
    said = subprocess.run([binary, '--help', 'all'], stdout=subprocess.PIPE, check=True, text=True).stdout
    return {'orvide': parse_options(said.splitlines()),
            **{command: parse_options(help_of(command, binary)) for command in COMMANDS}}


def takes_path(name, values):
    return bool(values) and values[0] in PATHS and name != '-chr'


def function(command):
    return '_' + command.replace('-', '_')


def bash(command, options):
    words = ' '.join(name for name, _, _ in options)
    plain = '|'.join(name for name, values, _ in options if values and not takes_path(name, values)) or '--'
    return '''# Completion of %s for bash. %s
%s() {
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
complete -o filenames -F %s %s
''' % (command, MARK, function(command), words, plain, function(command), command)


def zsh(command, options):
    lines = []
    for name, values, text in options:
        text = text.replace("'", '').replace('[', '(').replace(']', ')').replace(':', '\\:')
        needed = [value for value in values if not value.startswith(('[', '.'))]
        values_text = ''.join(':%s:%s' % (value, '_files' if takes_path(name, [value]) else ' ') for value in needed)
        lines.append("    '%s[%s]%s' \\\n" % (name, text, values_text))
    return '#compdef %s\n# Completion of %s for zsh. %s\n_arguments \\\n%s    \'*:file:_files\'\n' % (command, command, MARK, ''.join(lines))


def fish(command, options):
    lines = ['# Completion of %s for fish. %s\n' % (command, MARK)]
    for name, values, text in options:
        kind = '-l ' + name[2:] if name.startswith('--') else '-o ' + name[1:] if len(name) > 2 else '-s ' + name[1:]
        needs = ' -r -F' if takes_path(name, values) else ' -x' if values else ''
        lines.append("complete -c %s %s%s -d '%s'\n" % (command, kind, needs, text.replace("'", '')))
    return ''.join(lines)


def said_by(*words):
    return subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True).stdout


def check_shells(command, options):
    """What the shells do not complete: two letters of an option to all that begin with them."""
    beginning = options[-1][0][:2]
    wanted = sorted(name for name, _, _ in options if name.startswith(beginning))
    script = 'source "$1"; COMP_WORDS=(x "$2"); COMP_CWORD=1; %s; printf "%%s\\n" "${COMPREPLY[@]}"' % function(command)
    found = {'bash': said_by('bash', '-c', script, 'bash', str(FOLDER / (command + '.bash')), beginning).split()}
    if shutil.which('fish'):
        said = said_by('fish', '--no-config', '-c', 'source $argv[1]; complete -C "$argv[2] $argv[3]"',
                       str(FOLDER / (command + '.fish')), command, beginning)
        found['fish'] = [line.split('\t')[0] for line in said.splitlines()]
    if shutil.which('zsh'):
        said_by('zsh', '-n', str(FOLDER / ('_' + command)))
    return ['%s completes %s of %s to %s in place of %s' % (shell, beginning, command, names, wanted)
            for shell, names in found.items() if sorted(names) != wanted]


def main():
    checking = sys.argv[1:2] == ['--check']
    if len(sys.argv) != 2 + checking:
        sys.exit(__doc__)
    commands = read_options(sys.argv[-1])
    files = {name: text for command, options in commands.items()
             for name, text in ((command + '.bash', bash(command, options)), ('_' + command, zsh(command, options)),
                                (command + '.fish', fish(command, options)))}
    if not checking:
        FOLDER.mkdir(exist_ok=True)
        for name, text in files.items():
            (FOLDER / name).write_text(text)
        return 0
    faults = ['completions/%s is not up to date; run scripts/make_completions.py BINARY' % name for name, text in files.items()
              if not (FOLDER / name).exists() or (FOLDER / name).read_text() != text]
    faults += [fault for command, options in commands.items() for fault in check_shells(command, options)]
    print('\n'.join(faults) or 'completions: %s, up to date'
          % ', '.join('%s %d options' % (command, len(options)) for command, options in commands.items()))
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
