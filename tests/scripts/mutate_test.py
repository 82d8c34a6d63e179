# SPDX-License-Identifier: MIT
"""scripts/mutate makes the changes that it says, each alone and never in the tree itself, and sees what tests notice."""
import importlib.util
import sys
import unittest
from importlib.machinery import SourceFileLoader

from small_tree import ROOT, SmallTree

sys.path.insert(0, str(ROOT / "scripts"))
loader = SourceFileLoader("mutate", str(ROOT / "scripts" / "mutate"))
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
sys.modules["mutate"] = mutate
loader.exec_module(mutate)

# The tests of this tree are programs without a framework, which compile in no time.
CMAKE_LISTS = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES CXX)
list(APPEND CMAKE_MODULE_PATH ${CMAKE_SOURCE_DIR}/cmake)
include(LightPenTargets)
enable_testing()
add_custom_target(tests_device)
foreach(unit OneTest TwoTest)
  add_executable(${unit} src/device/One.cpp tests/device/${unit}.cpp)
  target_link_libraries(${unit} PRIVATE lightpen_options)
  add_dependencies(tests_device ${unit})
  add_test(NAME device/${unit} COMMAND ${unit})
  set_tests_properties(device/${unit} PROPERTIES LABELS device)
endforeach()
"""

ONE = """// 1 + 1 == true
constexpr int kSeven = 7;
static_assert(kSeven == 7);
int least(int a, int b);
int rest(int a);
int least(int a, int b) {
    if (a < b)
        return a;
    return b;
}
int rest(int a) {
    int steps = 0;
    while (a != kSeven) {
        ++a;
        ++steps;
    }
    return steps;
}
"""
MAIN = "int least(int a, int b);\nint rest(int a);\nint main() {{\n    return {} ? 0 : 1;\n}}\n"


def changes(text):
    return [(mutant.line, " ".join(mutant.old.split()), " ".join(mutant.new.split()))
            for mutant in mutate.mutants_of("src/device/A.cpp", text)]


class ChangesTest(unittest.TestCase):
    def test_conditions_are_negated(self):
        self.assertEqual(changes("void f() {\n    if (a())\n        b = c;\n}\n"), [
            (2, "a()", "!(a())"), (3, "b = c;", "{}")])
        # A comparison is exchanged instead, and what declares cannot be negated.
        self.assertEqual(changes("if (a < b) {\nif (const auto c = d()) {\nwhile (true) {\n"), [
            (1, "<", "<="), (3, "true", "false")])
        # With two operators it can be wrong as a whole, and in each.
        self.assertEqual(changes("if (const auto c = d(); c && e || g) {\n"), [
            (1, "c && e || g", "!( c && e || g)"), (1, "&&", "||"), (1, "||", "&&")])

    def test_statements_are_dropped(self):
        text = "void f() {\n    a->b().c(\n        d);\n    ++e;\n    g = [] { h(); };\n    return;\n    int i{j};\n    k();\n}\n"
        self.assertEqual(changes(text), [
            (2, "a->b().c( d);", "{}"), (4, "++e;", "{}"), (6, "return;", "{}"), (8, "k();", "{}")])

    def test_values_are_exchanged(self):
        self.assertEqual(changes("int a = 1'000 + 0x0F;\ndouble b = 0.5 - c[2];\nbool d = false || e >= g;\n"), [
            (1, "1'000", "1001"), (1, "+", "-"), (1, "0x0F", "0x10"), (2, "0.5", "1.5"), (2, "-", "+"), (2, "2", "3"),
            (3, "false", "true"), (3, "||", "&&"), (3, ">=", ">")])

    def test_texts_comments_and_logs_are_left_alone(self):
        self.assertEqual(changes('#include "a/1.h"\n// if (a) b();\nvoid f() {\n    logLine("%d + 1 == 2",\n        a == 1);\n}\n'
                                 "template <class T>\nvoid g(T&& t, std::vector<int> v);\n"), [])


class RunTest(unittest.TestCase):
    def setUp(self):
        self.tree = SmallTree(self)
        self.tree.write("CMakeLists.txt", CMAKE_LISTS)
        self.tree.write("src/device/One.cpp", ONE)
        self.tree.write("tests/device/OneTest.cpp", MAIN.format("least(1, 2) == 1 && least(4, 3) == 3"))
        self.tree.write("tests/device/TwoTest.cpp", MAIN.format("rest(5) == 2"))

    def mutate(self, *arguments):
        return self.tree.run("scripts/mutate", "--tests", "device", *arguments)

    def test_each_change_meets_its_fate(self):
        status, output = self.mutate("src/device/*.cpp")
        self.assertEqual((status, output.splitlines()), (1, [
            "1/6  src/device/One.cpp:2: 7  ->  8: did not compile",
            "2/6  src/device/One.cpp:7: <  ->  <=: survived",
            "3/6  src/device/One.cpp:12: 0  ->  1: killed by device/TwoTest",
            "4/6  src/device/One.cpp:13: !=  ->  ==: killed by device/TwoTest",
            "5/6  src/device/One.cpp:14: ++a;  ->  {}: killed by device/TwoTest",  # it never ends
            "6/6  src/device/One.cpp:15: ++steps;  ->  {}: killed by device/TwoTest",
            "survived: src/device/One.cpp:7: <  ->  <=",
            "4 of 5 changes were noticed (80.0 %); 1 did not compile."]))
        self.assertEqual((self.tree.root / "src/device/One.cpp").read_text(), ONE)
        # The same changes again, from what was written down; the bound decides.
        again = self.mutate("--resume", "--least", "80", "src/device/One.cpp")
        self.assertEqual(again, (0, output))
        # Two of them, evenly spread.
        listed = self.mutate("--list", "--most", "2", "src/device/One.cpp")
        self.assertEqual(listed, (0, "src/device/One.cpp:2: 7  ->  8\nsrc/device/One.cpp:13: !=  ->  ==\n2 changes\n"))

    def test_a_tree_that_fails_as_it_is_proves_nothing(self):
        self.tree.write("tests/device/TwoTest.cpp", MAIN.format("rest(5) == 3"))
        status, output = self.mutate("src/device/One.cpp")
        self.assertEqual((status, output), (1, "device/TwoTest fails without any change.\n"))

    def test_what_names_nothing_is_no_success(self):
        self.assertEqual(self.mutate("src/device/Two*.cpp"), (1, "No file is called src/device/Two*.cpp.\n"))
        self.tree.write("src/device/Two.cpp", "// Nothing here.\n")
        self.assertEqual(self.mutate("src/device/Two.cpp"), (1, "There is nothing to change in these files.\n"))
        self.assertEqual(self.tree.run("scripts/mutate", "--tests", "matching", "src/device/One.cpp")[0], 1)


if __name__ == "__main__":
    unittest.main()
