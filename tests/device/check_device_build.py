#!/usr/bin/env python3
"""Build the daemon for a device and see that nothing of the virtual camera came along.

usage: check_device_build.py --source DIR --build DIR --library FILE [--define NAME=VALUE]...
       check_device_build.py --binary FILE

The first form configures the tree with ROVA_PLATFORM=device against the library, builds what a
camera is given in a fresh folder, and looks into rovad; the second only looks into a program that
is there already.
"""
import argparse
import os
import shutil
import subprocess
import sys
from pathlib import Path

# What a camera is given; linking finds a call of the platform that the library does not have.
TARGETS = ['rovad', 'rova_shared', 'rova_tool']
# Each stands in every program that links the virtual camera.
TRACES = [b'ROVA_SYSROOT', b'calls.jsonl', b'virtual/fail', b'libsqlite3']


def run(*command):
    print('+', *command, flush=True)
    environment = dict(os.environ, CCACHE_NOHASHDIR='1')
    if subprocess.run([str(word) for word in command], env=environment).returncode != 0:
        sys.exit(f'{command[0]} failed')


def build(args):
    shutil.rmtree(args.build, ignore_errors=True)
    run(args.cmake, '-S', args.source, '-B', args.build, '-G', 'Ninja', '-DROVA_PLATFORM=device',
        '-DROVA_TESTS=OFF', f'-DROVA_DEVICE_LIBRARIES={args.library}',
        *(f'-D{definition}' for definition in args.define))
    run(args.cmake, '--build', args.build, '-j2', '--target', *TARGETS)
    return Path(args.build, 'core/rovad')


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--cmake', default='cmake')
    parser.add_argument('--source')
    parser.add_argument('--build')
    parser.add_argument('--library')
    parser.add_argument('--define', action='append', default=[])
    parser.add_argument('--binary')
    args = parser.parse_args()

    binary = Path(args.binary) if args.binary else build(args)
    contents = binary.read_bytes()
    if not contents.startswith(b'\x7fELF'):
        sys.exit(f'{binary} is no program')
    found = [trace.decode() for trace in TRACES if trace in contents]
    for trace in found:
        print(f'{binary} contains {trace}')
    if not found:
        print(f'{binary} holds nothing of the virtual camera')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
