# SPDX-License-Identifier: MIT
"""What ./package and scripts/fresh-root are told and begin with; that they work is seen by scripts/try-package."""
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    return done.returncode, done.stdout, done.stderr


class FreshRootTest(unittest.TestCase):
    def run_script(self, *arguments, user=0):
        """The script as this user, where nothing may be installed."""
        return run("bash", "-c", f"""id() {{ echo {user}; }}; apt-get() {{ exit 9; }}; export -f id apt-get
            exec {ROOT}/scripts/fresh-root "$@" """, "bash", *arguments)

    def test_help_says_how_it_is_used(self):
        status, said, _ = self.run_script("--help")
        self.assertEqual((status, said.splitlines()[0]), (0, "usage: scripts/fresh-root [--bring FOLDER] RELEASE COMMAND..."))

    def test_it_needs_a_release_a_command_and_known_options(self):
        for arguments, problem in (((), "A release and a command belong here."), (("13",), "A release and a command belong here."),
                                   (("../13", "true"), "A release and a command belong here."),
                                   (("--take", "13", "true"), "Unknown option: --take"),
                                   (("--bring", "/nowhere", "13", "true"), "--bring needs a folder.")):
            status, said, errors = self.run_script(*arguments)
            self.assertEqual((status, said, errors.splitlines()[-1]), (1, "", problem), arguments)

    def test_it_needs_root(self):
        self.assertEqual(self.run_script("13", "true", user=1000),
                         (1, "", "A root file system of its own needs root: start this with sudo.\n"))

    def test_so_do_those_that_stand_on_it(self):
        for script in ("try-package", "try-arm64"):
            status = run("bash", "-c", f"id() {{ echo 1000; }}; export -f id; exec {ROOT}/scripts/{script}")
            self.assertEqual(status, (1, "", "This needs root: start it with sudo.\n"), script)


class TreeTest(unittest.TestCase):
    """The functions that the scripts share, in a tree of their own."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name) / "tree"
        for name, text in (("CMakeLists.txt", "# project(VERSION)\nproject(Pen VERSION 3.14.1 LANGUAGES CXX\n        X)\n"),
                           ("resources/Picture 1.svg", "<svg/>"), ("build/large", "built"), (".gitignore", "/build/\n"),
                           ("gone", "")):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text(text)
        (self.root / "scripts").mkdir()
        shutil.copy(ROOT / "scripts" / "lib.sh", self.root / "scripts")
        (self.root / "demo").symlink_to("scripts/lib.sh")

    def shell(self, script):
        status, said, errors = run("bash", "-c", f"source {self.root}/scripts/lib.sh\n{script}")
        self.assertEqual((status, errors), (0, ""))
        return said.strip()

    def copied(self):
        copy = self.root.parent / "copy"
        shutil.rmtree(copy, ignore_errors=True)
        self.shell(f"copy_tree {copy}")
        self.assertTrue((copy / "demo").is_symlink())
        return {path.relative_to(copy).as_posix() for path in copy.rglob("*") if not path.is_dir()}

    def test_the_version_is_that_of_the_project(self):
        self.assertEqual(self.shell("project_version"), "3.14.1")
        text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
        self.assertEqual(run("bash", "-c", f"source {ROOT}/scripts/lib.sh; project_version")[1].strip(),
                         re.search(r"^project\(\w+ VERSION (\S+)", text, re.MULTILINE)[1])

    def test_a_release_has_a_name(self):
        self.assertEqual(self.shell("suite_of 12; suite_of 13; suite_of sid").split(), ["bookworm", "trixie", "sid"])

    def test_a_copy_has_the_tree_and_nothing_that_is_built(self):
        expected = {"CMakeLists.txt", "resources/Picture 1.svg", ".gitignore", "scripts/lib.sh", "demo"}
        self.assertEqual(self.copied(), expected | {"gone"})
        git = ["git", "-C", self.root, "-c", "user.name=pen", "-c", "user.email=pen@example.org"]
        for command in (["init", "-q"], ["add", "--all"], ["commit", "-q", "-m", "All"]):
            self.assertEqual(run(*git, *command)[0], 0)
        # As it stands: with what is new and without what is gone.
        (self.root / "gone").unlink()
        (self.root / "new").write_text("")
        self.assertEqual(self.copied(), expected | {"new"})


if __name__ == "__main__":
    unittest.main()
