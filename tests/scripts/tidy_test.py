# SPDX-License-Identifier: MIT
"""scripts/tidy.py fails on what clang-tidy objects to, and looks again at exactly what has changed."""
import shutil
import subprocess
import sys
import unittest

from small_tree import SmallTree


class TidyTest(unittest.TestCase):
    def setUp(self):
        self.tree = SmallTree(self)
        self.tree.write("src/device/One.h", "#pragma once\nint one();\n")
        self.tree.write("src/device/One.cpp", '#include "device/One.h"\nint one() {\n    return 1;\n}\n')
        self.tree.write("src/device/Two.cpp", "int two();\nint two() {\n    return 2;\n}\n")

    def tidy(self, *arguments):
        self.tree.build()
        return self.tree.run("scripts/tidy.py", "--build", "build/dev", *arguments)

    def test_only_what_changed_is_looked_at_again(self):
        self.assertEqual(self.tidy(), (0, "clang-tidy: 2 units are fine (2 looked at).\n"))
        self.assertEqual(self.tidy(), (0, "clang-tidy: 2 units are fine (0 looked at).\n"))
        self.tree.write("src/device/One.h", "#pragma once\n// The first.\nint one();\n")
        self.assertEqual(self.tidy(), (0, "clang-tidy: 2 units are fine (1 looked at).\n"))
        self.assertEqual(self.tidy("Two"), (0, "clang-tidy: 1 units are fine (0 looked at).\n"))

    def test_other_rules_are_another_question(self):
        self.assertEqual(self.tidy()[0], 0)
        rules = (self.tree.root / ".clang-tidy").read_text()
        self.tree.write(".clang-tidy", rules.replace("misc-*,", "misc-*,\n  modernize-use-trailing-return-type,"))
        status, output = self.tidy()
        self.assertEqual(status, 1, output)
        self.assertIn("modernize-use-trailing-return-type", output)

    def test_an_objection_stays_until_it_is_mended(self):
        self.tree.write("src/device/One.h", "#pragma once\nstruct A {\n    virtual ~A() {}\n};\nint one();\n")
        for _ in range(2):
            status, output = self.tidy()
            self.assertEqual(status, 1)
            self.assertIn("modernize-use-equals-default", output)
            self.assertIn("src/device/One.cpp", output)

    def test_of_the_tests_those_that_changed_are_looked_at(self):
        self.tree.write("tests/kit/Old.cpp", "struct Old {\n    virtual ~Old() {}\n};\n")
        self.tree.write("tests/kit/New.cpp", "int three();\nint three() {\n    return 3;\n}\n")
        self.tree.write("tests/kit/CMakeLists.txt", "lightpen_library(kit)\n")
        lists = self.tree.root / "CMakeLists.txt"
        lists.write_text(lists.read_text() + "add_subdirectory(tests/kit)\n")
        git = ["git", "-c", "user.name=Nobody", "-c", "user.email=nobody@example.org"]
        for command in (["init", "-q"], ["add", "tests"], ["commit", "-q", "-m", "Tests"]):
            subprocess.run([*git, *command], cwd=self.tree.root, check=True, capture_output=True)
        self.assertEqual(self.tidy(), (0, "clang-tidy: 2 units are fine (2 looked at).\n"))
        self.assertEqual(self.tidy("--since", "HEAD"), (0, "clang-tidy: 2 units are fine (0 looked at).\n"))
        self.tree.write("tests/kit/New.cpp", "struct New {\n    virtual ~New() {}\n};\n")
        status, output = self.tidy("--since", "HEAD")
        self.assertEqual(status, 1, output)
        self.assertIn("tests/kit/New.cpp", output)
        self.assertNotIn("Old.cpp", output)
        self.assertEqual(self.tidy("--since", "nowhere")[0], 1)

    def test_nothing_to_look_at_is_no_success(self):
        self.assertEqual(self.tidy("Three"), (1, "There is nothing for clang-tidy to look at.\n"))

    def test_what_was_not_built_is_no_success(self):
        self.tree.build()
        for name in self.tree.root.rglob(".ninja_deps"):
            name.unlink()
        status, output = self.tree.run("scripts/tidy.py", "--build", "build/dev")
        self.assertEqual(status, 1)
        self.assertIn("has not been built", output)


if __name__ == "__main__":
    if not (shutil.which("clang-tidy-14") and shutil.which("git")):
        sys.exit(77)  # ctest says "Skipped"; scripts/check, which installs the tools, runs this again
    unittest.main()
