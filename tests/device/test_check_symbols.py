#!/usr/bin/env python3
"""The comparison of headers and libraries finds what it is there to find."""
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import check_symbols  # noqa: E402

HEADER = '''
#ifndef A_H
#define A_H
#define CALL(x) macro_call(x)
/* int commented(void); */
#ifdef __cplusplus
extern "C" {
#endif
struct record { int (*member)(void); int number; };
static_assert(sizeof(struct record) > 4, "size");
typedef void (*callback)(int value);
int one(int a, struct record *b);
const char *two(void); // int three(void);
int said(const char *format, ...)
    __attribute__((format(printf, 1, 2)));
struct record *four(callback function, void (*plain)(void));
int sys_five(void);
#ifdef __cplusplus
}
#endif
#endif
'''


class Declared(unittest.TestCase):
    def test_functions_are_found_and_nothing_else(self):
        self.assertEqual(check_symbols.declared(HEADER),
                         {'one', 'two', 'said', 'four', 'sys_five'})

    def test_every_header_of_the_platform_declares_something(self):
        headers = sorted((HERE.parent.parent / 'platform/include/platform').glob('*.h'))
        self.assertGreater(len(headers), 10)
        for header in headers:
            self.assertTrue(check_symbols.declared(header.read_text()), header)


class Compared(unittest.TestCase):
    def run_on(self, source, *options):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, 'a.h').write_text(HEADER)
            Path(folder, 'a.c').write_text(source)
            subprocess.run([os.environ.get('CC', 'cc'), '-c', 'a.c'], cwd=folder, check=True)
            done = subprocess.run([sys.executable, '-B', HERE / 'check_symbols.py', *options, 'a.h',
                                   '--', 'a.o'], cwd=folder, capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr

    ALL = 'int one(){return 0;} int two(){return 0;} int said(){return 0;} int four(){return 0;}'

    def test_a_complete_library_passes(self):
        self.assertEqual(self.run_on(self.ALL, '--without-prefix', 'sys_', '--exact')[0], 0)

    def test_a_missing_call_is_named(self):
        code, text = self.run_on(self.ALL)
        self.assertEqual(code, 1)
        self.assertIn('a.h: sys_five is not defined', text)

    def test_a_static_function_does_not_count(self):
        code, text = self.run_on('static int sys_five(){return 0;}'
                                 ' int sys_six(){return sys_five();}', '--prefix', 'sys_')
        self.assertEqual(code, 1)
        self.assertIn('sys_five', text)

    def test_an_undeclared_call_is_named_when_asked(self):
        source = self.ALL + ' int more(){return 0;}'
        self.assertEqual(self.run_on(source, '--without-prefix', 'sys_')[0], 0)
        code, text = self.run_on(source, '--without-prefix', 'sys_', '--exact')
        self.assertEqual(code, 1)
        self.assertIn('more is defined but not declared', text)

    def test_a_call_on_the_list_may_be_missing_and_nothing_else(self):
        with tempfile.TemporaryDirectory() as folder:
            pending = Path(folder, 'pending')
            pending.write_text('sys_five\n')
            self.assertEqual(self.run_on(self.ALL, '--pending', pending)[0], 0)
            self.assertEqual(self.run_on('int two(){return 0;}', '--pending', pending)[0], 1)

    def test_the_list_names_only_what_is_missing(self):
        with tempfile.TemporaryDirectory() as folder:
            pending = Path(folder, 'pending')
            pending.write_text('sys_five\none\nnone_such\n')
            code, text = self.run_on(self.ALL, '--pending', pending)
        self.assertEqual(code, 1)
        self.assertIn('one is not missing', text)
        self.assertIn('none_such is not missing', text)

    def run_on_shared(self, script):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, 'a.h').write_text(HEADER)
            Path(folder, 'a.c').write_text(self.ALL + ' int sys_five(){return 0;} int more(){return 0;}'
                                           ' int number = 1;')
            Path(folder, 'a.map').write_text(script)
            subprocess.run([os.environ.get('CC', 'cc'), '-shared', '-fPIC', 'a.c', '-o', 'a.so',
                            '-Wl,--version-script=a.map'], cwd=folder, check=True)
            done = subprocess.run([sys.executable, '-B', HERE / 'check_symbols.py', '--exact', '--map',
                                   'a.map', 'a.h', '--', 'a.so'], cwd=folder, capture_output=True,
                                  text=True)
        return done.returncode, done.stdout + done.stderr

    def test_a_shared_library_that_shows_what_is_declared_passes(self):
        code, text = self.run_on_shared(
            '{ global: /* x; */ one; two; said; four; sys_five; local: *; };')
        self.assertEqual(code, 0, text)

    def test_a_shared_library_that_shows_more_is_named(self):
        code, text = self.run_on_shared(
            '{ global: one; two; said; four; sys_five; more; number; local: *; };')
        self.assertEqual(code, 1)
        self.assertIn('more is defined but not declared', text)
        self.assertIn('number is defined but not declared', text)
        self.assertIn('a.map: more is not declared', text)

    def test_a_call_that_a_script_hides_is_named(self):
        code, text = self.run_on_shared('{ global: one; two; said; four; local: *; };')
        self.assertEqual(code, 1)
        self.assertIn('a.h: sys_five is not defined', text)
        self.assertIn('a.map: sys_five is not exported', text)

    def test_nothing_to_compare_is_a_fault(self):
        self.assertNotIn(self.run_on(self.ALL, '--prefix', 'none_')[0], (0,))


if __name__ == '__main__':
    unittest.main()
