# SPDX-License-Identifier: MIT
""".ci/run takes every step, stops at the first that fails, and says how long each took."""
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
STEPS = ["./test --again", "scripts/try-package", "scripts/check", "./test --asan --again", "./test --tsan --again",
         "scripts/fuzz", "./test --kernel --again"]


class CiRunTest(unittest.TestCase):
    def run_with(self, check):
        """The status and the table at the end, where scripts/check is this command."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, command in ((".ci/run", None), ("test", "true"), ("scripts/check", check), ("scripts/fuzz", "true"),
                                  ("scripts/try-package", "true")):
                path = root / name
                path.parent.mkdir(exist_ok=True)
                if command is None:
                    shutil.copy(ROOT / name, path)
                else:
                    path.write_text(f"#!/bin/sh\n{command}\n")
                    path.chmod(0o755)
            run = subprocess.run([root / ".ci/run"], capture_output=True, text=True, check=False)
            table = run.stdout.split("\n\n")[-1].splitlines()
            for line in table:
                self.assertRegex(line, r"^ +\d+:\d\d  ")
            return run.returncode, [line.split("  ")[-1] for line in table]

    def test_each_step_is_taken_and_timed(self):
        self.assertEqual(self.run_with("true"), (0, STEPS + ["altogether"]))

    def test_a_failure_ends_it_and_is_named(self):
        self.assertEqual(self.run_with("exit 3"), (3, [*STEPS[:2], STEPS[2] + ": FAILED", "altogether"]))


if __name__ == "__main__":
    unittest.main()
