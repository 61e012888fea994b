#!/usr/bin/env python3
"""The check of the command reference finds what it is there to find, and nothing else."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECKER = Path(__file__).resolve().parent / 'check-commands.py'

HEAD = '.Sh DESCRIPTION\n.Ss Lines\nText.\n.Sh COMMANDS\nText.\n'
TAIL = '.Sh FILES\n.Ss Others\nText.\n'


def entry(word, syntax=None, ng='None.', files='None.', example=None):
    return (f'.Ss {word}\n.Bl -tag -width Ds\n.It Ic {syntax or word + " on | off"}\nText.\n'
            f'.It Sy NG\n{ng}\n.It Sy Files\n{files}\n'
            f'.It Sy Example\n{example or ".Dl " + word + " on"}\n.El\n')


def document_of(listed):
    """A document without fault: headings of tables, and below each those of its words."""
    lines, last = ['# Commands'], ''
    for row in filter(None, listed.split('\\n')):
        table, word = row.split('\\t')
        if table != last:
            lines.append(f'## The {table} table')
        lines.append(f'### {word}')
        last = table
    return '\n'.join(lines)


class CheckCommands(unittest.TestCase):
    def run_checker(self, listed, page, document=None):
        with tempfile.TemporaryDirectory() as folder:
            program, text = Path(folder, 'list'), Path(folder, 'page.5')
            markdown = Path(folder, 'commands.md')
            program.write_text(f"#!/bin/sh\nprintf '{listed}'\n")
            program.chmod(0o755)
            text.write_text(page)
            markdown.write_text(document_of(listed) if document is None else document)
            done = subprocess.run([sys.executable, '-B', CHECKER, program, text, markdown],
                                  capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr

    def assertFinds(self, listed, entries, fault):
        code, text = self.run_checker(listed, HEAD + entries + TAIL)
        self.assertEqual(code, 1, text)
        self.assertEqual([line.split(': ', 1)[1] for line in text.splitlines()[:-1]], [fault])

    def test_a_complete_page_passes(self):
        page = HEAD + entry('osd') + entry('key') + TAIL
        code, text = self.run_checker('system\\tkey\\nfactory\\tosd\\n', page)
        self.assertEqual((code, text), (0, '2 commands checked, 0 faults\n'))

    def test_a_row_without_an_entry_is_found(self):
        self.assertFinds('factory\\tosd\\nfactory\\tlcd\\n', entry('osd'),
                         'lcd: in the factory table, but without an entry')

    def test_an_entry_without_a_row_is_found(self):
        self.assertFinds('factory\\tosd\\n', entry('osd') + entry('os'),
                         'os: an entry, but in no table')

    def test_a_second_entry_is_found(self):
        self.assertFinds('factory\\tosd\\n', entry('osd') + entry('osd'), 'osd: 2 entries')

    def test_a_missing_syntax_is_found(self):
        self.assertFinds('factory\\tosd\\n', entry('osd', syntax='osds on'), 'osd: no syntax')

    def test_missing_parts_are_found(self):
        self.assertFinds('factory\\tosd\\n', entry('osd', ng=''), 'osd: nothing about NG')
        self.assertFinds('factory\\tosd\\n', entry('osd', files=''), 'osd: nothing about Files')
        self.assertFinds('factory\\tosd\\n', entry('osd').replace('.It Sy NG\n', '.It Sy OK\n'),
                         'osd: nothing about NG')

    def test_an_example_of_another_word_is_none(self):
        self.assertFinds('factory\\tosd\\n', entry('osd', example='.Dl lcd on'),
                         'osd: no example that begins with the word')

    def test_headings_of_other_sections_are_no_entries(self):
        self.assertFinds('factory\\tLines\\n', '',
                         'Lines: in the factory table, but without an entry')

    def test_a_program_that_tells_nothing_fails(self):
        self.assertNotEqual(self.run_checker('', HEAD + TAIL)[0], 0)

    def test_a_page_without_the_section_fails(self):
        code, text = self.run_checker('factory\\tosd\\n', '.Sh NAME\n')
        self.assertEqual(code, 1)
        self.assertIn('osd: in the factory table, but without an entry', text)

    def assertFindsInDocument(self, document, *found):
        code, text = self.run_checker('system\\tkey\\nsystem\\tjog1\\nfactory\\tosd\\n',
                                      HEAD + entry('key') + entry('jog1') + entry('osd') + TAIL,
                                      document)
        self.assertEqual(code, 1 if found else 0, text)
        self.assertEqual([line.split('.md: ', 1)[1] for line in text.splitlines()[:-1]],
                         list(found))

    def test_a_document_has_each_word_below_its_table(self):
        self.assertFindsInDocument('## The system table\n### key\n### jog1\n'
                                   '## The factory table\n### osd\n')
        self.assertFindsInDocument('## The system table\n### key\n## The factory table\n### osd\n',
                                   'jog1: in the system table, but without an entry')
        self.assertFindsInDocument('## The system table\n### key\n### jog1\n### osd\n',
                                   'osd: in the factory table, but without an entry',
                                   'osd: an entry, but not in the system table')
        self.assertFindsInDocument('## The system table\n### jog1\n### key\n'
                                   '## The factory table\n### osd\n',
                                   'the entries are not in the order of the tables')
        self.assertFindsInDocument('## The system table\n### key\n### jog1\n'
                                   '## The factory table\n### osd\n### osd\n',
                                   'a word has two entries')
        self.assertFindsInDocument('## The system table\n### key\n### jog1\n'
                                   '## The factory table\n### osd\n### lcd\n',
                                   'lcd: an entry, but not in the factory table')


if __name__ == '__main__':
    unittest.main()
