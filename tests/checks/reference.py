"""The program's own list of commands, and the entries of the manual page that describe them."""
import re
import subprocess


def rows(program):
    """Pairs of table and word, as the program tells them."""
    done = subprocess.run([program], capture_output=True, text=True, check=True)
    return [tuple(line.split('\t')) for line in done.stdout.splitlines()]


def section(page):
    """The text below COMMANDS."""
    found = re.search(r'^\.Sh COMMANDS\n(.*?)(?=^\.Sh |\Z)', page, re.MULTILINE | re.DOTALL)
    return found.group(1) if found else ''


def entries(page):
    """Pairs of word and text of the subsections below COMMANDS."""
    pieces = re.split(r'^\.Ss (.+)\n', section(page), flags=re.MULTILINE)
    return list(zip(pieces[1::2], pieces[2::2]))
