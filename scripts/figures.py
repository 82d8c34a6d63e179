#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The sizes of files and functions, documented declarations, and tests beside sources; fails above the bounds.

usage: scripts/figures.py [--list] [ROOT]

What is installed (src), the tools and the tests are counted apart. --list names what has no comment or no test.
"""
import pathlib
import re
import statistics
import sys

FILE_BOUND = 500
FUNCTION_BOUND = 80
# Of the project's own, included in one file. Tools and tests put all parts together.
HEADERS_BOUNDS = {"src": 12, "tools": 15, "tests": 15, "bench": 15}
# How often tests and benchmarks may name what is private to the driver: its fields, and the state that its threads share.
PRIVATE_BOUND = 0

OWN_INCLUDE = re.compile(r'^\s*#\s*include\s*"', re.MULTILINE)
# Fields carry their underscore in front, as no other name of the project does but for one operation.
FIELD = re.compile(r"(?:->|\.)\s*(_[A-Za-z]\w*)\b(?!\s*\()")
SHARED_STATE = re.compile(r"\b(sharedState)\b")

COMMENT_OR_LITERAL = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<tag>[^(\s]*)\(.*?\)(?P=tag)"|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'',
    re.DOTALL)
CONTROL = re.compile(r"(^|[^\w])(if|for|while|switch|catch|do|else|try|return)\b")
TYPE = re.compile(r"\b(class|struct|union|enum)\b[^()=]*$")
SCOPE = re.compile(r'\b(namespace\b[^()=]*|extern\s*)$')


def blank(text):
    """The text without comments, literals and preprocessor lines; line breaks stay where they are."""
    def keep_breaks(match):
        return " " + "\n" * match.group().count("\n")
    text = COMMENT_OR_LITERAL.sub(keep_breaks, text)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", keep_breaks, text, flags=re.MULTILINE)


class Scanner:
    """Walks the braces of one file: the functions with their lengths, and the declarations that others can use."""

    def __init__(self, text):
        self.text = blank(text)
        self.functions = []     # (name, first line, lines)
        self.declarations = []  # (name, first line) of public functions and types
        self.stack = []         # (kind of the brace, public?)
        self.start = 0          # where the current declaration begins
        self.opened = None      # (depth, position) of the function that is being walked through
        for match in re.finditer(r"[{};]|\b(public|protected|private)\s*:(?!:)", self.text):
            self.take(match)

    def head(self, position):
        return self.text[self.start:position]

    def line(self, position):
        return self.text.count("\n", 0, position) + 1

    def first(self):
        """Where the current declaration's first character stands."""
        rest = self.text[self.start:]
        return self.start + len(rest) - len(rest.lstrip())

    def take(self, match):
        token, position = match.group(), match.start()
        if token == "{":
            self.open(position)
        elif token == "}":
            self.close(position)
        elif self.opened:
            return
        elif token == ";":
            self.declare(self.head(position))
            self.start = match.end()
        else:
            self.stack[-1] = (self.stack[-1][0], match.group(1) == "public")
            self.start = match.end()

    def open(self, position):
        head = " ".join(self.head(position).split())
        if self.opened:
            self.stack.append(("block", False))
            return
        visible = all(public for _, public in self.stack)
        if SCOPE.search(head):
            hidden = re.search(r"namespace$", head)
            self.stack.append(("scope", not hidden))
        elif TYPE.search(head) and not head.endswith(")"):
            self.declare(self.head(position))
            self.stack.append(("type", visible and not re.search(r"\bclass\b", head)))
        elif re.search(r"\)[^()=]*$|\)\s*(const|noexcept)*\s*(->|:).*$", head) and not head.endswith("="):
            if head.endswith(("{", ",")) or re.search(r":\s*[\w<>]+$|,\s*\w+$", head.split(")")[-1]):
                self.stack.append(("initialiser", False))  # a braced member initialiser
                return
            self.declare(self.head(position))
            self.opened = (len(self.stack), self.first(), name_of(head))
            self.stack.append(("function", False))
            return
        else:
            self.stack.append(("initialiser", False))
            return
        self.start = position + 1

    def close(self, position):
        if not self.stack:
            return
        kind, _ = self.stack.pop()
        if self.opened and self.opened[0] == len(self.stack):
            _, begin, name = self.opened
            self.functions.append((name, self.line(begin), self.line(position) - self.line(begin) + 1))
            self.opened = None
            self.start = position + 1
        elif not self.opened and kind != "initialiser":
            self.start = position + 1

    def declare(self, head):
        """Notes a public function or type; not what has no contract of its own (overrides, defaults, friends)."""
        flat = without_arguments_of_templates(" ".join(head.split()))
        if not all(public for _, public in self.stack) or not flat:
            return
        if re.search(r"\boverride\b|= ?(default|delete)$|^friend\b|^using\b|^typedef\b|~\w+\(|^static_assert", flat):
            return
        is_type = TYPE.search(flat) and "(" not in flat and flat.split()[-1] not in ("class", "struct")
        forward = is_type and self.text[self.start + len(head):self.start + len(head) + 1] == ";"
        is_function = "(" in flat and not re.search(r"^[^(]*=", flat)
        if (is_type and not forward) or is_function:
            self.declarations.append((name_of(flat), self.line(self.first())))


