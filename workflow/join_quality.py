#!/usr/bin/env python3
"""Puts the quality files of chromosomes under one header, with the name of the chromosome as first column.

    join_quality.py OUTPUT INPUT ... -- NAME ...
"""
import sys


def main():
    words = sys.argv[1:]
    middle = words.index('--')
    output, inputs, names = words[0], words[1:middle], words[middle + 1:]
    first_header = None
    with open(output, 'w', encoding='utf-8') as table:
        for name, path in zip(names, inputs):
            with open(path, encoding='utf-8') as lines:
                header = next(lines)
                if first_header is None:
                    first_header = header
                    table.write('chr ' + header)
                if header != first_header:
                    sys.exit('ERROR: [%s] has other columns than [%s]' % (path, inputs[0]))
                table.writelines(name + ' ' + line for line in lines)


if __name__ == '__main__':
    main()
