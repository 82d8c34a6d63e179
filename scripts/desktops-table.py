#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Puts what ./test --wayland has measured into the table of docs/desktops.md.

usage: scripts/desktops-table.py [LOG [DOCUMENT]]

The log is ctest's of the last run, unless another is named. Rows of desktops that the log does not have stay as they are.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
VERSION = re.compile(r"^desktop (\w+): (?:\w+ )+?([\d.]+)$", re.MULTILINE)
FIGURES = re.compile(r"^desktop (\w+), layout (.+): median ([\d.]+) worst ([\d.]+) missed (\d+) elsewhere (\d+)$", re.MULTILINE)
NOT_OFFERED = re.compile(r"^desktop (\w+), layout (.+): not offered$", re.MULTILINE)
HEAD = "| desktop | layout | median | worst | missed | on another output |\n|---|---|---|---|---|---|\n"


def measured(log):
    """The rows of each desktop that the log has, in the order of the log."""
    versions = dict(VERSION.findall(log))
    rows = {}
    for name, layout in dict.fromkeys(NOT_OFFERED.findall(log)):
        rows.setdefault(name, {})[layout] = ["not offered", "", "", ""]
    for name, layout, *figures in FIGURES.findall(log):
        rows.setdefault(name, {})[layout] = figures
    return {name: [[f"{name} {versions[name]}", layout, *figures] for layout, figures in layouts.items()]
            for name, layouts in rows.items()}


def table_of(lines, new):
    """The table's lines: those there are, with the rows of each new desktop in the place of its old ones."""
    by_desktop = {}
    for line in lines:
        cells = [cell.strip() for cell in line.strip("|\n").split("|")]
        by_desktop.setdefault(cells[0].split(" ")[0], []).append(cells)
    by_desktop.update(new)
    return "".join("| " + " | ".join(cells) + " |\n" for name in sorted(by_desktop) for cells in by_desktop[name])


def updated(document, log):
    """The document with the log's figures in its table; none when one of the two has none."""
    new = measured(log)
    begin = document.find(HEAD)
    if not new or begin < 0:
        return None
    begin += len(HEAD)
    rows = re.match(r"(?:\|.*\n)*", document[begin:]).group()
    return document[:begin] + table_of(rows.splitlines(), new) + document[begin + len(rows):]


def main(arguments):
    if len(arguments) > 2 or any(argument.startswith("-") for argument in arguments):
        sys.exit(__doc__)
    log = pathlib.Path(arguments[0]) if arguments else ROOT / "build/dev/Testing/Temporary/LastTest.log"
    document = pathlib.Path(arguments[1]) if len(arguments) > 1 else ROOT / "docs/desktops.md"
    text = updated(document.read_text(encoding="utf-8"), log.read_text(encoding="utf-8", errors="replace"))
    if text is None:
        sys.exit(f"{log} has no figures of a desktop, or {document} no table for them.")
    document.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
