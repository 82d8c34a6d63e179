# SPDX-License-Identifier: MIT
"""A tree of a few files with the project's own build rules and scripts, for tests of what compiles."""
import pathlib
import shutil
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]

CMAKE_LISTS = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES CXX)
list(APPEND CMAKE_MODULE_PATH ${CMAKE_SOURCE_DIR}/cmake)
include(LightPenTargets)
find_package(Threads REQUIRED)
add_subdirectory(src/device)
"""


class SmallTree:
    """Lives until the test case ends. Files are given by their path."""

    def __init__(self, case):
        folder = tempfile.TemporaryDirectory()
        case.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve() / "tree"
        for name in ("scripts", "cmake", "packaging"):
            shutil.copytree(ROOT / name, self.root / name, ignore=shutil.ignore_patterns("__pycache__"))
        for name in ("CMakePresets.json", ".clang-tidy"):
            shutil.copy(ROOT / name, self.root)
        for name in ("tests", "tools"):
            (self.root / name).mkdir()
        self.write("CMakeLists.txt", CMAKE_LISTS)
        self.write("src/device/CMakeLists.txt", "lightpen_library(device)\n")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def run(self, *command):
        """The status and everything that the command, a path below the tree, wrote."""
        run = subprocess.run([self.root / command[0], *command[1:]], cwd=self.root, text=True, check=False,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return run.returncode, run.stdout

    def build(self):
        for command in (["cmake", "--preset", "dev"], ["ninja", "-C", "build/dev"]):
            subprocess.run(command, cwd=self.root, check=True, capture_output=True)
