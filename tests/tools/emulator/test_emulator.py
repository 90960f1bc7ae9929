#!/usr/bin/env python3
"""tools/windows/emulator: what a Windows program ends with is what its caller hears.

    test_emulator.py EMULATOR ENDING ENDS_EARLY [unittest arguments]
"""

import os
import subprocess
import sys
import tempfile
import unittest

EMULATOR, ENDING, ENDS_EARLY = sys.argv[1:4]


def run(*arguments, **variables):
    return subprocess.run([EMULATOR, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, env=dict(os.environ, **variables))


def filtered(name):
    return run(ENDS_EARLY, "--gtest_filter=EndsEarly." + name)


class Endings(unittest.TestCase):
    def test_a_status_is_handed_on(self):
        for status in (0, 1, 7, 125):
            with self.subTest(status):
                self.assertEqual(run(ENDING, "status", str(status)).returncode, status)

    def test_a_crash_is_no_success(self):
        self.assertEqual(run(ENDING, "crash").returncode, 5)
        self.assertEqual(run(ENDING, "abort").returncode, 3)

    def test_the_whole_output_comes(self):
        done = run(ENDING, "print", "1000000")
        self.assertEqual(done.stdout.count("x"), 1000000)
        self.assertIn("to the errors", done.stdout)
        self.assertEqual(done.returncode, 0)

    def test_a_test_program_that_ends_before_its_tests_is_no_success(self):
        rows = [("Passes", 0), ("Fails", 1), ("InTheMiddle", 125)]
        for name, status in rows:
            with self.subTest(name):
                self.assertEqual(filtered(name).returncode, status)

    def test_the_same_goes_for_those_of_qt(self):
        start, finish = "********* Start testing of A *********", "********* Finished testing of A *********"
        rows = [("through", (start, "PASS", finish), 0), ("not through", (start, "PASS"), 125)]
        for name, lines, status in rows:
            with self.subTest(name):
                self.assertEqual(run(ENDING, "say", *lines).returncode, status)

    def test_what_fails_without_a_word_is_started_once_more(self):
        again = "it ended with status 5 and said nothing; once more\n"
        with tempfile.TemporaryDirectory() as folder:
            file = folder + "/made"
            windows_file = "Z:" + file.replace("/", "\\")
            done = run(ENDING, "fail-once", windows_file)
            self.assertEqual((done.returncode, done.stdout), (0, again))
            os.remove(file)
            done = run(ENDING, "fail-once", windows_file, "a word")
            self.assertEqual((done.returncode, done.stdout), (5, "a word\n"))
        self.assertEqual(run(ENDING, "status", "7").stdout, again.replace("5", "7"))


class Refusals(unittest.TestCase):
    def test_a_program_of_another_system_is_not_started(self):
        done = run("/bin/true")
        self.assertEqual((done.returncode, done.stdout), (125, "not a Windows program: /bin/true\n"))

    def test_no_program(self):
        self.assertEqual(run("/missing").returncode, 125)
        self.assertEqual(run().returncode, 125)

    def test_without_its_prefix_nothing_is_started(self):
        with tempfile.TemporaryDirectory() as folder:
            missing = folder + "/none"
            done = run(ENDING, "status", "0", QUILLMARK_WINE_PREFIX=missing)
            self.assertEqual(done.returncode, 125)
            self.assertIn("run tools/setup-windows", done.stdout)
            self.assertFalse(os.path.exists(missing))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + sys.argv[4:])