def without_arguments_of_templates(text):
    previous = None
    while previous != text:
        previous, text = text, re.sub(r"(?<=[\w])\s*<[^<>;{}]*>", "", text)
    return text


def name_of(head):
    head = re.sub(r"^(template\s*<.*?>\s*)+", "", head)
    match = re.search(r"([\w:~]+|operator\W+)\s*\(", head) or re.search(r"(\w+)\s*(final)?\s*(:[^:].*)?$", head)
    return match.group(1) if match else head[:40]


def documented(lines, number):
    """Whether a comment stands above the declaration of this line, or behind it."""
    above = lines[number - 2].strip() if number >= 2 else ""
    return above.startswith("//") or above.endswith("*/") or "//" in lines[number - 1]


def documented_by_group(lines, number):
    """Whether the lines up to the nearest blank line or brace above begin with a comment."""
    while number >= 1 and lines[number - 1].strip() and not lines[number - 1].rstrip().endswith(("{", "}", "public:")):
        if lines[number - 1].strip().startswith("//"):
            return True
        number -= 1
    return False


def private_names(name, text):
    """The matches of what this file must not name: outside the driver its state, and in tests any field too."""
    found = [] if name.startswith("src/device/") else list(SHARED_STATE.finditer(text))
    if name.startswith(("tests/", "bench/")):
        found += FIELD.finditer(text)
    return sorted(found, key=lambda match: match.start())


