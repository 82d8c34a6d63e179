# SPDX-License-Identifier: MIT
"""Without its tools and tests the driver asks for its own libraries and for no others."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
from xml.etree import ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
# The C libraries that the driver links, as pkg-config names them; Qt is found in another way.
MODULES = ["libudev", "libevdev", "xcb", "xcb-xtest", "xcb-xfixes", "xcb-screensaver", "xcb-randr", "wayland-client", "libplist-2.0", "libcanberra"]
LIBRARIES = {"udev", "evdev", "xcb", "xcb-xtest", "xcb-xfixes", "xcb-screensaver", "xcb-randr", "xcb-render", "xcb-shape", "wayland-client", "plist-2.0", "canberra"}
# The last two are what Qt's own windows bring.
QT = {"Qt6Core", "Qt6Gui", "Qt6Widgets", "Qt6DBus", "Qt6Svg", "GLX", "OpenGL"}
# What only the tools, the tests and the benchmarks find.
OTHERS = ["GTest", "benchmark", "Python3"]


def pkg_config(*arguments):
    return subprocess.run(["pkg-config", *arguments], capture_output=True, text=True, check=True).stdout


def with_what_they_require(modules):
    """The modules and all those that their files name."""
    known, due = set(), list(modules)
    while due:
        module = due.pop()
        if module not in known:
            known.add(module)
            required = pkg_config("--print-requires", "--print-requires-private", module)
            due += [line.split()[0] for line in required.splitlines()]
    return known


class DriverAloneTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        root = pathlib.Path(cls.directory.name)
        cls.build, cls.modules = root / "build", root / "modules"
        cls.modules.mkdir()
        for module in with_what_they_require(MODULES):
            name = f"{module}.pc"
            (cls.modules / name).symlink_to(pathlib.Path(pkg_config("--variable=pcfiledir", module).strip()) / name)
        cls.first = cls.configure()

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    @classmethod
    def configure(cls, *options):
        """The status and the messages of a configuration on a machine that has the driver's libraries alone."""
        run = subprocess.run(["cmake", "-S", ROOT, "-B", cls.build, "-G", "Ninja", *options,
                              *(f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in OTHERS)],
                             env={**os.environ, "PKG_CONFIG_LIBDIR": str(cls.modules), "PKG_CONFIG_PATH": ""},
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        return run.returncode, run.stdout

    def test_a_plain_configuration_is_content(self):
        self.assertEqual(self.first[0], 0, self.first[1])

    def test_the_program_links_its_own_libraries(self):
        rules = (self.build / "build.ninja").read_text(encoding="utf-8")
        block = re.search(r"^build src/app/LightPenNX7/LightPenNX7:.*?\n\n", rules, re.MULTILINE | re.DOTALL)[0]
        line = re.search(r"^  LINK_LIBRARIES = (.*)$", block, re.MULTILINE)[1]
        linked = {re.sub(r"^-l|^.*/lib|\.(so|a)[.\d]*$", "", word) for word in line.split() if not word.startswith("-Wl")}
        floors = {name for name in linked if name.startswith("lightpen_")}
        self.assertIn("lightpen_app", floors)
        self.assertEqual(linked - floors - QT - LIBRARIES, set())
        self.assertLessEqual({"Qt6Widgets", "Qt6DBus", "udev", "evdev", "xcb-xtest", "plist-2.0", "canberra"}, linked)

    def test_nothing_else_is_built(self):
        folders = {path.name for path in self.build.iterdir() if path.is_dir()}
        self.assertEqual(folders & {"tools", "tests", "bench"}, set())
        self.assertEqual({path.name for path in (self.build / "src").iterdir()} & {"unit", "webcam"}, set())

    def test_an_optimised_build_is_hardened(self):
        self.configure("-DCMAKE_BUILD_TYPE=Release")
        rules = (self.build / "build.ninja").read_text(encoding="utf-8")
        self.configure("-DCMAKE_BUILD_TYPE=")
        compiled = [block for block in re.split(r"\n\n", rules) if re.search(r"^build src/\S*\.cpp\.o:", block, re.MULTILINE)]
        self.assertGreater(len(compiled), 80)
        for block in compiled:
            self.assertIn("-fstack-protector-strong", block)
            self.assertIn("-D_FORTIFY_SOURCE=2", block)
        program = re.search(r"^build src/app/LightPenNX7/LightPenNX7:.*?\n\n", rules, re.MULTILINE | re.DOTALL)[0]
        self.assertIn("-Wl,-z,relro,-z,now", program)

    def test_the_metainfo_names_pictures_where_the_pages_are_published(self):
        metainfo = self.build / "packaging" / "org.lightpen.LightPenNX7.metainfo.xml"
        self.assertNotIn("<screenshot", metainfo.read_text(encoding="utf-8"))
        self.configure("-DLIGHTPEN_HOMEPAGE=https://example.org/pen")
        component = ElementTree.parse(metainfo).getroot()
        self.configure("-DLIGHTPEN_HOMEPAGE=")
        pictures = [image.text.removeprefix("https://example.org/pen/") for image in component.iter("image")]
        self.assertGreater(len(pictures), 1)
        for picture in pictures:
            self.assertTrue((ROOT / picture).is_file(), picture)

    def test_tools_and_tests_would_ask_for_more(self):
        for option, wanted in (("LIGHTPEN_WEBCAM", "libjpeg"), ("LIGHTPEN_TOOLS", "xcb-shm"), ("LIGHTPEN_TESTS", "libjpeg"),
                               ("LIGHTPEN_BENCH", "libjpeg")):
            status, output = self.configure(f"-D{option}=ON")
            self.assertNotEqual(status, 0, option)
            self.assertIn(wanted, output)
            self.configure(f"-D{option}=OFF")


if __name__ == "__main__":
    unittest.main()
