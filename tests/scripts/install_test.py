# SPDX-License-Identifier: MIT
"""What is installed: the application's folder, and what the rest of the system finds. The first argument is the
build's folder."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv.pop(1))


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.prefix = pathlib.Path(cls.directory.name) / "prefix"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", cls.prefix], check=True, capture_output=True)
        cls.program = (cls.prefix / "bin" / "LightPenNX7").resolve()

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def test_the_program_stands_in_its_folder(self):
        self.assertTrue(os.access(self.program, os.X_OK))
        self.assertEqual(self.program.parent.name, "LightPenNX7")
        self.assertEqual(self.program.relative_to(self.prefix.resolve()).parts[0], "lib")

    def test_the_folder_is_the_one_of_the_build(self):
        built = BUILD / "src" / "app" / "LightPenNX7"
        here = {path.relative_to(self.program.parent) for path in self.program.parent.rglob("*")}
        self.assertIn(pathlib.Path("Info.plist"), here)
        self.assertIn(pathlib.Path("resources/en.lproj/Localizable.strings"), here)
        for path in here:
            if (built / path).is_file() and path.name != "LightPenNX7":
                self.assertEqual((self.program.parent / path).read_bytes(), (built / path).read_bytes(), path)
        there = {path.relative_to(built) for path in built.rglob("*")}
        stale = {path for path in there if path.parts[0] == "resources" and not (ROOT / path).exists()}
        self.assertEqual(here, there - stale)

    def test_the_link_survives_a_move_of_the_whole(self):
        link = self.prefix / "bin" / "LightPenNX7"
        self.assertTrue(link.is_symlink())
        self.assertFalse(os.path.isabs(os.readlink(link)))

    def test_the_desktop_finds_the_program_and_its_icon(self):
        entry = self.prefix / "share" / "applications" / "org.lightpen.LightPenNX7.desktop"
        check = subprocess.run(["desktop-file-validate", entry], capture_output=True, text=True, check=False)
        self.assertEqual((check.returncode, check.stdout), (0, ""))
        keys = dict(line.split("=", 1) for line in entry.read_text(encoding="utf-8").splitlines() if "=" in line)
        self.assertTrue((self.prefix / "bin" / keys["Exec"]).exists())
        icons = self.prefix / "share" / "icons" / "hicolor" / "scalable" / "apps"
        self.assertTrue((icons / (keys["Icon"] + ".svg")).is_file())

    def test_the_system_finds_its_rule_and_the_signals(self):
        for name in ("70-lightpen-nx7.rules", "70-lightpen-nx7-uinput.rules"):
            self.assertTrue((self.prefix / "lib" / "udev" / "rules.d" / name).is_file(), name)
        self.assertTrue((self.prefix / "share" / "dbus-1" / "interfaces" / "org.lightpen.NX7.xml").is_file())


if __name__ == "__main__":
    unittest.main()