class Figures:
    def __init__(self, root):
        self.root = root
        self.lengths = {}       # file: lines
        self.functions = []     # (lines, name, file, first line)
        self.includes = {}      # file: own headers
        self.private = []       # where a name that is private to the driver is used outside it
        self.undocumented = []
        self.public = 0         # declarations; those of grouped have at least a comment that heads their group
        self.grouped = 0
        for top in ("src", "tools", "tests", "bench"):
            for path in sorted((root / top).rglob("*")):
                if path.suffix in (".h", ".cpp"):
                    self.read(path)

    def read(self, path):
        name = path.relative_to(self.root).as_posix()
        text = path.read_text(encoding="utf-8")
        lines = text.splitlines()
        self.lengths[name] = len(lines)
        self.includes[name] = len(OWN_INCLUDE.findall(text))
        scanner = Scanner(text)
        self.private += [f"{name}:{scanner.line(match.start(1))}: {match[1]} is private to src/device"
                         for match in private_names(name, scanner.text)]
        self.functions += [(length, function, name, first) for function, first, length in scanner.functions]
        if name.startswith(("src/", "tools/")) and path.suffix == ".h":
            self.public += len(scanner.declarations)
            self.grouped += sum(documented(lines, number) or documented_by_group(lines, number)
                                for _, number in scanner.declarations)
            self.undocumented += [f"{name}:{number} {declared}" for declared, number in scanner.declarations
                                  if not documented(lines, number)]

    def below(self, top):
        return {name: length for name, length in self.lengths.items() if name.startswith(top + "/")}

    def units(self):
        """Source units of the floors, each with whether a test of its name exists."""
        tests = {path.stem for path in map(pathlib.PurePosixPath, self.below("tests"))}
        for name in self.below("src"):
            path = pathlib.PurePosixPath(name)
            if path.suffix == ".cpp" and not path.stem.startswith("main"):
                yield name, path.stem + "Test" in tests

    def problems(self):
        for name, length in self.lengths.items():
            if length > FILE_BOUND:
                yield f"{name}: {length} lines, more than {FILE_BOUND}"
        for length, function, name, first in self.functions:
            if length > FUNCTION_BOUND:
                yield f"{name}:{first}: {function} has {length} lines, more than {FUNCTION_BOUND}"
        for name, headers in self.includes.items():
            bound = HEADERS_BOUNDS[name.split("/")[0]]
            if headers > bound:
                yield f"{name}: includes {headers} headers of the project's own, more than {bound}"
        if len(self.private) > PRIVATE_BOUND:
            yield from self.private
            yield f"Private names of the driver are used {len(self.private)} times, more than {PRIVATE_BOUND}."


def share(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "-"


def table(figures):
    for top in ("src", "tools", "tests"):
        files = figures.below(top)
        functions = sorted(row for row in figures.functions if row[2] in files)
        if not files:
            continue
        longest_file = max(files, key=files.get)
        yield f"{top}: files", f"{len(files)} ({sum(files.values())} lines)"
        yield f"{top}: lines a file, median", f"{statistics.median(files.values()):.0f}"
        yield f"{top}: lines a file, most", f"{files[longest_file]} ({longest_file})"
        most_headers = max(files, key=figures.includes.get)
        yield f"{top}: own headers a file, most", f"{figures.includes[most_headers]} ({most_headers})"
        yield f"{top}: files below 300 lines", share(sum(n < 300 for n in files.values()), len(files))
        if functions:
            short = sum(row[0] <= 40 for row in functions)
            yield f"{top}: functions of at most 40 lines", f"{share(short, len(functions))} of {len(functions)}"
            yield f"{top}: longest function", f"{functions[-1][0]} ({functions[-1][1]}, {functions[-1][2]})"
    known = figures.public - len(figures.undocumented)
    yield "declarations with their own comment", f"{share(known, figures.public)} of {figures.public}"
    yield "  or one that heads their group", share(figures.grouped, figures.public)
    tests, sources = sum(figures.below("tests").values()), sum(figures.below("src").values())
    if sources:
        yield "test lines to source lines", f"{tests / sources:.2f}"
    yield "private names of the driver elsewhere", str(len(figures.private))
    units = [tested for _, tested in figures.units()]
    yield "units with a test of their name", f"{share(sum(units), len(units))} of {len(units)}"


def main(arguments):
    verbose = "--list" in arguments
    roots = [argument for argument in arguments if not argument.startswith("--")]
    figures = Figures(pathlib.Path(roots[0]) if roots else pathlib.Path(__file__).resolve().parents[1])
    if not figures.lengths:
        print("There are no sources.")
        return 1
    for label, value in table(figures):
        print(f"{label:38} {value}")
    if verbose:
        print("\nWithout a comment:", *figures.undocumented, sep="\n  ")
        print("\nWithout a test of their name:", *(name for name, tested in figures.units() if not tested), sep="\n  ")
    problems = list(figures.problems())
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
