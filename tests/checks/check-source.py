#!/usr/bin/env python3
"""Hold the sources to the tree's own rules.

usage: check-source.py [ROOT]

Reports, as file:line: text, in core/, common/, command/ and lib/
  - calls that take a path, a name of a kernel object or a time around platform/sys.h;
  - knowledge of the virtual camera;
and everywhere includes that point up:
  command -> lib -> common -> platform/include, core -> all of these.
Comments, and texts where they do not matter, are not looked at.
"""
import argparse
import os
import re
import sys
from pathlib import Path

PRODUCT = ('core', 'common', 'command', 'lib')

# What may include what.  `platform` is platform/include, which knows nothing but itself.
ARROWS = {
    'platform/include': {'platform/include'},
    'platform/device': {'platform/include', 'platform/device'},
    'platform/virtual': {'platform/include', 'platform/virtual'},
    'common': {'common', 'platform/include'},
    'lib': {'lib', 'common', 'platform/include'},
    'command': {'command', 'lib', 'common', 'platform/include'},
    'core': {'core', 'command', 'lib', 'common', 'platform/include'},
    'tools/vcam': {'tools/vcam', 'tools/vcam_app', 'platform/virtual', 'core', 'command', 'lib',
                   'common', 'platform/include'},
    'tools/vcam_app': {'tools/vcam_app', 'platform/virtual', 'lib', 'platform/include'},
    'tools': {'tools', 'core', 'command', 'lib', 'common', 'platform/include'},
}
# Folders that nobody above may include from: named so that an include of them is recognised.
OTHERS = ('tests', 'bench', 'fuzz', 'examples', 'docs')

# Raw call -> the seam's call; None: the seam has no such call yet.
REPLACEMENTS = {
    'open': 'sys_open', 'open64': 'sys_open', 'openat': 'sys_open', 'creat': 'sys_open',
    'fopen': 'sys_fopen', 'fopen64': 'sys_fopen', 'freopen': 'sys_fopen',
    'access': 'sys_access', 'faccessat': 'sys_access', 'eaccess': 'sys_access',
    'euidaccess': 'sys_access',
    'stat': 'sys_stat', 'lstat': 'sys_stat', 'stat64': 'sys_stat', 'lstat64': 'sys_stat',
    'fstatat': 'sys_stat', 'statx': 'sys_stat',
    'rename': 'sys_rename', 'renameat': 'sys_rename', 'renameat2': 'sys_rename',
    'unlink': 'sys_unlink', 'unlinkat': 'sys_unlink', 'remove': 'sys_unlink',
    'mkdir': 'sys_mkdir', 'mkdirat': 'sys_mkdir',
    'opendir': 'sys_opendir', 'scandir': 'sys_opendir', 'nftw': 'sys_opendir',
    'ftw': 'sys_opendir', 'glob': 'sys_opendir',
    'ioctl': 'sys_ioctl', 'sync': 'sys_sync', 'fdatasync': 'sys_fdatasync',
    'system': 'sys_system', 'popen': 'sys_system',
    'execl': 'sys_execvp', 'execle': 'sys_execvp', 'execlp': 'sys_execvp',
    'execv': 'sys_execvp', 'execve': 'sys_execve', 'execvp': 'sys_execvp',
    'execvpe': 'sys_execve', 'posix_spawn': 'sys_execvp', 'posix_spawnp': 'sys_execvp',
    'ftok': 'sys_ftok', 'msgget': 'sys_msgget',
    'sem_open': 'sys_sem_open', 'sem_unlink': 'sys_sem_unlink',
    'usleep': 'sys_usleep', 'sleep': 'sys_usleep', 'nanosleep': 'sys_usleep',
    'clock_nanosleep': 'sys_usleep', 'sleep_for': 'sys_usleep', 'sleep_until': 'sys_usleep',
    'time': 'sys_time', 'gettimeofday': 'sys_time',
    'rmdir': None, 'readlink': None, 'symlink': None, 'link': None, 'truncate': None,
    'truncate64': None, 'chmod': None, 'chown': None, 'chdir': None, 'mkfifo': None,
    'mknod': None, 'mkstemp': None, 'mkdtemp': None, 'realpath': None, 'statvfs': None,
    'statfs': None, 'mount': None, 'umount': None, 'utime': None, 'utimes': None,
    'utimensat': None, 'shm_open': None, 'shm_unlink': None, 'mq_open': None,
    'inotify_add_watch': None, 'semget': None, 'shmget': None, 'reboot': None,
    'g_usleep': 'sys_usleep', 'g_file_get_contents': 'sys_fopen',
    'g_file_set_contents': 'sys_fopen', 'g_file_test': 'sys_access', 'g_fopen': 'sys_fopen',
    'g_open': 'sys_open', 'g_unlink': 'sys_unlink', 'g_mkdir': 'sys_mkdir',
    'g_mkdir_with_parents': 'sys_mkdir', 'g_spawn_sync': 'sys_system',
    'g_spawn_async': 'sys_system', 'g_spawn_command_line_sync': 'sys_system',
    'g_spawn_command_line_async': 'sys_system',
}
# Types that open files by themselves.
TYPES = {name: 'sys_fopen' for name in ('ifstream', 'ofstream', 'fstream', 'filebuf')}
TYPES['filesystem'] = 'sys_stat, sys_opendir'

