# SPDX-License-Identifier: MIT
"""scripts/figures.py measures files and functions as a reader would, and fails above its bounds."""
import contextlib
import importlib.util
import io
import pathlib
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

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

    def test_own_headers_up_to_the_bound_pass_and_one_more_fails(self):
        for top, bound in figures.HEADERS_BOUNDS.items():
            own = [f'#include "device/H{i}.h"\n' for i in range(bound + 1)]
            self.assertEqual(self.check(f"{top}/unit/A.cpp", "#include <string>\n" + "".join(own[1:]))[0], 0)
            status, output = self.check(f"{top}/unit/A.cpp", "".join(own))
            self.assertEqual(status, 1)
            self.assertIn(f"{top}/unit/A.cpp: includes {bound + 1} headers of the project's own, more than {bound}", output)

    def check_private(self, name, text):
        """As check, but no private name may be used, whatever the project has left."""
        with tempfile.TemporaryDirectory() as folder, mock.patch.object(figures, "PRIVATE_BOUND", 0):
            path = pathlib.Path(folder) / name
            path.parent.mkdir(parents=True)
            path.write_text(text)
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                return figures.main([folder]), output.getvalue()

    def test_a_test_names_no_field(self):
        for use in ("driver->_queue", "driver()._queue", "driver->\n    _queue"):
            for name in ("tests/device/ATest.cpp", "tests/kit/device/A.h", "bench/A.cpp"):
                status, output = self.check_private(name, f"int a = {use};\n")
                self.assertEqual(status, 1, use)
                self.assertIn(f"{name}:{1 + use.count(chr(10))}: _queue is private to src/device", output)
                self.assertIn("used 1 times, more than 0", output)
        own = '_queue = 1; // driver->_queue\ng("driver->_queue", own_, a.queue_);\n'
        self.assertEqual(self.check_private("tests/device/ATest.cpp", own)[0], 0)
        self.assertEqual(self.check_private("src/device/A.cpp", "int a = driver->_queue;\n")[0], 0)

    def test_the_shared_state_is_the_drivers_own(self):
        text = "int a = sharedState().mode;\n"
        self.assertEqual(self.check_private("src/device/A.cpp", text)[0], 0)
        for name in ("src/app/A.cpp", "src/calibration/A.h", "tools/unit/A.cpp", "tests/device/ATest.cpp"):
            status, output = self.check_private(name, text)
            self.assertEqual(status, 1)
            self.assertIn(f"{name}:1: sharedState is private to src/device", output)
        self.assertEqual(self.check_private("src/app/A.cpp", "int a = sharedStateOfMine();\n")[0], 0)

    def test_product_tools_and_tests_are_counted_apart(self):
        output = self.check("tools/unit/A.cpp", "// line\n" * 3)[1]
        self.assertIn("tools: files", output)
        self.assertIn("1 (3 lines)", output)
        self.assertNotIn("src: files", output)

    def test_an_empty_tree_is_no_success(self):
        self.assertEqual(self.check("docs/a.md", "text")[0], 1)


if __name__ == "__main__":
    unittest.main()
