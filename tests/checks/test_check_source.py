#!/usr/bin/env python3
"""The source checker finds what it is there to find, and nothing else."""
import importlib.util
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent

loader = importlib.util.spec_from_file_location('check_source', HERE / 'check-source.py')
check_source = importlib.util.module_from_spec(loader)
loader.loader.exec_module(check_source)


class Tree(unittest.TestCase):
    """A tree of a test's own."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def run_checker(self):
        done = subprocess.run([sys.executable, '-B', HERE / 'check-source.py', self.root],
                              capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr

    def findings(self, path, text):
        self.write(path, text)
        return check_source.check(self.root, path)

    def assertFinds(self, path, text, line, *words):
        found = self.findings(path, text)
        self.assertEqual([number for number, _ in found], [line], (text, found))
        for word in words:
            self.assertIn(word, found[0][1])

    def assertClean(self, path, text):
        self.assertEqual(self.findings(path, text), [], text)


class RawCalls(Tree):
    def test_every_name_is_found_and_its_replacement_named(self):
        for name, instead in check_source.REPLACEMENTS.items():
            with self.subTest(name):
                self.assertFinds('common/a.cpp', f'int f()\n{{\n    return {name}("/x");\n}}\n', 3,
                                 f'{name}()', f'{instead}()' if instead else f'sys_{name}()')

    def test_every_replacement_is_declared_by_the_seam(self):
        seam = (ROOT / 'platform/include/platform/sys.h').read_text()
        for instead in set(check_source.REPLACEMENTS.values()) - {None}:
            self.assertRegex(seam, rf'\b{instead}\(')

    def test_no_name_is_said_to_be_missing_that_the_seam_has(self):
        seam = (ROOT / 'platform/include/platform/sys.h').read_text()
        for name, instead in check_source.REPLACEMENTS.items():
            if instead is None:
                self.assertNotRegex(seam, rf'\bsys_{name}\(')

    def test_the_product_folders_are_held_to_it_and_others_are_not(self):
        for folder in ('core', 'common', 'command/factory', 'lib/pim/handler'):
            self.assertFinds(f'{folder}/a.cpp', 'int n = usleep(5);\n', 1, 'sys_usleep()')
        for folder in ('platform/virtual', 'platform/device', 'tools/vcam', 'tools'):
            self.assertClean(f'{folder}/a.cpp', 'int n = usleep(5);\n')

    def test_forms_of_a_call(self):
        for text in ('x = open (path, 0);', 'return ::open(path, 0);', 'x = std::fopen(p, "r");',
                     'if (access(p, 0))', 'else unlink(p);', '(void)unlink(p);', 'std::remove(p);',
                     'std::this_thread::sleep_for(1s);', 'x = !stat(p, &s);',
                     'remove(join(a, b));', 'rename(\n    a, b);', 'case 1: rmdir(p);',
                     'open\n(p, 0);', "c = 'x'; open(p, 0);", "n = 1'000; open(p, 0);",
                     'f("\\""); open(p, 0);', 'f(R"(")"); open(p, 0);', "c = '\"'; open(p, 0);",
                     '/* open */ open(p, 0);', 'std::ofstream out(p);',
                     'auto n = std :: filesystem::path(p);'):
            with self.subTest(text):
                self.assertFinds('core/a.cpp', text + '\n', 1)

    def test_what_only_looks_like_a_call(self):
        for text in ('x = sys_open(path, 0, 0);', 'file.open(path);', 'file->remove(p);',
                     'rova::open(p);', 'bool open(const char *path);', 'struct stat status;',
                     '// open(p, 0)', '/* open(p, 0)\n unlink(p) */', 'log("open(%s)");',
                     'log(R"x(open(p) ")x");', 'log(u8"a\\"open(p)");', '{"remove", &handler},',
                     'std::remove(a.begin(), a.end(), 3);', 'reopen(p);', 'open_all(p);',
                     'int opener = 0;', '// ends in \\\nopen(p);', 'enum { open, system };',
                     "log('(', \"unlink(p)\", ')');", 'rova_sleep(1);', 'fork();', 'close(fd);'):
            with self.subTest(text):
                self.assertClean('core/a.cpp', text + '\n')

    def test_the_line_is_right_behind_comments_and_texts_of_several_lines(self):
        self.assertFinds('core/a.cpp',
                         '/* one\n two */\nauto t = R"(\n\n)";\n#define A \\\n  b\n'
                         'x = open(p, 0);\n',
                         8, 'sys_open()')

    def test_a_line_with_two_calls_is_told_twice(self):
        self.assertEqual(len(self.findings('lib/a.cpp', 'x = open(p, 0) + unlink(p);\n')), 2)


class VirtualCamera(Tree):
    def test_product_code_knows_nothing_of_it(self):
        for text in ('getenv("ROVA_SYSROOT");', 'sys_open("/virtual/speed", 0, 0);',
                     'f = "virtual/calls.jsonl";'):
            with self.subTest(text):
                self.assertTrue(self.findings('common/a.cpp', text + '\n'))

    def test_a_comment_may_speak_of_it_and_so_may_a_class(self):
        self.assertClean('common/a.cpp', '// ROVA_SYSROOT, virtual/speed\nint virtual_speed;\n')


class Includes(Tree):
    GOOD = {
        'platform/include/platform/a.h': ('<platform/vconf.h>', '<stdint.h>'),
        'platform/virtual/a.cpp': ('<platform/vconf.h>', '"platform/virtual/root.h"', '<string>'),
        'platform/device/sys.cpp': ('<platform/sys.h>',),
        'common/a.cpp': ('"common/rova_log.h"', '<platform/vconf.h>', '<X11/Xlib.h>'),
        'lib/pim/a.cpp': ('"lib/rova_manager.h"', '"common/rova_log.h"', '<platform/sys.h>'),
        'command/wifi/a.cpp': ('"command/rova_cmd_handler.h"', '"lib/rova_ipcc.h"',
                               '"common/rova_log.h"', '<platform/wlan.h>'),
        'core/a.cpp': ('"core/rova_loop.h"', '"command/rova_cmd_handler.h"', '"lib/rova_process.h"',
                       '"common/rova_log.h"', '<platform/sys.h>', '<Elementary.h>'),
        'tools/rova.cpp': ('"lib/rova_manager.h"', '"core/rova_parser.h"'),
        'tools/vcam/a.cpp': ('"platform/virtual/root.h"', '"lib/rova_manager.h"'),
    }
    BAD = {
        'platform/include/platform/a.h': ('"common/rova_log.h"', '"platform/virtual/root.h"',
                                          '"tests/support/camera.h"'),
        'platform/virtual/a.cpp': ('"common/rova_log.h"', '"core/rova_loop.h"', '"lib/a.h"',
                                   '"tools/vcam/a.h"', '"platform/device/a.h"'),
        'platform/device/sys.cpp': ('"platform/virtual/root.h"', '"common/rova_log.h"'),
        'common/a.cpp': ('"core/rova_loop.h"', '"command/rova_cmd_handler.h"', '"lib/a.h"',
                         '"platform/virtual/root.h"', '<platform/virtual/root.h>',
                         '"../platform/virtual/root.h"', '"tests/support/camera.h"',
                         '"../core/rova_loop.h"', '"common/../lib/a.h"', '"tools/vcam/a.h"'),
        'lib/pim/a.cpp': ('"command/rova_cmd_handler.h"', '"core/rova_loop.h"',
                          '"../../core/rova_loop.h"', '"platform/virtual/root.h"'),
        'command/wifi/a.cpp': ('"core/rova_loop.h"', '"platform/virtual/root.h"',
                               '"platform/device/a.h"', '"bench/a.h"'),
        'core/a.cpp': ('"platform/virtual/root.h"', '"tests/support/camera.h"', '"tools/a.h"'),
        'tools/rova.cpp': ('"platform/virtual/root.h"', '"tools/vcam/a.h"'),
        'tools/vcam/a.cpp': ('"tests/support/camera.h"',),
    }

    def test_arrows_that_point_down_are_let_be(self):
        for path, names in self.GOOD.items():
            for name in names:
                with self.subTest(path=path, name=name):
                    self.assertClean(path, f'#include {name}\n')

    def test_arrows_that_point_up_are_found(self):
        for path, names in self.BAD.items():
            for name in names:
                with self.subTest(path=path, name=name):
                    self.assertFinds(path, f'// first\n  #  include {name}\n', 2, name.strip('<>"'))

    def test_a_file_beside_the_includer_comes_first(self):
        self.write('common/lib/a.h', '')
        self.assertClean('common/a.cpp', '#include "lib/a.h"\n')

    def test_an_include_in_a_comment_is_none(self):
        self.assertClean('common/a.cpp', '// #include "core/a.h"\n/*\n#include "core/a.h"\n*/\n')


class Program(Tree):
    def test_a_clean_tree_passes(self):
        self.write('core/a.cpp', '#include "common/a.h"\nint x;\n')
        self.write('tests/a.cpp', '#include "platform/virtual/a.h"\nint x = system("ls");\n')
        code, text = self.run_checker()
        self.assertEqual((code, text), (0, '1 files checked, 0 faults\n'))

    def test_faults_are_told_with_file_and_line_and_fail(self):
        self.write('core/a.cpp', '\nint x = system("ls");\n')
        self.write('lib/pim/b.h', '#include "core/a.h"\n')
        code, text = self.run_checker()
        self.assertEqual(code, 1)
        self.assertIn('core/a.cpp:2: system() goes around the seam: use sys_system()', text)
        self.assertIn('lib/pim/b.h:1: includes core/a.h: lib must not include from core', text)
        self.assertIn('2 files checked, 2 faults', text)

    def test_a_tree_without_sources_fails(self):
        self.assertNotEqual(self.run_checker()[0], 0)


if __name__ == '__main__':
    unittest.main()
