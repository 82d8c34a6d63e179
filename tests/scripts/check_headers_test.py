# SPDX-License-Identifier: MIT
"""scripts/check-headers finds headers that need another, that lack their guard, or that no target names."""
import unittest

from small_tree import SmallTree

GOOD = "#pragma once\n#include <string>\nstruct Good { std::string name; };\n"


class CheckHeadersTest(unittest.TestCase):
    def setUp(self):
        self.tree = SmallTree(self)
        self.tree.write("src/device/Good.h", GOOD)
        self.tree.write("src/device/Good.cpp", '#include "device/Good.h"\n')

    def test_headers_that_stand_alone(self):
        status, output = self.tree.run("scripts/check-headers")
        self.assertEqual(status, 0, output)
        self.assertIn("Headers: 1 compile alone, 0 of them in units of their own.", output)

    def test_headers_that_no_source_proves_have_units_of_their_own(self):
        self.tree.write("src/device/Bare.h", GOOD.replace("Good", "Bare"))
        self.tree.write("src/device/Second.h", GOOD.replace("Good", "Second"))
        self.tree.write("src/device/Second.cpp", '#include <string>\n#include "device/Second.h"\n')
        status, output = self.tree.run("scripts/check-headers")
        self.assertEqual(status, 0, output)
        self.assertIn("Headers: 3 compile alone, 2 of them in units of their own.", output)

    def test_a_header_that_only_its_own_source_can_show_to_need_another(self):
        self.tree.write("src/device/Bad.h", "#pragma once\nstruct Bad { std::string name; };\n")
        self.tree.write("src/device/Bad.cpp", '#include "device/Bad.h"\n#include <string>\n')
        status, output = self.tree.run("scripts/check-headers")
        self.assertNotEqual(status, 0)
        self.assertIn("device/Bad.h:2", output)

    def test_a_source_that_hides_what_its_header_lacks_proves_nothing(self):
        self.tree.write("src/device/Bad.h", "#pragma once\nstruct Bad { std::string name; };\n")
        self.tree.write("src/device/Bad.cpp", '#include <string>\n#include "device/Bad.h"\n')
        status, output = self.tree.run("scripts/check-headers")
        self.assertNotEqual(status, 0)
        self.assertIn("device/Bad.h:2", output)

    def test_a_source_that_is_not_built_proves_nothing(self):
        self.tree.write("tests/kit/Lost.h", GOOD)
        self.tree.write("tests/kit/Lost.cpp", '#include "kit/Lost.h"\n')
        status, output = self.tree.run("scripts/check-headers")
        self.assertEqual(status, 1)
        self.assertIn("No target names these headers with lightpen_headers: kit/Lost.h", output)

    def test_a_header_that_needs_another(self):
        self.tree.write("src/device/Bad.h", "#pragma once\nstruct Bad { std::string name; };\n")
        status, output = self.tree.run("scripts/check-headers")
        self.assertNotEqual(status, 0)
        self.assertIn("device/Bad.h:2", output)

    def test_a_header_without_its_guard(self):
        self.tree.write("src/device/Open.h", "struct Open {};\n")
        status, output = self.tree.run("scripts/check-headers")
        self.assertEqual((status, output), (1, "Without #pragma once: src/device/Open.h\n"))

    def test_a_header_that_no_target_names(self):
        self.tree.write("tests/kit/Lost.h", GOOD)
        status, output = self.tree.run("scripts/check-headers")
        self.assertEqual(status, 1)
        self.assertIn("No target names these headers with lightpen_headers: kit/Lost.h", output)

    def test_a_tree_without_headers_is_no_success(self):
        (self.tree.root / "src/device/Good.h").unlink()
        self.assertNotEqual(self.tree.run("scripts/check-headers")[0], 0)


if __name__ == "__main__":
    unittest.main()
