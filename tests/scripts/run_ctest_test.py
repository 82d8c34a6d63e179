# SPDX-License-Identifier: MIT
"""Running a test again: what that forgives, what it does not, and what is said of it."""
import subprocess
import unittest

from small_tree import SmallTree

CMAKE_LISTS = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES NONE)
enable_testing()
add_test(NAME steady COMMAND true)
add_test(NAME wavering COMMAND bash ${CMAKE_SOURCE_DIR}/wavering)
"""

# Fails as often as the file "failures" says.
WAVERING = """cd "$(dirname "$0")"
left=$(cat failures)
((left > 0)) || exit 0
echo $((left - 1)) >failures
%s
exit 1
"""


class RunCtestTest(unittest.TestCase):
    def run_tests(self, failures, output, *arguments):
        """The status and the output of a run in which one test fails so often and says so much."""
        tree = SmallTree(self)
        tree.write("CMakeLists.txt", CMAKE_LISTS)
        tree.write("wavering", WAVERING % output)
        tree.write("failures", str(failures))
        script = f"source scripts/lib.sh; configure dev; run_ctest dev {' '.join(arguments)}"
        run = subprocess.run(["bash", "-c", script], cwd=tree.root, text=True, check=False,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return run.returncode, run.stdout

    def test_without_a_failure_nobody_is_named(self):
        status, output = self.run_tests(0, "")
        self.assertEqual(status, 0, output)
        self.assertIn("100% tests passed", output)
        self.assertNotIn("wavering", output)

    def test_a_failure_is_one_unless_a_second_try_was_asked_for(self):
        status, output = self.run_tests(1, "echo why it failed")
        self.assertNotEqual(status, 0)
        self.assertIn("why it failed", output)

    def test_who_passed_at_the_second_try_is_named(self):
        status, output = self.run_tests(1, "", "--repeat", "until-pass:2")
        self.assertEqual(status, 0, output)
        self.assertRegex(output, r"wavering \.+\*\*\*Failed")
        self.assertIn("100% tests passed", output)

    def test_who_fails_twice_has_failed(self):
        self.assertNotEqual(self.run_tests(2, "", "--repeat", "until-pass:2")[0], 0)

    def test_what_a_sanitizer_found_is_not_forgiven(self):
        for found in ("==7==ERROR: AddressSanitizer: heap-use-after-free on address 0x1",
                      "==7==ERROR: LeakSanitizer: detected memory leaks",
                      "WARNING: ThreadSanitizer: data race (pid=7)",
                      "Unit.cpp:3:9: runtime error: signed integer overflow"):
            with self.subTest(found):
                status, output = self.run_tests(1, f"echo '{found}'", "--repeat", "until-pass:2")
                self.assertNotEqual(status, 0)
                self.assertIn(found, output)


if __name__ == "__main__":
    unittest.main()
