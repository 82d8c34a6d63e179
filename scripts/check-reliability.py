#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Sees that docs/reliability.md is true: each hazard has a file that handles it and a test, and all of them exist.

usage: scripts/check-reliability.py [ROOT]

A file is named by its path, a test as FOLDER/Suite.Name, the folder being the one below tests/. Both stand in back
quotes. A row without either, an empty cell, a file or a test that is not there: each is named, and the check fails.
"""
import pathlib
import re
import sys

TABLE = "docs/reliability.md"
TEST = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")
SCRIPT_TEST = re.compile(r"^class (\w+)\(|^    def (test_\w+)\(", re.MULTILINE)


def tests_below(root):
    """Every test as FOLDER/Suite.Name; the folder is the first one below tests/."""
    found = set()
    for path in (root / "tests").rglob("*_test.py"):
        suite = None
        for match in SCRIPT_TEST.finditer(path.read_text()):
            suite = match[1] or suite
            found.add(f"{path.relative_to(root / 'tests').parts[0]}/{suite}.{match[2]}")
    for path in (root / "tests").rglob("*.cpp"):
        folder = path.relative_to(root / "tests").parts[0]
        found.update(f"{folder}/{suite}.{name}" for suite, name in TEST.findall(path.read_text()))
    return found


def problems_of(cells, root, tests):
    """What is wrong with one row."""
    if len(cells) != 3 or not all(cells):
        yield "needs three cells that are not empty"
        return
    hazard, handled, tested = cells
    named = re.findall(r"`([^`]+)`", tested)
    yield from (f"there is no test {name}" for name in named if name not in tests)
    files = re.findall(r"`([^`]+)`", handled)
    yield from (f"there is no file {name}" for name in files if not (root / name).is_file())
    if not files or not named:
        yield f"\"{hazard}\" needs a file and a test"


def main(root):
    table = root / TABLE
    lines = table.read_text().splitlines() if table.is_file() else []
    tests = tests_below(root)
    rows = problems = 0
    for number, line in enumerate(lines, 1):
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if not line.startswith("|") or cells[0] == "hazard" or set(line) <= set("|- "):
            continue
        rows += 1
        for problem in problems_of(cells, root, tests):
            problems += 1
            print(f"{TABLE}:{number}: {problem}")
    if rows == 0:
        print(f"{TABLE}: there are no rows")
    if problems or rows == 0:
        return 1
    print(f"Reliability: {rows} hazards, each with a file and a test that are there.")
    return 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[1])))
