# SPDX-License-Identifier: MIT
"""A sanitizer's build compiles files together, but for one whose own names another has; other builds each alone."""
import subprocess
import unittest

from small_tree import SmallTree

SOURCE = "namespace {\n%s\n} // namespace\nint %s();\nint %s() {\n    return %s;\n}\n"


class CompileTogetherTest(unittest.TestCase):
    def setUp(self):
        self.tree = SmallTree(self)
        for name, declared, used in (("A", "constexpr int kSize = 1;", "kSize"), ("B", "constexpr int kSize{2};", "kSize"),
                                     ("C", "struct Step {\n    int a = 3;\n};", "Step().a"),
                                     ("D", "int own() {\n    return 4;\n}", "own()"),
                                     ("E", "struct Step {\n    int b = 5;\n};", "Step().b"),
                                     ("F", "const int other = 6;", "other"), ("G", "int own() {\n    return 7;\n}", "own()")):
            self.tree.write(f"src/device/{name}.cpp", SOURCE % (declared, name.lower(), name.lower(), used))

    def together(self, preset):
        """The files that a build, which must not fail, compiles as one."""
        for command in (["cmake", "--preset", preset], ["ninja", "-C", f"build/{preset}"]):
            run = subprocess.run(command, cwd=self.tree.root, text=True, check=False, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT)
            self.assertEqual(run.returncode, 0, run.stdout)
        units = sorted(self.tree.root.glob(f"build/{preset}/src/device/**/unity_*.cxx"))
        return [line.rsplit("/", 1)[1].rstrip('"') for unit in units for line in unit.read_text().splitlines()
                if line.startswith("#include")]

    def test_files_with_names_of_their_own(self):
        self.assertEqual(self.together("asan"), ["A.cpp", "C.cpp", "D.cpp", "F.cpp"])

    def test_without_a_sanitizer(self):
        self.assertEqual(self.together("dev"), [])


if __name__ == "__main__":
    unittest.main()
