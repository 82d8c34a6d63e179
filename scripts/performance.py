#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What scripts/measure measures from outside, and the tables, the document and the picture that come of it.

usage: scripts/performance.py idle FOLDER PROGRAMS SECONDS LESSONS   looks at programs that have nothing to do
       scripts/performance.py table FILE                             shows what was measured
       scripts/performance.py document FOLDER COMMAND                writes docs/performance.md and its picture
"""
import contextlib
import math
import os
import pathlib
import platform
import subprocess
import sys
import time
from dataclasses import dataclass, field

ROOT = pathlib.Path(__file__).resolve().parents[1]
POLLS = 1 / 0.0168  # of the point thread, a second
POINT_THREAD, EMULATED_UNIT = "pen", "emulated unit"

# The file of each part, its heading, and how it came about.
PARTS = (
    ("pass", "From a report to its event", "The driver's whole way of a report, but for the wait for the next poll, and the least "
     "that any program could do for it (two numbers, one write). With the log discarded neither has a second thread in its process, "
     "which would make the write dearer for both. `bench/PassBench.cpp`"),
    ("map", "The mapping", "One thread, points of a keystone; the camera's points of a whole screen come out where OpenCV's double "
     "precision puts them. `bench/MappingBench.cpp`"),
    ("growth", "Growth", "What one operation costs when there is more of everything, and what the first row of its kind costs. "
     "`bench/GrowthBench.cpp`"),
    ("camera", "Pictures of a webcam", "What the webcam program makes of one picture. The shares of a core are the processor's time "
     "for a picture, from its JPEG to what the unit sees, taken 60 times; what the kernel and the camera's driver need for it is in "
     "none of them. `bench/CameraBench.cpp`, `bench/FinderBench.cpp`"),
    ("load", "Under load", "For each processor two programs that compute and one that writes to the disk. A pass is due each "
     "16.8 ms; the strokes are the demo's. The X server and the window have no priority, and are late themselves. "
     "`bench/PassPeriodBench.cpp`, `tools/measure/mainDemo.cpp`"),
    ("idle", "While no pen touches", "On a desktop of their own; a program that wakes is one that switches. The least program has an "
     "icon in the panel, a menu and nothing else; a lesson is a calibration by hand, writing, a tap, a long press and a replug. A "
     "window with words in it brings the fonts, and what the emulated unit and its hand need is counted too. "
     "`tools/measure/mainIdle.cpp`"),
    ("accuracy", "After a calibration", "From the hand to the pointer, in points of a screen of 1920 x 1080; the camera's whole "
     "numbers allow no better than the other column. `tools/measure/mainCalibration.cpp`"),
    ("kernel", "From the unit to a window", "On Debian's kernel in an emulated machine, whose times are good for comparing only: a "
     "report is written to the USB device, and a window gets its event from Xorg. All programs in turns; what the driver's poll "
     "waits by design is taken off. `bench/kernel/ReportToPointer.cpp`"),
)


@dataclass
class Figures:
    """What one part has measured."""
    rows: list = field(default_factory=list)
    remarks: list = field(default_factory=list)
    delays: dict = field(default_factory=dict)  # by row, then "quiet" or "load"


def read(path):
    """The figures that a file holds."""
    figures = Figures()
    for line in path.read_text(encoding="utf-8").splitlines():
        kind, *words = line.split("\t")
        if kind == "figure":
            what, unit, ours, against, theirs, goal, limit = words
            figures.rows.append((what, unit, float(ours), against, float(theirs), goal, float(limit)))
        elif kind == "remark":
            figures.remarks.append(words[0])
        else:
            figures.delays.setdefault(words[0], {})[words[1]] = [float(word) for word in words[2:]]
    return figures


# The programs that have nothing to do

def threads(process):
    """How often each thread has switched, its name and its time on a processor in seconds, by its number."""
    found = {}
    for folder in pathlib.Path(f"/proc/{process}/task").iterdir():
        status = dict(line.split(":\t", 1) for line in (folder / "status").read_text().splitlines() if ":\t" in line)
        switches = int(status["voluntary_ctxt_switches"]) + int(status["nonvoluntary_ctxt_switches"])
        found[folder.name] = (switches, status["Name"], int((folder / "schedstat").read_text().split()[0]) / 1e9)
    return found


def memory(process):
    """In megabytes: what it has written, which nobody shares, and what is in memory for it."""
    sizes = {}
    for line in pathlib.Path(f"/proc/{process}/smaps_rollup").read_text().splitlines()[1:]:
        name, value = line.split(":")
        sizes[name] = int(value.split()[0]) * 1024 / 1e6
    return sizes["Private_Dirty"], sizes["Rss"]


def start(name, command, folder, ends):
    """A program with a home of its own, until the stack of what is to be ended ends it; its window has been seen before."""
    home = folder / "homes" / name
    settings = home / "config" / "LightPenNX7" / "settings.ini"
    settings.parent.mkdir(parents=True)
    settings.write_text("[General]\nWindow%20Shown=true\n", encoding="utf-8")
    environment = {**os.environ, "HOME": str(home), "XDG_CONFIG_HOME": str(home / "config"),
                   "XDG_DATA_HOME": str(home / "data"), "XDG_STATE_HOME": str(home / "state")}
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment, text=True)
    ends.callback(process.wait)
    ends.callback(process.kill)
    return process


def await_ready(process):
    """Reads what the program says until it has come to rest."""
    for line in process.stdout:
        if line == "ready\n":
            return
    raise SystemExit(f"{' '.join(map(str, process.args))} does not come to rest.")


def wakes(before, after, of=lambda name: True):
    """How often threads of these names have switched, those that came meanwhile too."""
    return sum(switches - before.get(number, (0,))[0] for number, (switches, name, _) in after.items() if of(name))


def processor_time(before, after):
    """Of all threads but the emulated unit's, in seconds."""
    return sum(spent - before.get(number, (0, "", 0))[2] for number, (_, name, spent) in after.items()
               if name != EMULATED_UNIT)


