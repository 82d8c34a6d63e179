# SPDX-License-Identifier: MIT
"""What is installed: the application's folder, and what the rest of the system finds. The first argument is the
build's folder."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv.pop(1))
# The languages of the menu, as the desktop calls them; English is said without one.
LANGUAGES = {"de", "es", "fr", "it", "ja", "ko", "nl", "pl", "pt", "ru", "sv", "th", "uk", "zh_CN", "zh_TW"}


def install(prefix, *options):
    subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix, *options], check=True, capture_output=True)


def files_below(folder):
    return {path.relative_to(folder) for path in folder.rglob("*")}


def check(*command):
    """The status of a desktop's checker, and all that it says."""
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return run.returncode, run.stdout


def keys_of(entry, group="Desktop Entry"):
    lines = entry.read_text(encoding="utf-8").split(f"[{group}]\n")[1].split("\n[")[0].splitlines()
    return dict(line.split("=", 1) for line in lines if "=" in line)


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.prefix = pathlib.Path(cls.directory.name) / "prefix"
        install(cls.prefix)
        cls.program = (cls.prefix / "bin" / "LightPenNX7").resolve()
        cls.share = cls.prefix / "share"

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def test_the_program_stands_in_its_folder(self):
        self.assertTrue(os.access(self.program, os.X_OK))
        self.assertEqual(self.program.parent.name, "LightPenNX7")
        self.assertEqual(self.program.relative_to(self.prefix.resolve()).parts[0], "lib")

    def test_the_folder_is_the_one_of_the_build(self):
        built = BUILD / "src" / "app" / "LightPenNX7"
        self.assertEqual({path.name for path in self.program.parent.iterdir()}, {"LightPenNX7", "Info.plist", "resources"})
        self.assertEqual((self.program.parent / "Info.plist").read_bytes(), (built / "Info.plist").read_bytes())
        resources = self.program.parent / "resources"
        self.assertEqual(resources.resolve(), (self.share / "LightPenNX7" / "resources").resolve())
        here, there = files_below(resources.resolve()), files_below(built / "resources")
        self.assertIn(pathlib.Path("en.lproj/Localizable.strings"), here)
        self.assertEqual(here, {path for path in there if (ROOT / "resources" / path).exists()})
        for path in here:
            if (resources / path).is_file():
                self.assertEqual((resources / path).read_bytes(), (built / "resources" / path).read_bytes(), path)

    def test_the_links_survive_a_move_of_the_whole(self):
        for link in (self.prefix / "bin" / "LightPenNX7", self.program.parent / "resources"):
            self.assertTrue(link.is_symlink())
            self.assertFalse(os.path.isabs(os.readlink(link)))

    def test_the_desktop_finds_the_program_and_its_icon(self):
        entry = self.share / "applications" / "org.lightpen.LightPenNX7.desktop"
        self.assertEqual(check("desktop-file-validate", entry), (0, ""))
        keys = keys_of(entry)
        self.assertTrue((self.prefix / "bin" / keys["Exec"]).exists())
        self.assertEqual(keys["TryExec"], keys["Exec"])
        self.assertEqual(keys["Actions"], "calibrate;help;")
        for action in ("calibrate", "help"):
            keys = keys_of(entry, f"Desktop Action {action}")
            self.assertEqual(keys["Exec"], f"LightPenNX7 --action {action}")
            self.assertEqual(set(keys) - {"Exec", "Name"}, {f"Name[{language}]" for language in LANGUAGES})
        keys = keys_of(entry)
        icons = self.share / "icons" / "hicolor" / "scalable" / "apps"
        self.assertTrue((icons / (keys["Icon"] + ".svg")).is_file())

    def test_the_menu_entries_are_there_in_every_language(self):
        for name, translated in (("org.lightpen.LightPenNX7", ("GenericName", "Comment", "Keywords")),
                                 ("org.lightpen.LightPenNX7-webcam", ("Name", "Comment", "Keywords")),
                                 ("org.lightpen.LightPenNX7-emulated", ("Name", "Comment", "Keywords"))):
            keys = keys_of(ROOT / "packaging" / (name + ".desktop"))
            for key in translated:
                texts = {language: keys.get(f"{key}[{language}]") for language in LANGUAGES}
                self.assertNotIn(None, texts.values(), (name, key, texts))
                self.assertEqual({found for found in keys if found.startswith(key + "[")},
                                 {f"{key}[{language}]" for language in LANGUAGES})
                self.assertNotIn(keys[key], texts.values())

    def test_the_metainfo_says_what_the_menu_says(self):
        path = self.share / "metainfo" / "org.lightpen.LightPenNX7.metainfo.xml"
        text = path.read_text(encoding="utf-8")
        keys = keys_of(self.share / "applications" / "org.lightpen.LightPenNX7.desktop")
        self.assertIn(f"<summary>{keys['Comment']}</summary>", text)
        for language in LANGUAGES:
            self.assertIn(f'<summary xml:lang="{language.replace("_", "-")}">{keys[f"Comment[{language}]"]}</summary>', text)
        self.assertIn(f'<release version="{version()}"', text)
        self.assertNotIn("@", text)

    def test_the_system_finds_its_rules_and_the_signals(self):
        for name in ("70-lightpen-nx7.rules", "70-lightpen-nx7-uinput.rules"):
            self.assertTrue((self.prefix / "lib" / "udev" / "rules.d" / name).is_file(), name)
        modules = (self.prefix / "lib" / "modules-load.d" / "lightpen-nx7.conf").read_text(encoding="utf-8")
        self.assertEqual([line for line in modules.splitlines() if not line.startswith("#")], ["uinput"])
        self.assertTrue((self.share / "dbus-1" / "interfaces" / "org.lightpen.NX7.xml").is_file())

    def test_no_other_component_comes_along(self):
        others = ("emulated", "webcam", "autostart")
        self.assertEqual([path for path in self.prefix.rglob("*") if any(name in path.name for name in others)], [])

    def test_the_others_share_the_folder_and_the_resources(self):
        for name in ("emulated", "webcam"):
            with tempfile.TemporaryDirectory() as folder:
                prefix = pathlib.Path(folder)
                install(prefix, "--component", name)
                program = (prefix / "bin" / f"LightPenNX7-{name}").resolve()
                self.assertTrue(os.access(program, os.X_OK))
                self.assertEqual(program.parent.relative_to(prefix.resolve()),
                                 self.program.parent.relative_to(self.prefix.resolve()))
                entry = prefix / "share" / "applications" / f"org.lightpen.LightPenNX7-{name}.desktop"
                self.assertEqual(check("desktop-file-validate", entry), (0, ""))
                self.assertEqual(keys_of(entry)["Exec"].split()[0], program.name)
                self.assertTrue((prefix / "share" / "man" / "man1" / f"LightPenNX7-{name}.1").is_file())

    def test_the_systems_entry_for_the_login_looks_whether_there_is_a_program(self):
        with tempfile.TemporaryDirectory() as folder:
            prefix = pathlib.Path(folder)
            install(prefix, "--component", "login")
            entry = prefix / "etc" / "xdg" / "autostart" / "org.lightpen.LightPenNX7.desktop"
            self.assertEqual(check("desktop-file-validate", "--no-hints", entry), (0, ""))
            keys = keys_of(entry)
            self.assertTrue(keys["Exec"].endswith("/LightPenNX7/LightPenNX7"))
            self.assertEqual({keys["TryExec"], keys["X-LightPenNX7-Path"]}, {keys["Exec"]})


