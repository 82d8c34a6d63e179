# SPDX-License-Identifier: MIT
"""scripts/check-reliability.py finds each row that is not true."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-reliability.py"
HEAD = "# Hazards\n\n| hazard | where handled | test |\n|---|---|---|\n"


class CheckReliabilityTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.write("src/a/A.cpp", "")
        self.write("tests/a/ATest.cpp", "TEST_F(ATest,\n       Holds) {}\nTYPED_TEST(AnyTest, Holds) {}\n")
        self.write("tests/scripts/b_test.py", "class BTest(unittest.TestCase):\n    def test_holds(self):\n")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def check(self, rows):
        """Writes a table of these rows and returns the status and the output."""
        self.write("docs/reliability.md", HEAD + rows)
        run = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True, check=False)
        return run.returncode, run.stdout

    def assert_finds(self, text, row):
        status, output = self.check(row + "\n")
        self.assertEqual(status, 1, output)
        self.assertIn(text, output)
        self.assertEqual(len(output.splitlines()), 1, output)

    def test_files_and_tests_that_are_there_are_fine(self):
        status, output = self.check("| fire | `src/a/A.cpp` | `a/ATest.Holds`, `a/AnyTest.Holds`, `scripts/BTest.test_holds` |\n")
        self.assertEqual(status, 0, output)

    def test_a_test_that_is_not_there(self):
        self.assert_finds("no test a/ATest.Gone", "| fire | `src/a/A.cpp` | `a/ATest.Holds`, `a/ATest.Gone` |")

    def test_a_test_of_another_folder(self):
        self.assert_finds("no test b/ATest.Holds", "| fire | `src/a/A.cpp` | `b/ATest.Holds` |")

    def test_a_file_that_is_not_there(self):
        self.assert_finds("no file src/a/B.cpp", "| fire | `src/a/B.cpp` | `a/ATest.Holds` |")

    def test_an_empty_cell(self):
        self.assert_finds("three cells", "| fire | | `a/ATest.Holds` |")
        self.assert_finds("three cells", "| fire | `src/a/A.cpp` | |")

    def test_a_cell_that_names_nothing(self):
        self.assert_finds("needs a file and a test", "| fire | `src/a/A.cpp` | somebody looks |")

    def test_no_rows_are_no_success(self):
        self.assertEqual(self.check("")[0], 1)


if __name__ == "__main__":
    unittest.main()
