# SPDX-License-Identifier: MIT
"""scripts/figures.py measures files and functions as a reader would, and fails above its bounds."""
import importlib.util
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "figures.py"
module_spec = importlib.util.spec_from_file_location("figures", SCRIPT)
figures = importlib.util.module_from_spec(module_spec)
module_spec.loader.exec_module(figures)


def functions(text):
    return figures.Scanner(text).functions


def declarations(text):
    return [name for name, _ in figures.Scanner(text).declarations]


class ScannerTest(unittest.TestCase):
    def test_a_function_counts_from_its_head_to_its_brace(self):
        self.assertEqual(functions("\n\nint f(int a,\n      int b) {\n    if (a) {\n    }\n    return b;\n}\n"),
                         [("f", 3, 6)])

    def test_members_constructors_operators_and_templates(self):
        text = """namespace n {
class A : public B {
public:
    explicit A(int a) : a_(a), b_{1} {
    }
    bool operator==(const A& other) const noexcept {
        return true;
    }
private:
    int a_ = 0;
    std::vector<int> b_{1, 2};
};
template <class T>
auto A::g() const -> int {
    return 1;
}
} // namespace n
"""
        self.assertEqual([(name, length) for name, _, length in functions(text)],
                         [("A", 2), ("operator==", 3), ("A::g", 4)])

    def test_a_lambda_belongs_to_its_function(self):
        self.assertEqual(functions("void f() {\n    run([this] {\n        g();\n    });\n}\n"), [("f", 1, 5)])

    def test_braces_in_literals_and_comments_do_not_count(self):
        text = "void f() {\n    g(\"}\", '}', R\"x(})x\"); // }\n    /* } */\n    int n = 1'000;\n}\nvoid h() {}\n"
        self.assertEqual([(name, length) for name, _, length in functions(text)], [("f", 5), ("h", 1)])

    def test_tables_and_enumerations_are_no_functions(self):
        self.assertEqual(functions("constexpr int t[] = {1, f(2), 3};\nenum class E { a, b };\nstruct S { int x = 0; };"),
                         [])

    def test_public_declarations(self):
        text = """#define MACRO(x) x()
class Hidden;
class A {
public:
    virtual ~A() = default;
    int one() const;
    int two(std::function<void()> f) { return 2; }
    int three() override;
    std::function<void()> field;
private:
    int four();
    struct Inner { int five(); };
};
namespace {
int six();
}
int seven();
using Alias = int (*)(int);
"""
        self.assertEqual(declarations(text), ["A", "one", "two", "seven"])


class DocumentedTest(unittest.TestCase):
    lines = ["// What it does.", "int one();", "int two();", "", "int three();", "int four(); // trailing"]

    def test_a_comment_above_or_behind(self):
        self.assertEqual([figures.documented(self.lines, n) for n in (2, 3, 5, 6)], [True, False, False, True])

    def test_a_comment_that_heads_the_group(self):
        self.assertEqual([figures.documented_by_group(self.lines, n) for n in (2, 3, 5)], [True, True, False])


class BoundsTest(unittest.TestCase):
    def check(self, name, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / name
            path.parent.mkdir(parents=True)
            path.write_text(text)
            run = subprocess.run([sys.executable, "-B", SCRIPT, folder], capture_output=True, text=True, check=False)
            return run.returncode, run.stdout

    def test_a_function_of_80_lines_passes_and_one_of_81_fails(self):
        self.assertEqual(self.check("src/device/A.cpp", "void f() {\n" + "g();\n" * 78 + "}\n")[0], 0)
        status, output = self.check("src/device/A.cpp", "void f() {\n" + "g();\n" * 79 + "}\n")
        self.assertEqual(status, 1)
        self.assertIn("src/device/A.cpp:1: f has 81 lines, more than 80", output)

    def test_a_file_of_500_lines_passes_and_one_of_501_fails(self):
        self.assertEqual(self.check("tests/device/ATest.cpp", "// line\n" * 500)[0], 0)
        status, output = self.check("tests/device/ATest.cpp", "// line\n" * 501)
        self.assertEqual(status, 1)
        self.assertIn("tests/device/ATest.cpp: 501 lines, more than 500", output)

    def test_an_empty_tree_is_no_success(self):
        self.assertEqual(self.check("docs/a.md", "text")[0], 1)


if __name__ == "__main__":
    unittest.main()
