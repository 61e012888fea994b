#!/usr/bin/env python3
"""Make the command reference for readers of the tree from the manual page.

usage: make-commands.py PROGRAM PAGE [DOCUMENT]

PROGRAM prints a line for each command: table, tab, word; the document has them in this order, each
with what stands in its subsection below COMMANDS of the manual page PAGE.  With DOCUMENT it is not
printed, but compared with that file.  mandoc does the reading; without it nothing can be told, and
the exit status is 77.
"""
import difflib
import html
import re
import subprocess
import sys
import textwrap
from pathlib import Path

from reference import rows, section

WIDTH = 100
NO_MANDOC = 77

HEAD = """\
# Commands

All commands, in the order in which the daemon looks for them. `./dev docs` makes this document from
the manual page [rova-script(5)](../man/rova-script.5), which also tells the form of a script: change
the page, not this. `[ ]` may be left out, `|` stands between words to choose from, what is written
*like this* stands for a value.
"""

# Words that no page has, by which mandoc's output tells what a paragraph was.
SYNTAX, ROW, CELL = 'ASYNTAX', 'AROW', 'ACELL'


# ------------------------------------------------------------------------- before mandoc

def table_row(line):
    """A row of a column list as a paragraph of its own."""
    cells = line.removeprefix('.It ').split(' Ta ')
    lines = [re.sub(r'^(?=[A-Z][a-z] )', '.', cell) for cell in cells]
    return '\n'.join(['.Pp', ROW, f'\n{CELL}\n'.join(lines)])


def prepared(text):
    """Words, files and literals alike become code, a syntax and a table's row are marked."""
    lines, in_table = [], False
    for line in text.splitlines():
        if line.startswith('.Bl -column') or (in_table and line == '.El'):
            in_table = not in_table
            line = '.Pp'
        elif in_table:
            line = table_row(line)
        elif line.startswith('.It Ic '):
            line = line.replace('.It', f'.It {SYNTAX}', 1)
        lines.append(line)
    macros = [re.sub(r'(?<=[. ])(Ic|Cm|Pa|Ql) ', 'Li ', line) if line.startswith('.') else line
              for line in '\n'.join(lines).splitlines()]
    return '\n'.join(['.Dd November 20, 2026', '.Dt PAGE 5', '.Os', '.Sh COMMANDS', *macros, ''])


def blocks(text):
    """Paragraphs of the text as mandoc puts them into Markdown, without head and foot."""
    done = subprocess.run(['mandoc', '-T', 'markdown'], input=prepared(text), capture_output=True,
                          text=True, check=True)
    body = done.stdout.split('# COMMANDS\n', 1)[1]
    return [block.strip() for block in body.split('\n\n')][:-1]


# ------------------------------------------------------------------------- behind it

def readable(text):
    """Without what mandoc escapes out of caution."""
    text = text.replace('&#45;', '-').replace(r'\_', '_').replace(r'\[', '[').replace(r'\]', ']')
    return re.sub(r'`docs/(\w[\w-]*\.md)`', r'[\1](\1)', text)


def wrapped(text, indent=''):
    """Filled, code never broken at a blank."""
    one_line = re.sub('`[^`]*`', lambda code: code.group().replace(' ', '\0'),
                      ' '.join(readable(text).split()))
    one_line = re.sub(r' \\?(?=[-+*] )', '\0', one_line)  # would begin a list in a line's front
    return textwrap.fill(one_line, WIDTH, initial_indent=indent, subsequent_indent=indent,
                         break_long_words=False, break_on_hyphens=False).replace('\0', ' ')


def syntax(block):
    """A syntax: words side by side, and those to choose from, are one piece of code."""
    text = block.removeprefix(SYNTAX + ' ')
    return wrapped('- ' + re.sub('`( (?:\\| )?)`', r'\1', text))


def example(block):
    return '    ' + html.unescape(re.sub(r'\\(.)', r'\1', block.removeprefix('> > ')))


def table(block, first):
    cells = [wrapped(cell) for cell in block.removeprefix(ROW).split(CELL)]
    line = '| ' + ' | '.join(cells) + ' |'
    if not first:
        return line
    rule = '|' + '---|' * len(cells)
    if cells[0].startswith('**'):
        return line.replace('**', '') + '\n' + rule
    return '| ' * len(cells) + '|\n' + rule + '\n' + line


class Entry:
    """Turns the paragraphs of one command into lines of the document."""

    def __init__(self):
        self.parts = []   # pairs of kind and text
        self.title = ''   # NG, Files: begins the paragraph behind it
        self.indent = ''

    def add(self, block):
        kind, text = self.turned(block)
        if not text:
            return
        alike = self.parts and self.parts[-1][0] == kind and kind in ('row', 'syntax', 'example')
        self.parts.append((kind, text if alike or not self.parts else '\n' + text))

    def turned(self, block):
        if block.startswith(SYNTAX):
            self.indent = '  '
            return 'syntax', syntax(block)
        if block.startswith(ROW):
            return 'row', table(block, not self.parts or self.parts[-1][0] != 'row')
        if block.startswith('> > '):
            return 'example', example(block)
        if re.fullmatch(r'\*\*\w+\*\*', block):
            self.title, self.indent = block.replace('**', ''), ''
            return 'text', '**Example**' if self.title == 'Example' else ''
        text = re.sub('^> ?', '', block, flags=re.MULTILINE)
        if self.title:
            text, self.title = f'**{self.title}:** {text}', ''
        return 'text', wrapped(text, self.indent)

    def text(self):
        return '\n'.join(text for _, text in self.parts) + '\n'


def described(page):
    """The section's own paragraphs under '', and each command's, as text of the document."""
    found = {'': Entry()}
    word = ''
    for block in blocks(section(page)):
        if block.startswith('## '):
            word = readable(block.removeprefix('## '))
            found[word] = Entry()
        else:
            found[word].add(block)
    return {word: entry.text() for word, entry in found.items()}


def document(table_rows, page):
    texts = described(page)
    tables = list(dict.fromkeys(name for name, _ in table_rows))
    words = {name: [word for of, word in table_rows if of == name] for name in tables}
    index = [wrapped(f'- {name}: ' + ', '.join(f'[{word}](#{word})' for word in words[name]), '  ')
             for name in tables]
    parts = [HEAD, texts[''], '\n'.join(line[2:] for line in index) + '\n']
    for name in tables:
        parts.append(f'## The {name} table\n')
        parts += [f'### {word}\n\n{texts[word]}' for word in words[name]]
    return '\n'.join(parts)


def compare(made, path):
    kept = Path(path).read_text(encoding='utf-8')
    for line in difflib.unified_diff(kept.splitlines(), made.splitlines(), path, 'made anew',
                                     n=1, lineterm=''):
        print(line)
    if made != kept:
        print(f'{path}: is not what the manual page gives; ./dev docs makes it anew')
    return int(made != kept)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__.split('\n\n')[1])
    try:
        made = document(rows(sys.argv[1]), Path(sys.argv[2]).read_text(encoding='utf-8'))
    except FileNotFoundError as error:
        if error.filename != 'mandoc':
            raise
        print('mandoc is not installed', file=sys.stderr)
        return NO_MANDOC
    except KeyError as word:
        sys.exit(f'{sys.argv[2]}: no entry for {word}')
    if len(sys.argv) == 4:
        return compare(made, sys.argv[3])
    sys.stdout.write(made)
    return 0


if __name__ == '__main__':
    sys.exit(main())
