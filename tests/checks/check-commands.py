#!/usr/bin/env python3
"""Hold the command reference to the program's own list of commands.

usage: check-commands.py PROGRAM PAGE DOCUMENT

PROGRAM prints a line for each command: table, tab, word.  In the manual page PAGE each of these
words is to have one subsection below COMMANDS, and no other word one.  A subsection holds at least
one syntax that begins with the word, what makes the command NG, the files it writes, and an
example that begins with the word.  In the Markdown file DOCUMENT each word is to have one heading
below that of its table, in the order of the tables, and no other word one.
"""
import re
import sys
from pathlib import Path

from reference import entries, rows

PARTS = ('NG', 'Files', 'Example')


def items(text):
    """Pairs of title and text of the items of a subsection."""
    pieces = re.split(r'^\.It (.+)\n', text, flags=re.MULTILINE)
    return [(title, re.sub(r'^\.El\n', '', body, flags=re.MULTILINE).strip())
            for title, body in zip(pieces[1::2], pieces[2::2])]


def entry_faults(word, text):
    found = items(text)
    start = re.escape(word) + r'(\s|\Z)'
    if not any(re.match('Ic ' + start, title) for title, _ in found):
        yield f'{word}: no syntax'
    told = dict(found)
    for part in PARTS:
        if not told.get('Sy ' + part):
            yield f'{word}: nothing about {part}'
    if not re.search(r'^\.Dl ' + start, told.get('Sy Example', ''), re.MULTILINE):
        yield f'{word}: no example that begins with the word'


def faults(table_rows, page_entries):
    words = [word for _, word in table_rows]
    described = [word for word, _ in page_entries]
    for table, word in table_rows:
        if word not in described:
            yield f'{word}: in the {table} table, but without an entry'
    for word in sorted(set(described)):
        if word not in words:
            yield f'{word}: an entry, but in no table'
        if described.count(word) > 1:
            yield f'{word}: {described.count(word)} entries'
    for word, text in page_entries:
        yield from entry_faults(word, text)


def headings(document):
    """Pairs of table and word, as the document's headings have them."""
    table = ''
    for line in document.splitlines():
        if name := re.fullmatch('## The (.+) table', line):
            table = name.group(1)
        elif line.startswith('### '):
            yield table, line.removeprefix('### ')


def document_faults(table_rows, document):
    described = list(headings(document))
    for table, word in table_rows:
        if (table, word) not in described:
            yield f'{word}: in the {table} table, but without an entry'
    for table, word in described:
        if (table, word) not in table_rows:
            yield f'{word}: an entry, but not in the {table} table'
    if sorted(described) == sorted(table_rows) and described != table_rows:
        yield 'the entries are not in the order of the tables'
    if len(set(described)) != len(described):
        yield 'a word has two entries'


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__.split('\n\n')[1])
    program, page, document = sys.argv[1:]
    table_rows = rows(program)
    if not table_rows:
        sys.exit(f'{program}: tells no command')
    page_text, document_text = (Path(name).read_text(encoding='utf-8') for name in (page, document))
    found = [f'{page}: {text}' for text in faults(table_rows, entries(page_text))]
    found += [f'{document}: {text}' for text in document_faults(table_rows, document_text)]
    for text in found:
        print(text)
    print(f'{len(table_rows)} commands checked, {len(found)} faults')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