# Words after which a name and a parenthesis are a call, not a declaration.
CALLING_WORDS = {'return', 'else', 'do', 'case', 'throw', 'co_return', 'co_await', 'co_yield',
                 'and', 'or', 'not', 'sizeof', 'goto', 'new', 'delete'}

TOKEN = re.compile(r'''
    (?P<comment> //(?:\\\n|[^\n])* | /\*.*?(?:\*/|\Z) )
  | (?P<raw> (?:u8|[uUL])?R"(?P<mark>[^()\\\s"]{0,16})\(.*?\)(?P=mark)" )
  | (?P<text> (?:u8|[uUL])?"(?:\\.|[^"\\\n])*" )
  | (?P<char> (?:u8|[uUL])?'(?:\\.|[^'\\\n])*' )
  | (?P<number> \.?[0-9](?:'?[\w.]|(?<=[eEpP])[+-])* )
  | (?P<word> [A-Za-z_]\w* )
''', re.VERBOSE | re.DOTALL)


def blank(text):
    """As many lines, and nothing in them."""
    return ' ' + '\n' * text.count('\n')


def strip(source, texts):
    """The source without its comments and, if `texts`, without what stands in quotes."""
    def replace(match):
        if match.lastgroup == 'comment':
            return blank(match.group())
        if texts and match.lastgroup in ('raw', 'mark', 'text'):
            return '""' + '\n' * match.group().count('\n')
        if texts and match.lastgroup == 'char':
            return "' '"
        return match.group()
    return TOKEN.sub(replace, source)


def line_of(code, position):
    return code.count('\n', 0, position) + 1


def arguments(code, opening):
    """How many arguments the call has whose parenthesis opens at `opening`."""
    depth, commas, empty = 0, 0, True
    for character in code[opening:]:
        if character in '([{':
            depth += 1
        elif character in ')]}':
            depth -= 1
            if depth == 0:
                break
        elif character == ',' and depth == 1:
            commas += 1
        if depth >= 1 and not character.isspace() and character != '(':
            empty = False
    return 0 if empty else commas + 1


CALL = re.compile(r'(?P<scope>(?:\b(?!(?:%s)\b)[A-Za-z_]\w*\s*)?::\s*)?'
                  r'\b(?P<name>%s)\s*(?P<opening>\()'
                  % ('|'.join(CALLING_WORDS), '|'.join(REPLACEMENTS)))
TYPE = re.compile(r'\bstd\s*::\s*(?P<name>%s)\b' % '|'.join(TYPES))


