# SPDX-License-Identifier: MIT
"""scripts/set-units.py: the units' identifiers are in one file, and all others say the same."""
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DATA = "packaging/units.conf"
HEADER = "src/platform/UnitIdentifiers.h"
RULE = "packaging/70-lightpen-nx7.rules"
METAINFO = "packaging/org.lightpen.LightPenNX7.metainfo.xml.in"
DOCUMENT = "docs/unit-protocol.md"


class SetUnitsTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        for name in (DATA, HEADER, RULE, METAINFO, DOCUMENT):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)

    def run_script(self, *arguments):
        run = subprocess.run([sys.executable, "-B", ROOT / "scripts/set-units.py", *arguments],
                             capture_output=True, text=True, check=False)
        return run.returncode, run.stdout + run.stderr

    def text(self, name):
        return (self.root / name).read_text(encoding="utf-8")

    def replace(self, name, old, new):
        self.assertIn(old, self.text(name))
        (self.root / name).write_text(self.text(name).replace(old, new), encoding="utf-8")

    def test_this_tree_says_the_same_everywhere(self):
        self.assertEqual(self.run_script("--check"), (0, ""))

    def test_a_makers_identifiers_reach_every_file(self):
        for old, new in (("vendor 1209", "vendor 0A5f"), ("0001", "beef"), ("0002", "12C4"), ("interface 03", "interface 0a")):
            self.replace(DATA, old, new)
        status, said = self.run_script("--check", self.root)
        self.assertEqual((status, said.count("not as in")), (1, 4))
        self.assertIn("0x1209", self.text(HEADER))
        self.assertEqual(self.run_script(self.root)[0], 0)
        for line in ("kUnitVendorID = 0x0a5f;", "kUnitFirstProductID = 0xbeef;", "kUnitSecondProductID = 0x12c4;",
                     "kUnitPenInterfaceNumber = 10;"):
            self.assertIn(line, self.text(HEADER))
        self.assertIn('ATTRS{idVendor}=="0a5f", ATTRS{idProduct}=="beef|12c4"', self.text(RULE))
        self.assertEqual(self.text(RULE).count('ATTRS{bInterfaceNumber}=="0a"'), 2)
        self.assertIn("<modalias>usb:v0A5FpBEEFd*</modalias>", self.text(METAINFO))
        self.assertIn("<modalias>usb:v0A5Fp12C4d*</modalias>", self.text(METAINFO))
        self.assertIn("| vendor | 0x0a5f |", self.text(DOCUMENT))
        self.assertIn("| second product | 0x12c4 |", self.text(DOCUMENT))
        self.assertEqual(self.run_script("--check", self.root), (0, ""))

    def test_another_option_is_refused(self):
        for arguments in (["--help"], [self.root, self.root]):
            status, said = self.run_script(*arguments)
            self.assertEqual(status, 1)
            self.assertIn("usage:", said)

    def test_data_that_is_none_is_refused(self):
        for new in ("vendor 12", "vendor 0x1209", "vendor 1209g"):
            shutil.copy(ROOT / DATA, self.root / DATA)
            self.replace(DATA, "vendor 1209", new)
            self.assertEqual(self.run_script(self.root), (1, f"{DATA}: vendor needs 4 hexadecimal digits.\n"))

    def test_a_file_that_has_no_such_place_is_refused(self):
        self.replace(RULE, "ATTRS{idVendor}", "ATTRS{vendor}")
        status, said = self.run_script(self.root)
        self.assertEqual(status, 1)
        self.assertIn(f"{RULE}: 0 places", said)


if __name__ == "__main__":
    unittest.main()
