#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Who may include whom: no cycle of files, only the folder arrows below, and each system header where it belongs. And
which kind of lock is used.

usage: scripts/check-includes.py [ROOT]
"""
import pathlib
import re
import sys

# The folders whose files are included by their path below them; the project's own headers are found in no other way.
TOPS = ("src", "tools", "tests")
# Each folder of src/ and tools/, and those that it may include.
SYSTEM = {"platform", "matching", "device", "calibration", "app", "linux_desktop"}
ALLOWED = {
    "platform": set(),
    "matching": {"platform"},
    "device": {"matching", "platform"},
    "calibration": {"device", "matching", "platform"},
    "app": {"calibration", "device", "matching", "platform"},
    "linux_desktop": {"platform"},
    "unit": {"platform"},
    "webcam": SYSTEM - {"linux_desktop"} | {"unit"},
    "emulated": SYSTEM | {"unit"},
    "measure": SYSTEM | {"unit", "emulated"},
}
# Folders whose parts know less of each other, and of the rest, than what stands beside the parts. The wire side of the unit
# in software, which is installed, knows nothing of what tools put before its eye and on its wire; sight and capture of a
# webcam know nothing of the unit and the application.
PARTS = {"unit": {"wire": set(), "bus": {"wire"}, "room": {"wire"}, "faults": {"wire"}},
         "webcam": {"sight": set(), "camera": {"sight"}}}
PARTS_REST = {"platform"}
# The inside of a folder: only its own files include it.
INSIDE = {"src/device/SharedState.h"}
# A user's desktop as other processes are; it knows nothing of the application.
DESKTOP = "tools/measure/desktop/"
# The process entry puts the Linux side under the system; nothing else of the application may know it.
PROCESS_ENTRY = re.compile(r"app/(main\w*|\w*Platform\w*)\.(cpp|h)|webcam/main\w*\.cpp")

# The folders that speak to Linux, X11 and Qt as they need to, and the units elsewhere that derive from Qt's classes.
SYSTEM_FOLDERS = {"linux_desktop", "emulated", "measure"}
QT_UNITS = re.compile(r"app/.*|device/(ChTwoPoint|FloatPanel|PanelView|VirtualKeyCodes)\w*\.(cpp|h)|"
                      r"calibration/(CancelPlace|SessionLabel|TouchHint|KVRCalibrationWindow|KVRCalibrationTarget)\w*"
                      r"\.(cpp|h)|webcam/(main|CalibrationScreen)\w*\.(cpp|h)")
QT_HEADER = re.compile(r"(Qt\w+/)?Q[A-Z]\w*|Qt")
# Whole Qt modules cost seconds in each unit.
QT_MODULE = re.compile(r"Qt[A-Z]\w*")
# The capture of the other eye: V4L2, what is around its descriptors, and the decoder of its pictures.
CAPTURE_UNITS = re.compile(r"webcam/camera/.*\.cpp")
# What the C++ library does not have and every folder may use: the "C" numeric locale for a thread.
POSIX_HEADERS = {"locale.h"}
# For the owner of a descriptor.
FILE_HEADERS = {"unistd.h"}
FILE_UNITS = re.compile(r"platform/FileDescriptor\.h")

# The mutex that lends its holder the priority of whoever waits is the one for src/, but for those that no thread in a
# hurry has to do with: the driver's making, which lasts, and the turns of sounds, which wait for a server.
LOCK_HEADERS = {"pthread.h"}
LOCK_UNIT = "src/platform/PriorityInheritance.h"
PATIENT_LOCKS = {"src/device/Connection.cpp", "src/linux_desktop/process/LinuxSounds.cpp"}
LOCK = re.compile(r"\bstd::((\w+_)?mutex\s+\w+|condition_variable_any\b)")

STANDARD_HEADERS = set("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream
functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore
set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view strstream
syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
variant vector version
""".split())

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>|(\S.*))')