def remark_on(what, before, after, seconds):
    """Which threads have switched."""
    awake = [f"{name} {(switches - before.get(number, (0,))[0]) * 60 / seconds:.0f}" for number, (switches, name, _)
             in sorted(after.items()) if switches > before.get(number, (0,))[0] and name != EMULATED_UNIT]
    return f"remark\t{what}, switches a minute: {', '.join(awake) or 'none'}."


def line(what, unit, ours, against="", theirs=0.0, goal="none", limit=0.0):
    """A figure as the benchmarks write it."""
    return f"figure\t{what}\t{unit}\t{ours:.6f}\t{against}\t{theirs:.6f}\t{goal}\t{limit:.6f}"


def idle(folder, programs, seconds, lessons):
    """Starts the programs on the display and the bus of the environment, and writes what they cost."""
    measured = programs / "tools/measure/lightpen-idle"
    commands = {"tray": [measured, "tray"], "shown": [measured, "tray", "shown"],
                "driver": [measured, "driver", folder / "unit"], "program": [programs / "src/app/LightPenNX7/LightPenNX7"]}
    with contextlib.ExitStack() as ends:
        await_ready(start("panel", [measured, "panel"], folder, ends))
        started = {name: start(name, command, folder, ends) for name, command in commands.items()}
        for name in ("tray", "shown", "driver"):
            await_ready(started[name])
        before = {name: threads(process.pid) for name, process in started.items()}
        time.sleep(seconds)
        after = {name: threads(process.pid) for name, process in started.items()}
        sizes = {name: memory(process.pid) for name, process in started.items()}
        taught = start("taught", [measured, "driver", folder / "lessons", str(lessons)], folder, ends)
        await_ready(taught)
        sizes["taught"] = memory(taught.pid)
    per_minute = {name: wakes(before[name], after[name]) * 60 / seconds for name in before}
    polls = wakes(before["driver"], after["driver"], lambda name: name == POINT_THREAD) / seconds
    others = wakes(before["driver"], after["driver"], lambda name: name not in (POINT_THREAD, EMULATED_UNIT)) * 60 / seconds
    share = {name: 100 * processor_time(before[name], after[name]) / seconds for name in before}
    lines = [
        line("wakes a minute, no unit", "", per_minute["program"], "the least program", per_minute["tray"], "difference", 0),
        line("wakes a second of the point thread, a unit and no pen", "", polls, "the specified polls", POLLS, "ratio", 1.01),
        line("wakes a minute of all other threads", "", others, "the least program", per_minute["tray"], "difference", 0),
        line("processor, no unit", "% of one", share["program"], "the least program", share["tray"]),
        line("processor, a unit and no pen", "% of one", share["driver"], "the least program", share["tray"])]
    window = "one that has shown a window"
    for name, what, other, against in (
            ("program", "no unit", "tray", "the least program"), ("driver", "a unit", "tray", "the least program"),
            ("taught", f"after {lessons} lessons", "tray", "the least program"),
            ("taught", f"after {lessons} lessons", "shown", window)):
        (written, whole), (other_written, other_whole) = sizes[name], sizes[other]
        lines.append(line(f"memory, {what}", "MB", whole, against, other_whole, "ratio", 1.2))
        lines.append(line(f"what it has written of that, {what}", "MB", written, against, other_written))
    lines += [remark_on(what, before[name], after[name], seconds)
              for name, what in (("program", "The driver without a unit"), ("driver", "The driver with a unit"),
                                 ("tray", "The least program"))]
    with open(os.environ["LIGHTPEN_FIGURES"], "a", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


# Tables

def number(value):
    """Three figures that say something; whole from a hundred on, with commas."""
    if value == 0:
        return "0"
    return f"{value:,.{max(0, 2 - math.floor(math.log10(abs(value))))}f}"


def verdict(ours, theirs, goal, limit, unit):
    """The goal, and whether it is met."""
    if goal == "none":
        return ""
    value = {"value": ours, "ratio": ours / theirs if theirs else math.inf, "difference": ours - theirs}[goal]
    text = {"value": f"at most {number(limit)} {unit}", "ratio": f"at most {number(limit)} times",
            "difference": f"at most {number(limit)} {unit} more" if limit else "no more"}[goal].strip()
    return f"{text}: {'met' if value <= limit else '**missed**'}"


def table(figures):
    """The rows as lines of a document's table."""
    lines = ["| what | this driver | against | that | ratio | goal |", "|---|--:|---|--:|--:|---|"]
    for what, unit, ours, against, theirs, goal, limit in figures.rows:
        ratio = f"{ours / theirs:.2f}" if against and theirs else ""
        that = f"{number(theirs)} {unit}".strip() if against else ""
        lines.append(f"| {what} | {number(ours)} {unit} | {against} | {that} | {ratio} | "
                     f"{verdict(ours, theirs, goal, limit, unit)} |".replace("  ", " "))
    return lines


def missed(figures):
    """How many goals are."""
    return sum("**missed**" in row for row in table(figures))


def reasons(figures):
    """Why goals are missed, where that is known."""
    rows = [(what, against) for what, unit, ours, against, *goal in figures.rows if "**missed**" in verdict(ours, *goal, unit)]
    return [why for (beginning, than), why in REASONS.items()
            if any(what.startswith(beginning) and against == than for what, against in rows)]


# The document

def machine():
    """As its user would say it."""
    processor = next((row.split(":", 1)[1].strip() for row in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
                      if row.startswith("model name")), platform.machine())
    memory_kb = int(pathlib.Path("/proc/meminfo").read_text().split()[1])
    release = dict(row.split("=", 1) for row in pathlib.Path("/etc/os-release").read_text().splitlines() if "=" in row)
    return (f"{' '.join(processor.split())}, {os.cpu_count()} cores, {memory_kb / 1048576:.0f} GB, "
            f"{release.get('PRETTY_NAME', 'Linux').strip(chr(34))}, Linux {platform.release()}")


def commit():
    """The tree's, and whether it has been changed since."""
    def git(*words):
        return subprocess.run(["git", "-C", ROOT, *words], capture_output=True, text=True, check=False).stdout.strip()
    changed = git("status", "--porcelain", "--untracked-files=no", "--", ".", ":!docs/performance.*")
    return (git("rev-parse", "--short=10", "HEAD") or "unknown") + (" with changes" if changed else "")


HEAD = """# Performance

Written by `{command}`, which builds the benchmarks as a user would build the program, runs all of them and needs no
hardware. Times are medians of repeated runs unless a row says otherwise.

Machine: {machine}. Commit: {commit}.

![How late a pass comes, on a quiet machine and under load](performance.svg)
"""

# What stands between the driver and a goal, by what a row's name begins with and what it is compared with.
REASONS = {
    ("memory, after", "the least program"): "Any program needs this much more once it has shown a window with words, and a lesson has a "
    "calibration, which has such a window: the table's last rows are of a program that has shown one and does nothing else.",
}

NOT_MEASURED = "Not in this run: `scripts/measure --kernel` has it."

TAIL = """## What is loaded only when it is needed

| what | when |
|---|---|
| Qt's SVG plug-in | at the first drawing: the program's icon in the panel is one, so at the start |
| the window, its pages and pictures | when the window is opened |
| the windows for stray light and for debugging | when they are first shown |
| fonts | with the first window that has words |
| the help | in the user's browser, never in the program |
| libcanberra's driver and the sound server's library | at the first sound |
| the notification service | at the first notice |
| the calibration's window | at the first calibration |
| the camera's picture | while its page is shown |
"""


def document(folder, command):
    """Writes it from what the parts have measured. Returns how many goals are missed."""
    found = {name: read(folder / f"{name}.tsv") for name, *_ in PARTS if (folder / f"{name}.tsv").exists()}
    text = [HEAD.format(command=command, machine=machine(), commit=commit())]
    for name, heading, about in PARTS:
        text.append(f"## {heading}\n\n{about}\n")
        if name in found:
            text.append("\n".join(table(found[name])) + "\n")
            text += [paragraph + "\n" for paragraph in [*reasons(found[name]), *found[name].remarks]]
        else:
            text.append(NOT_MEASURED + "\n")
    (ROOT / "docs/performance.md").write_text("\n".join([*text, TAIL]), encoding="utf-8")
    (ROOT / "docs/performance.svg").write_text(histogram(found["load"].delays if "load" in found else {}),
                                               encoding="utf-8")
    return sum(map(missed, found.values()))


# The picture

WIDTH, ROW, LEFT, RIGHT, TOP = 720, 150, 60, 36, 56
LOW, HIGH, STEPS = 0, 5, 8  # powers of ten of microseconds, and bars for each
STYLE = """
  .paper { fill: #ffffff } text { font: 13px sans-serif; fill: #1f2328 } .small { font-size: 11px; fill: #59636e }
  .axis { stroke: #9198a1 } .grid { stroke: #9198a1; stroke-opacity: .25 }
  .quiet { fill: #0969da; fill-opacity: .55 } .load { fill: #bc4c00; fill-opacity: .55 }
  @media (prefers-color-scheme: dark) { .paper { fill: #0d1117 } text { fill: #f0f6fc } .small { fill: #b1bac4 }
    .quiet { fill: #58a6ff; fill-opacity: .6 } .load { fill: #f0883e; fill-opacity: .6 } }
"""


def shares(delays):
    """How many of the delays fall under each bar, as a part of all."""
    counts = [0] * ((HIGH - LOW) * STEPS)
    for delay in delays:
        place = int((math.log10(max(delay, 1)) - LOW) * STEPS)
        counts[min(place, len(counts) - 1)] += 1
    return [count / len(delays) for count in counts]


def bars(delays, kind, base):
    """The bars of one kind, on this line."""
    wide = (WIDTH - LEFT - RIGHT) / ((HIGH - LOW) * STEPS)
    drawn = []
    for i, share in enumerate(shares(delays)):
        # The root of it: a few late ones among a thousand are what is looked for.
        height = math.sqrt(share) * (ROW - 50)
        if share:
            drawn.append(f'<rect class="{kind}" x="{LEFT + i * wide:.1f}" y="{base - height:.1f}" width="{wide - 1:.1f}" '
                         f'height="{height:.1f}"/>')
    return drawn


def histogram(rows):
    """How late passes come: a row for each priority."""
    height = TOP + ROW * len(rows) + 30
    drawn = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" viewBox="0 0 {WIDTH} {height}">',
             "<!-- SPDX-License-Identifier: MIT -->", f"<style>{STYLE}</style>",
             f'<rect class="paper" width="{WIDTH}" height="{height}"/>',
             f'<text x="{LEFT}" y="22">How late a pass comes</text>',
             f'<text class="small" x="{LEFT}" y="40">heights are square roots of shares; the line is at the 99th percentile</text>',
             f'<rect class="quiet" x="{WIDTH - 210}" y="12" width="12" height="12"/>',
             f'<text class="small" x="{WIDTH - 192}" y="22">quiet</text>',
             f'<rect class="load" x="{WIDTH - 140}" y="12" width="12" height="12"/>',
             f'<text class="small" x="{WIDTH - 122}" y="22">under load</text>']
    decade = (WIDTH - LEFT - RIGHT) / (HIGH - LOW)
    for i, (row, kinds) in enumerate(rows.items()):
        base = TOP + ROW * (i + 1) - 16
        drawn.append(f'<text x="{LEFT}" y="{base - ROW + 38}">with {row}</text>')
        for power in range(LOW, HIGH + 1):
            x = LEFT + (power - LOW) * decade
            label = f"{10 ** power} µs" if power < 3 else f"{10 ** (power - 3)} ms"
            drawn.append(f'<line class="grid" x1="{x:.1f}" y1="{base - ROW + 46}" x2="{x:.1f}" y2="{base}"/>')
            drawn.append(f'<text class="small" text-anchor="middle" x="{x:.1f}" y="{base + 14}">{label}</text>')
        drawn.append(f'<line class="axis" x1="{LEFT}" y1="{base}" x2="{WIDTH - RIGHT}" y2="{base}"/>')
        for kind, delays in sorted(kinds.items(), reverse=True):
            drawn += bars(delays, kind, base)
            late = sorted(delays)[max(0, math.ceil(0.99 * len(delays)) - 1)]
            x = LEFT + (min(max(math.log10(max(late, 1)), LOW), HIGH) - LOW) * decade
            drawn.append(f'<rect class="{kind}" x="{x - 1:.1f}" y="{base - ROW + 50}" width="2" height="{ROW - 50}"/>')
    return "\n".join([*drawn, "</svg>"]) + "\n"


def main(words):
    """The exit status."""
    match words:
        case ["idle", folder, programs, seconds, lessons]:
            idle(pathlib.Path(folder), pathlib.Path(programs), int(seconds), int(lessons))
        case ["table", file]:
            figures = read(pathlib.Path(file))
            print("\n".join([*table(figures), *figures.remarks]))
        case ["document", folder, command]:
            goals = document(pathlib.Path(folder), command)
            print(f"docs/performance.md is written; goals that are missed: {goals}")
        case _:
            print(__doc__, file=sys.stderr)
            return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