def version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"^project\(\w+ VERSION ([\d.]+)", text, re.MULTILINE)[1]


class OptionsTest(unittest.TestCase):
    """The manual and the completion have the options that the program's own help names."""

    PROGRAMS = {"LightPenNX7": BUILD / "src/app/LightPenNX7/LightPenNX7",
                "LightPenNX7-webcam": BUILD / "src/webcam/LightPenNX7-webcam/LightPenNX7-webcam",
                "LightPenNX7-emulated": BUILD / "tools/emulated/LightPenNX7-emulated/LightPenNX7-emulated"}

    def options_of(self, program):
        text = subprocess.run([program, "--help"], capture_output=True, text=True, check=True).stdout
        return set(re.findall(r"^ +(--[a-z-]+)", text, re.MULTILINE))

    def complete(self, program, *words):
        """What the completion offers for the last of these words."""
        script = f"""source {ROOT}/packaging/completion.bash
            COMP_WORDS=({program} "${{@}}") COMP_CWORD=$#
            _lightpen_nx7 {program} && printf '%s\\n' "${{COMPREPLY[@]}}" """
        run = subprocess.run(["bash", "-c", script, "bash", *words], capture_output=True, text=True, check=True)
        self.assertEqual(run.stderr, "")
        return set(run.stdout.split())

    def test_the_manual_explains_each_option_and_no_other(self):
        for name, program in self.PROGRAMS.items():
            text = (ROOT / "packaging" / f"{name}.1.in").read_text(encoding="utf-8").replace("\\-", "-")
            explained = set(re.findall(r"^\.TP\n\.BI? (--[a-z-]+)", text, re.MULTILINE))
            self.assertGreater(len(explained), 2)
            self.assertEqual(explained, self.options_of(program), name)

    def test_the_completion_offers_them(self):
        for program in self.PROGRAMS.values():
            self.assertEqual(self.complete(program, "--"), self.options_of(program))
        program = self.PROGRAMS["LightPenNX7-emulated"]
        self.assertEqual(self.complete(program, "--pl"), {"--plugged"})
        self.assertEqual(self.complete(program, "--log", ""), {"stderr", "file", "none"})
        self.assertEqual(self.complete(program, "--pose", "r"), {"rotated"})
        self.assertEqual(self.complete(program, "--screen", ""), set())
        self.assertEqual(self.complete(self.PROGRAMS["LightPenNX7"], "--action", "s"), {"show", "settings"})


if __name__ == "__main__":
    unittest.main()
