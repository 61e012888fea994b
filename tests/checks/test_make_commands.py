#!/usr/bin/env python3
"""The document of the commands: what stands in it, and that a difference is found."""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MAKER = Path(__file__).resolve().parent / 'make-commands.py'

PAGE = r""".Dd November 20, 2026
.Dt LINE-SCRIPT 5
.Os
.Sh COMMANDS
A number is decimal.
.Ss adj_x
Below
.Pa docs/pins.md ,
a letter
.Pq Cm a .
.Bl -column letter text
.It Sy letter Ta Sy stored as
.It Cm N Ta 0, as new
.El
.Pp
Marks:
.Bl -column letter text
.It Cm ONE_A Ta Cm TWO
.El
.Bl -tag -width Ds
.It Ic adj_x read_all Cm on | off Op Ar count Op Ar more
Read
.Pa /tmp/x_y.csv ,
or \-1.
.Pp
Then more than
.Ar count
+ 1.
.It Ic adj_x set Ar a
.It Ic adj_x put Ar b
Both.
.It Sy NG
Never.
.It Sy Files
None.
.It Sy Example
.Dl adj_x read_all on -1
.Dl adj_x set a_b
.El
.Ss osd
.Bl -tag -width Ds
.It Ic osd clear
Dark.
.It Sy NG
Never.
.It Sy Files
None.
.It Sy Example
.Dl osd clear
.El
.Sh FILES
None.
"""

DOCUMENT = """\
A number is decimal.

- system: [osd](#osd)
- image quality: [adj_x](#adj_x)

## The system table

### osd

- `osd clear`

  Dark.

**NG:** Never.

**Files:** None.

**Example**

    osd clear

## The image quality table

### adj_x

Below [pins.md](pins.md), a letter (`a`).

| letter | stored as |
|---|---|
| `N` | 0, as new |

Marks:

| | |
|---|---|
| `ONE_A` | `TWO` |

- `adj_x read_all on | off` [*count* [*more*]]

  Read `/tmp/x_y.csv`, or -1.

  Then more than *count* + 1.

- `adj_x set` *a*
- `adj_x put` *b*

  Both.

**NG:** Never.

**Files:** None.

**Example**

    adj_x read_all on -1
    adj_x set a_b
"""


@unittest.skipUnless(shutil.which('mandoc'), 'mandoc is not installed')
class MakeCommands(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)

    def make(self, *kept, page=PAGE, listed='system\\tosd\\nimage quality\\tadj_x\\n'):
        program, text = self.folder / 'list', self.folder / 'page.5'
        program.write_text(f"#!/bin/sh\nprintf '{listed}'\n")
        program.chmod(0o755)
        text.write_text(page)
        done = subprocess.run([sys.executable, '-B', MAKER, program, text, *kept],
                              capture_output=True, text=True)
        return done.returncode, done.stdout, done.stderr

    def kept(self, text):
        place = self.folder / 'commands.md'
        place.write_text(text)
        return place

    def test_the_document_has_the_pages_text_in_the_order_of_the_tables(self):
        code, text, errors = self.make()
        self.assertEqual((code, errors), (0, ''))
        self.assertTrue(text.startswith('# Commands\n'), text)
        self.assertEqual(text[text.index('A number'):], DOCUMENT)

    def test_the_same_document_passes(self):
        _, text, _ = self.make()
        self.assertEqual(self.make(self.kept(text))[:2], (0, ''))

    def test_a_document_that_lags_behind_the_page_is_found(self):
        _, text, _ = self.make()
        code, told, _ = self.make(self.kept(text), page=PAGE.replace('Dark.', 'Light.'))
        self.assertEqual(code, 1)
        self.assertIn('\n-  Dark.\n+  Light.\n', told)
        self.assertIn('is not what the manual page gives', told)

    def test_a_document_changed_by_hand_is_found(self):
        _, text, _ = self.make()
        self.assertEqual(self.make(self.kept(text + '\n'))[0], 1)

    def test_a_word_without_an_entry_fails(self):
        code, _, errors = self.make(listed='system\\tlcd\\n')
        self.assertEqual(code, 1)
        self.assertIn("no entry for 'lcd'", errors)


if __name__ == '__main__':
    unittest.main()
