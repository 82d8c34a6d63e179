#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""clang-tidy over the sources; a unit that was fine is looked at again only when something that it reads has changed.

usage: scripts/tidy.py [--build FOLDER] [--source FOLDER] [--jobs N] [--since COMMIT] [NAME...]

It looks at the product and the tools, and at the tests and benchmarks that differ from those of COMMIT.
The build folder must hold a finished build: its record of what each object was made from is the key of the cache.
A NAME limits the check to units whose path contains it.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
TOOL = "clang-tidy-14"


def arguments_of(command_line):
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "dev")
    parser.add_argument("--source", type=pathlib.Path, default=ROOT)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--since", metavar="COMMIT")
    parser.add_argument("names", nargs="*")
    return parser.parse_args(command_line)


def dependencies_of(build):
    """Each object's files, as ninja recorded them."""
    text = subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True, check=True).stdout
    dependencies, current = {}, None
    for line in text.splitlines():
        if not line.strip():
            current = None
        elif current is None:
            current = dependencies.setdefault(line.split(":")[0], [])
        else:
            current.append(line.strip())
    return dependencies


class Fingerprints:
    """What stands for a file's content: its bytes for the project's own, its date and size for the system's."""

    def __init__(self, source, build):
        self.source = source
        self.build = build
        self.known = {}

    def of(self, name):
        if name not in self.known:
            path = self.build / name
            if path.is_relative_to(self.source):
                self.known[name] = hashlib.sha256(path.read_bytes()).hexdigest()
            else:
                status = path.stat()
                self.known[name] = f"{status.st_mtime_ns} {status.st_size}"
        return self.known[name]


def changed_tests(arguments):
    """The tests and benchmarks that are not as they were in the commit; none when no commit is named."""
    if not arguments.since:
        return set()
    run = subprocess.run(["git", "diff", "--name-only", "-z", "--diff-filter=d", arguments.since, "--", "tests", "bench"],
                         cwd=arguments.source, capture_output=True, text=True, check=False)
    if run.returncode != 0:
        sys.exit(run.stderr)
    return {arguments.source / name for name in run.stdout.split("\0") if name}


def units_of(arguments):
    """(path, key) of each unit below src/ and tools/, and of the tests that have changed."""
    changed = changed_tests(arguments)
    version = subprocess.run([TOOL, "--version"], capture_output=True, text=True, check=True).stdout
    rules = (arguments.source / ".clang-tidy").read_text(encoding="utf-8")
    dependencies = dependencies_of(arguments.build)
    fingerprints = Fingerprints(arguments.source, arguments.build)
    commands = json.loads((arguments.build / "compile_commands.json").read_text(encoding="utf-8"))
    for command in sorted(commands, key=lambda entry: entry["file"]):
        path = pathlib.Path(command["file"])
        if path not in changed and not any(path.is_relative_to(arguments.source / top) for top in ("src", "tools")):
            continue
        words = shlex.split(command["command"])
        files = dependencies.get(words[words.index("-o") + 1])
        if files is None:
            sys.exit(f"{path} has not been built in {arguments.build}.")
        parts = [version, rules, command["command"], *(f"{name} {fingerprints.of(name)}" for name in files)]
        yield path, hashlib.sha256("\n".join(parts).encode()).hexdigest()


def check(unit, build):
    """What clang-tidy has to say about the unit; nothing when it is fine."""
    # The commands are g++'s: clang need not know each of its warnings.
    run = subprocess.run([TOOL, "-p", build, "--quiet", "--extra-arg=-Wno-unknown-warning-option", unit], capture_output=True, text=True, check=False)
    if run.returncode == 0 and not run.stdout.strip():
        return ""
    return run.stdout + (run.stderr if run.returncode != 0 else "")


def main(command_line):
    arguments = arguments_of(command_line)
    arguments.build, arguments.source = arguments.build.resolve(), arguments.source.resolve()
    if not shutil.which(TOOL):
        sys.exit(f"{TOOL} is not installed.")
    units = [(path, key) for path, key in units_of(arguments)
             if not arguments.names or any(name in str(path) for name in arguments.names)]
    if not units:
        sys.exit("There is nothing for clang-tidy to look at.")
    cache = arguments.build.parent / "tidy"
    cache.mkdir(exist_ok=True)
    due = [(path, key) for path, key in units if not (cache / key).exists()]
    if len(due) > 20:
        print(f"clang-tidy: {len(due)} of {len(units)} units to look at...", flush=True)
    failed = set()
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        outputs = pool.map(lambda unit: check(unit[0], arguments.build), due)
        for done, ((path, key), output) in enumerate(zip(due, outputs), 1):
            if output:
                failed.add(path)
                print(output, flush=True)
            else:
                (cache / key).touch()
            if done % 25 == 0:
                print(f"    {done} of {len(due)}", flush=True)
    if failed:
        print("clang-tidy objects to:", *sorted(map(str, failed)))
        return 1
    print(f"clang-tidy: {len(units)} units are fine ({len(due)} looked at).")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
