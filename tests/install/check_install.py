#!/usr/bin/env python3
"""Install the tree, build the example application against it, and run it on a virtual camera.

usage: check_install.py --cmake CMAKE --build DIR --example DIR [--cc CC] [--sanitize LIST]
       [--link FLAGS]
"""
import argparse
import os
import subprocess
import sys
import tempfile
from pathlib import Path


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f'{" ".join(map(str, command))}\nended with {done.returncode}\n'
                 f'{done.stdout}{done.stderr}')
    return done.stdout


def expect(what, text, wanted):
    if wanted not in text:
        sys.exit(f'{what}: expected {wanted!r}, got {text!r}')


def build_example(args, prefix, folder):
    pc = next(prefix.rglob('rova.pc'))
    flags = f'-Wall -Wextra -Wpedantic -Werror{" -fsanitize=" if args.sanitize else ""}{args.sanitize}'
    run(args.cmake, '-S', args.example, '-B', folder, '-G', 'Ninja', f'-DCMAKE_C_COMPILER={args.cc}',
        f'-DCMAKE_C_FLAGS={flags}', f'-DCMAKE_EXE_LINKER_FLAGS={args.link}',
        env=dict(os.environ, PKG_CONFIG_PATH=str(pc.parent)))
    run(args.cmake, '--build', folder)
    return folder / 'camera-app'


def try_example(prefix, program, camera):
    vcam = [prefix / 'bin/vcam', '-C', camera]
    run(*vcam, 'create')
    run(*vcam, 'start', '--app', program, '--', '--test')
    try:
        expect('status', run(*vcam, 'status'), 'camera application: up')
        expect('exposure', run(*vcam, 'pc', 'exposure iso 100'), 'exposure iso is done')
        expect('sys_param', run(*vcam, 'pc', 'sys_param flash on'),
               '0x00000001 0x00000002 0x00000000 OK')
        expect('lens', run(*vcam, 'pc', 'lens get'), '0x10000002 0x00000000 0x00000000 OK')
        run(*vcam, 'stop')
    finally:
        subprocess.run([*vcam, 'stop', '--kill'], capture_output=True)
    # The tree's own application finds its libraries too.
    run(*vcam, 'start', '--', '--test')
    run(*vcam, 'stop')
    left = list((camera / 'virtual/ipc').glob('queue.*'))
    expect('queues left', str(left), '[]')


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--cmake', default='cmake')
    parser.add_argument('--build', type=Path, required=True)
    parser.add_argument('--example', type=Path, required=True)
    parser.add_argument('--cc', default='cc')
    parser.add_argument('--sanitize', default='')
    parser.add_argument('--link', default='')
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        top = Path(folder)
        run(args.cmake, '--install', args.build, '--prefix', top / 'made')
        # An installed tree may be moved.
        prefix = (top / 'made').rename(top / 'prefix')
        program = build_example(args, prefix, top / 'app')
        environment = subprocess.run(['ldd', program], capture_output=True, text=True).stdout
        expect('ldd', environment, str(prefix))
        try_example(prefix, program, top / 'camera')


if __name__ == '__main__':
    main()
