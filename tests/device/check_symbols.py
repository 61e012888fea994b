#!/usr/bin/env python3
"""Compare the functions that headers declare with those that libraries define.

usage: check_symbols.py [--nm NM] [--prefix P | --without-prefix P] [--exact] [--pending LIST]
                        [--map SCRIPT] HEADER... -- LIBRARY...

Fails when a declared function is not defined.  With --exact also when a library defines a global
function that no header declares.  --prefix looks only at names that begin with P.  LIST is a file
of functions, one a line, that are still to be written: they must be missing.  SCRIPT is a linker's
version script: its global names must be the declared ones.  Of a shared library (.so) only what it
shows to others counts.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path


def declared(text):
    """Names of the functions that a header declares.  A header of ours holds no function body."""
    text = re.sub(r'/\*.*?\*/|//[^\n]*', ' ', text, flags=re.DOTALL)
    text = re.sub(r'^[ \t]*#(?:\\\n|[^\n])*', '', text, flags=re.MULTILINE)
    text = re.sub(r'extern\s+"C"\s*\{', '', text)
    while re.search(r'\{[^{}]*\}', text):
        text = re.sub(r'\{[^{}]*\}', ' ', text)
    names = set()
    for statement in text.split(';'):
        statement = re.sub(r'__attribute__\s*\(\(.*\)\)', '', statement.strip(' \n\t}'),
                           flags=re.DOTALL)
        if re.match(r'(typedef|static_assert|_Static_assert)\b', statement):
            continue
        found = re.match(r'[\w\s*]*?\b(\w+)\s*\(', statement)
        if found:
            names.add(found.group(1))
    return names


def defined(nm, library):
    """Names of the global functions that an object, archive or shared library defines."""
    shown = ['--dynamic'] if re.search(r'\.so(\.[0-9.]+)?$', library) else []
    output = subprocess.run([nm, *shown, '--defined-only', '--extern-only', library], check=True,
                            capture_output=True, text=True).stdout
    # What a shared library shows beside functions is as much a part of its interface.
    kinds = 'TWVBDRui' if shown else 'TW'
    return {line.split()[2] for line in output.splitlines()
            if len(line.split()) == 3 and line.split()[1] in kinds}


def exported(text):
    """The global names of a version script."""
    text = re.sub(r'/\*.*?\*/', ' ', text, flags=re.DOTALL)
    found = re.search(r'global:(.*?)(?:local:|\})', text, re.DOTALL)
    return set(re.findall(r'[^\s;]+', found.group(1))) if found else set()


def map_faults(path, wanted):
    """What is on one side only of a version script and the headers."""
    names = exported(path.read_text())
    return ([f'{path}: {name} is not exported' for name in sorted(set(wanted) - names)] +
            [f'{path}: {name} is not declared' for name in sorted(names - set(wanted))])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--nm', default='nm')
    parser.add_argument('--prefix', default='')
    parser.add_argument('--without-prefix')
    parser.add_argument('--exact', action='store_true')
    parser.add_argument('--pending', type=Path)
    parser.add_argument('--map', type=Path)
    parser.add_argument('files', nargs='+', metavar='HEADER... -- LIBRARY')
    arguments = sys.argv[1:]
    libraries = []
    if '--' in arguments:
        at = arguments.index('--')
        arguments, libraries = arguments[:at], arguments[at + 1:]
    args = parser.parse_args(arguments)

    def counts(name):
        if args.without_prefix and name.startswith(args.without_prefix):
            return False
        return name.startswith(args.prefix)

    wanted = {name: header for header in args.files
              for name in declared(Path(header).read_text()) if counts(name)}
    present = {name for library in libraries for name in defined(args.nm, library)}
    if not wanted or not present:
        sys.exit(f'nothing to compare: {len(wanted)} declared, {len(present)} defined')

    pending = set(args.pending.read_text().split()) if args.pending else set()
    missing = set(wanted) - present - pending
    faults = [f'{wanted[name]}: {name} is not defined' for name in sorted(missing)]
    faults += [f'{args.pending}: {name} is not missing: take it off the list'
               for name in sorted(pending - (set(wanted) - present))]
    faults += map_faults(args.map, wanted) if args.map else []
    if args.exact:
        faults += [f'{name} is defined but not declared' for name in sorted(present - set(wanted))]
    print('\n'.join(faults + [f'{len(wanted)} functions declared, {len(faults)} faults']))
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