def includes_of(path):
    """(line number, quoted name or None, bracketed name or None, anything else) of each include."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield (number, *match.groups())


def source_files(root):
    return sorted(path for top in (*TOPS, "bench") for path in (root / top).rglob("*")
                  if path.suffix in (".h", ".cpp"))


class Tree:
    """The project's files and what they include."""

    def __init__(self, root):
        self.root = root
        self.problems = []
        self.graph = {}
        for path in source_files(root):
            self.read(path)

    def read(self, path):
        name = path.relative_to(self.root).as_posix()
        self.graph[name] = []
        self.check_locks(path, name)
        for number, quoted, bracketed, other in includes_of(path):
            where = f"{name}:{number}"
            if other:
                self.problems.append(f"{where}: an include that is no plain file name: {other}")
            elif quoted:
                self.check_quoted(where, name, quoted)
            else:
                self.check_bracketed(where, name, bracketed)

    def check_locks(self, path, name):
        if not name.startswith("src/") or name in PATIENT_LOCKS:
            return
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if LOCK.search(line):
                self.problems.append(f"{name}:{number}: a lock that lends no priority; {LOCK_UNIT} has one")

    def check_quoted(self, where, name, quoted):
        if quoted.endswith(".moc") or self.is_made_from_interface_file(name, quoted):
            return
        candidates = [f"{top}/{quoted}" for top in TOPS] + ([quoted] if name.startswith("bench/") else [])
        target = next((path for path in candidates if (self.root / path).is_file()), None)
        if target is None or ".." in quoted.split("/"):
            self.problems.append(f'{where}: "{quoted}" is no file below src/, tools/ or tests/')
            return
        self.graph[name].append(target)
        if target in INSIDE and pathlib.PurePath(name).parent != pathlib.PurePath(target).parent:
            self.problems.append(f"{where}: {target} is the inside of its folder")
        self.check_arrow(where, name, target)

    def is_made_from_interface_file(self, name, quoted):
        """Whether the build makes this header from an interface file beside the source that includes it."""
        made = re.fullmatch(r"ui_(\w+)\.h", quoted)
        return bool(made) and name.endswith(".cpp") and (self.root / name).with_name(made[1] + ".ui").is_file()

    def check_arrow(self, where, name, target):
        top, folder, _ = (target + "/").split("/", 2)
        own_top, own, _ = (name + "/").split("/", 2)
        if own_top not in ("src", "tools"):
            return
        if top == "tests":
            self.problems.append(f"{where}: a source includes the test file {target}")
        elif own_top == "src" and top == "tools":
            self.problems.append(f"{where}: what is installed includes the tool {target}")
        elif name.startswith(DESKTOP) and not target.startswith(DESKTOP):
            self.problems.append(f"{where}: the desktop around the application knows nothing of the system")
        elif own not in ALLOWED:
            self.problems.append(f"{where}: the folder {own} has no place among the others")
        elif folder != own and folder not in ALLOWED[own]:
            if folder == "linux_desktop" and PROCESS_ENTRY.fullmatch(name[len("src/"):]):
                return
            self.problems.append(f"{where}: {own} must not include {folder}")
        elif own in PARTS:
            self.check_part(where, name, target)

    def check_part(self, where, name, target):
        """A file beside the parts joins them, so each of them may not include it."""
        folder, own = name.split("/")[1:3]
        parts = PARTS[folder]
        if own not in parts:
            return
        other, part = target.split("/")[1:3]
        allowed = part == own or part in parts[own] if other == folder else other in PARTS_REST
        if not allowed:
            self.problems.append(f"{where}: {folder}/{own} must not include {target}")

    def check_bracketed(self, where, name, header):
        top, folder, *_ = name.split("/")
        if QT_MODULE.fullmatch(header):
            self.problems.append(f"{where}: <{header}> is a whole module; name the class's header")
            return
        if top not in ("src", "tools") or folder in SYSTEM_FOLDERS or header in STANDARD_HEADERS or header in POSIX_HEADERS:
            return
        if QT_HEADER.fullmatch(header) and QT_UNITS.fullmatch(name[len("src/"):]):
            return
        if header in FILE_HEADERS and FILE_UNITS.fullmatch(name[len("src/"):]):
            return
        if CAPTURE_UNITS.fullmatch(name[len("src/"):]) and not QT_HEADER.fullmatch(header):
            return
        if header in LOCK_HEADERS and name == LOCK_UNIT:
            return
        self.problems.append(f"{where}: <{header}> does not belong in {folder}")

    def find_cycles(self):
        """One problem for each include that leads back to a file on the way to it."""
        done, way = set(), []

        def visit(name):
            if name in way:
                self.problems.append("a cycle: " + " -> ".join(way[way.index(name):] + [name]))
            elif name not in done:
                way.append(name)
                for target in self.graph.get(name, []):
                    visit(target)
                way.pop()
                done.add(name)

        for name in self.graph:
            visit(name)


def main(arguments):
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parents[1]
    tree = Tree(root)
    if not tree.graph:
        print(f"There are no sources below {root}.")
        return 1
    tree.find_cycles()
    for problem in tree.problems:
        print(problem)
    if tree.problems:
        return 1
    print(f"Includes: {len(tree.graph)} files, {sum(map(len, tree.graph.values()))} arrows, no cycle, none forbidden.")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
