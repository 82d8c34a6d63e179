# SPDX-License-Identifier: MIT
"""The package list and the shell functions that read it."""
import pathlib
import re
import subprocess
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def shell(script):
    """Runs a script that has the project's shell functions."""
    return subprocess.run(["bash", "-c", f"source {ROOT}/scripts/lib.sh\n{script}"],
                          capture_output=True, text=True, check=False)


class PackagesTest(unittest.TestCase):
    def test_a_section_is_a_sorted_list_of_names(self):
        packages = shell("packages_of build").stdout.split()
        self.assertIn("qt6-base-dev", packages)
        self.assertNotIn("xvfb", packages)
        self.assertEqual(packages, sorted(set(packages)))

    def test_a_package_of_two_sections_comes_once(self):
        packages = shell("packages_of test demo").stdout.split()
        self.assertEqual(packages.count("xvfb"), 1)

    def test_a_package_is_not_asked_for_where_it_is_a_part_of_another(self):
        for release, there in ((12, False), (13, True), (99, True)):
            packages = shell(f"this_release() {{ echo {release}; }}\npackages_of build").stdout.split()
            self.assertEqual("qt6-svg-plugins" in packages, there, release)
        self.assertRegex(shell("this_release").stdout, r"^\d+$")

    def test_an_unknown_section_is_empty(self):
        self.assertEqual(shell("packages_of nonsense").stdout, "")

    def test_what_dpkg_does_not_have_is_missing(self):
        run = shell("dpkg-query() { printf 'installed xvfb\\nconfig-files dbus\\n'; }\nmissing_packages demo")
        self.assertEqual(run.stdout.split(), ["dbus", "fonts-dejavu-core", "fonts-tlwg-garuda-ttf", "fonts-wqy-microhei",
                                              "libxcb-damage0-dev", "libxcb-shm0-dev"])

    def test_each_package_is_explained_and_no_other(self):
        listed = set(shell("this_release() { echo 99; }\n"
                           "packages_of build test kernel wayland package root arm64 demo checks bench").stdout.split())
        text = (ROOT / "docs" / "dependencies.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| ([a-z0-9][^|]*) \|", text, re.MULTILINE)
        explained = {name for row in rows if row != "package" for name in row.split(", ")}
        self.assertEqual(explained, listed)

    def test_the_package_is_built_from_what_is_listed(self):
        listed = set(shell("packages_of build package").stdout.split())
        control = (ROOT / "packaging" / "debian" / "control").read_text(encoding="utf-8")
        field = re.search(r"^Build-Depends: (.*(?:\n .*)*)", control, re.MULTILINE)[1]
        named = {re.sub(r"-compat \(.*", "", name.strip()) for name in field.split(",")}
        # What this leaves is the compiler, the checkers, and what only a running program loads.
        self.assertEqual(named - listed, set())
        self.assertEqual({name for name in listed if name.endswith("-dev")} - named, set())

    def test_a_tag_is_the_version(self):
        version = shell("project_version").stdout.strip()
        for git, status in (("return 128", 0), (f"echo v{version}", 0), (f"echo v{version}1", 1)):
            run = shell(f"git() {{ {git}; }}\ncheck_tag")
            self.assertEqual(run.returncode, status, git)
            self.assertEqual(version in run.stderr, status != 0, run.stderr)

    def test_nothing_missing_asks_nobody(self):
        run = shell("missing_packages() { :; }\nsudo() { echo called; }\n"
                    "apt-get() { echo called; }\ninstall_packages build")
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))

    def test_the_lists_are_refreshed_once_and_nothing_else_is_installed(self):
        run = shell("missing_packages() { printf 'one\\ntwo\\n'; }\nid() { echo 0; }\n"
                    "run_quietly() { echo \"$@\"; }\ninstall_packages build")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(run.stdout.count("apt-get -q update"), 1)
        self.assertIn("Installing 2 packages", run.stdout)
        self.assertTrue(run.stdout.endswith("--no-install-recommends one two\n"), run.stdout)

    def test_without_rights_one_sentence_names_the_packages(self):
        run = shell("missing_packages() { printf 'one\\ntwo\\n'; }\nid() { echo 1000; }\n"
                    "command() { [ $2 != sudo ]; }\ninstall_packages build")
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        self.assertEqual(run.stderr, "Please install these packages as root, then run this again: one two\n")

    def test_the_output_of_a_failure_is_shown_in_full(self):
        run = shell("run_quietly Working bash -c 'echo first; echo second >&2; exit 7'")
        self.assertEqual(run.returncode, 7)
        self.assertEqual(run.stdout, "Working...\nfirst\nsecond\n")

    def test_the_output_of_a_success_is_not_shown(self):
        self.assertEqual(shell("run_quietly Working echo much").stdout, "Working...\n")

    def test_nothing_is_left_behind(self):
        run = shell("touch $work_directory/file; echo $work_directory")
        self.assertFalse(pathlib.Path(run.stdout.strip()).exists())


if __name__ == "__main__":
    unittest.main()
