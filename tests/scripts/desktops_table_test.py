# SPDX-License-Identifier: MIT
"""scripts/desktops-table.py takes the figures from the tests' own output."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEAD = "| desktop | layout | median | worst | missed | on another output |\n|---|---|---|---|---|---|\n"
DOCUMENT = ("Words.\n\n" + HEAD + "| kwin 5.27.5 | one output | 1.00 | 1.41 | 0 | 0 |\n"
            "| sway 1.6 | one output | 9.00 | 9.00 | 9 | 9 |\n| sway 1.6 | gone | 9.00 | 9.00 | 9 | 9 |\n\nMore words.\n")
LOG = """
desktop sway: sway version 1.7

desktop sway, layout turned: not offered
[ RUN      ] Taps.OneOutput
  {12, 12}: pressed {11, 12} on Virtual-2
desktop sway, layout one output: median 0.54 worst 0.73 missed 0 elsewhere 1
desktop sway, layout one output, calibrated by hand: median 0.70 worst 1.71 missed 2 elsewhere 0
"""


class DesktopsTableTest(unittest.TestCase):
    def run_on(self, document, log):
        """What became of the document, the exit status, and what was said."""
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder)
            (path / "log").write_text(log)
            (path / "document").write_text(document)
            run = subprocess.run([sys.executable, "-B", ROOT / "scripts/desktops-table.py", path / "log", path / "document"],
                                 capture_output=True, text=True, check=False)
            return (path / "document").read_text(), run.returncode, run.stderr

    def test_the_rows_of_a_desktop_are_replaced_and_all_else_stays(self):
        document, status, errors = self.run_on(DOCUMENT, LOG)
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(document, "Words.\n\n" + HEAD + "| kwin 5.27.5 | one output | 1.00 | 1.41 | 0 | 0 |\n"
                         "| sway 1.7 | turned | not offered |  |  |  |\n| sway 1.7 | one output | 0.54 | 0.73 | 0 | 1 |\n"
                         "| sway 1.7 | one output, calibrated by hand | 0.70 | 1.71 | 2 | 0 |\n\nMore words.\n")

    def test_a_second_time_changes_nothing(self):
        once = self.run_on(DOCUMENT, LOG)[0]
        self.assertEqual(self.run_on(once, LOG)[0], once)

    def test_a_log_without_figures_is_refused_and_nothing_is_written(self):
        document, status, errors = self.run_on(DOCUMENT, "100% tests passed\n")
        self.assertEqual((document, status), (DOCUMENT, 1))
        self.assertIn("has no figures of a desktop", errors)

    def test_a_document_without_the_table_is_refused(self):
        self.assertEqual(self.run_on("Words.\n", LOG)[:2], ("Words.\n", 1))


if __name__ == "__main__":
    unittest.main()