def is_raw_call(code, match):
    """Whether what looks like a call of the C library is one."""
    before = code[:match.start()].rstrip()
    scope = (match.group('scope') or '').replace(' ', '')
    if scope not in ('', '::', 'std::', 'this_thread::'):
        return False
    if before.endswith(('.', '->')):
        return False
    if scope == '' and before.endswith('::'):
        return False
    # Of the C library's remove() and the algorithm of the same name, the first takes a path only.
    if match.group('name') == 'remove' and arguments(code, match.start('opening')) != 1:
        return False
    word = re.search(r'[A-Za-z_]\w*\Z', before)
    if scope == '' and word and word.group() not in CALLING_WORDS:
        return False  # "int open(": somebody's own declaration
    return True


def raw_calls(source):
    code = strip(source, texts=True)
    for match in CALL.finditer(code):
        if is_raw_call(code, match):
            name = match.group('name')
            instead = REPLACEMENTS[name]
            yield (line_of(code, match.start('name')),
                   f'{name}() goes around the seam: use {instead}() of platform/sys.h' if instead
                   else f'{name}() goes around the seam: platform/sys.h wants a sys_{name}()')
    for match in TYPE.finditer(code):
        name = match.group('name')
        yield (line_of(code, match.start()),
               f'std::{name} goes around the seam: use {TYPES[name]}() of platform/sys.h')


def camera_knowledge(source):
    code = strip(source, texts=False)
    for match in re.finditer(r'ROVA_SYSROOT|\bvirtual/|calls\.jsonl', code):
        if code[:match.start()].endswith('platform/') and match.group() == 'virtual/':
            continue  # an include, which is the arrows' affair
        yield (line_of(code, match.start()),
               f'{match.group()}: only platform/virtual, tools/vcam and tests know of it')


INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"(?P<own>[^"\n]+)"|<(?P<system>[^>\n]+)>)',
                     re.MULTILINE)


def folder_of(path):
    """The folder of ARROWS or OTHERS that a path below the root belongs to, or None."""
    for folder in sorted(ARROWS, key=len, reverse=True) + list(OTHERS):
        if path == folder or path.startswith(folder + '/'):
            return folder
    if path.startswith('platform/'):  # as the include folder is searched
        return 'platform/include'
    return None


def included_folder(root, path, name, quoted):
    """Whose file an include names: of the includer's own folder first, as the compiler looks."""
    if quoted:
        beside = os.path.normpath(os.path.join(os.path.dirname(path), name))
        if (root / beside).is_file() or name.startswith('.'):
            return folder_of(beside)
    return folder_of(os.path.normpath(name))


def upward_includes(root, path, source):
    folder = folder_of(path)
    if folder not in ARROWS:
        return
    code = strip(source, texts=False)
    for match in INCLUDE.finditer(code):
        name = match.group('own') or match.group('system')
        target = included_folder(root, path, name, match.group('own') is not None)
        if target and target not in ARROWS[folder]:
            yield (line_of(code, match.start('own' if match.group('own') else 'system')),
                   f'includes {name}: {folder} must not include from {target}')


def check(root, path):
    source = (root / path).read_text(encoding='utf-8', errors='replace')
    findings = list(upward_includes(root, path, source))
    if path.split('/')[0] in PRODUCT:
        findings += raw_calls(source)
        findings += camera_knowledge(source)
    return sorted(findings)


def sources(root):
    for folder in PRODUCT + ('platform', 'tools'):
        for path in sorted((root / folder).rglob('*')):
            if path.suffix in ('.c', '.cpp', '.h', '.hpp', '.inc') and path.is_file():
                yield path.relative_to(root).as_posix()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('root', nargs='?', type=Path,
                        default=Path(__file__).resolve().parent.parent.parent)
    root = parser.parse_args().root
    checked, faults = 0, 0
    for path in sources(root):
        checked += 1
        for line, text in check(root, path):
            faults += 1
            print(f'{path}:{line}: {text}')
    if not checked:
        sys.exit(f'{root}: no sources to check')
    print(f'{checked} files checked, {faults} faults')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
