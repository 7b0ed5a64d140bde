#!/usr/bin/env python3
"""Measures the import tool beside its floor and beside other ways to do its job, and prints a Markdown table.

    measure.py BUILD DATA [ROUNDS]

BUILD holds the programs, DATA/TRACKS the generated libraries (scripts/bench makes both). Every round
runs every program once on every library, so that a slow moment of the machine meets all of them; the table
shows the medians of the rounds. Needs strace, binutils and GNU time.
"""

import filecmp
import math
import os
import platform
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from datetime import date
from pathlib import Path

SIZES = (5_000, 20_000, 40_000, 80_000)
REFERENCE_SIZE = 20_000
TRACED_SIZE = 500
EMPTY_SIZE = 0
START_RUNS = 300

CPU, WALL = 0, 1  # the columns of a sample
TOOL, FLOOR, PLISTLIB, EXPAT, TRUE = "itunes-import", "floor", "plistlib", "expat", "true"
STATUS_QUERIES = ("stat", "lstat", "fstat", "newfstatat", "stat64", "lstat64", "fstat64", "fstatat64")


class Bench:
    def __init__(self, build, data, scratch):
        self.build = build
        self.data = data
        self.scratch = scratch
        self.samples = {}  # (program, tracks) to its runs of (CPU seconds, wall seconds), one a round

    def command(self, program, tracks, database):
        library = str(self.data / str(tracks) / "iTunes Music Library.xml")
        script = Path(__file__).with_name("import_plistlib.py")
        return {
            TOOL: [str(self.build / "itunes-import"), "-dbdir", database, "-itunes-lib", library],
            FLOOR: [str(self.build / "bench" / "floor"), library, database],
            PLISTLIB: [sys.executable, str(script), library, database],
            EXPAT: [str(self.build / "bench" / "import_expat"), library, database],
            TRUE: [shutil.which("true")],
        }[program]

    def in_fresh_database(self, action):
        """Every run starts from an empty database directory; making and removing it is not measured."""
        database = tempfile.mkdtemp(dir=self.scratch)
        try:
            return action(database)
        finally:
            shutil.rmtree(database)

    def run(self, program, tracks):
        """Returns the CPU and wall seconds of one run."""
        return self.in_fresh_database(lambda database: timed(self.command(program, tracks, database)))

    def sample(self, program, tracks):
        self.samples.setdefault((program, tracks), []).append(self.run(program, tracks))

    def peak_memory(self, program, tracks):
        """Returns the peak resident size in bytes. GNU time starts the program: a program counts as large as
        the process that it is forked from, and Python is larger than the tool."""

        def measure(database):
            report = Path(self.scratch, "peak")
            check(["time", "-f", "%M", "-o", str(report), *self.command(program, tracks, database)])
            return int(report.read_text()) * 1024

        return self.in_fresh_database(measure)

    def system_calls(self, program):
        """Returns the number of calls by kind."""

        def count(database):
            report = Path(self.scratch, "calls")
            check(["strace", "-f", "-c", "-o", str(report), *self.command(program, TRACED_SIZE, database)])
            rows = [line.split() for line in report.read_text().splitlines()]
            return {row[-1]: int(row[3]) for row in rows if len(row) >= 5 and row[3].isdigit()}

        calls = self.in_fresh_database(count)
        calls.pop("total", None)
        return calls

    def outputs_agree(self, program, other):
        """Whether two programs leave the same files, byte for byte."""
        with tempfile.TemporaryDirectory(dir=self.scratch) as one, tempfile.TemporaryDirectory(
            dir=self.scratch
        ) as two:
            check(self.command(program, REFERENCE_SIZE, one))
            check(self.command(other, REFERENCE_SIZE, two))
            names, other_names = (
                sorted(path.name for path in Path(root).iterdir() if path.is_file()) for root in (one, two)
            )
            return names == other_names and filecmp.cmpfiles(one, two, names, shallow=False)[0] == names

    def median(self, program, tracks, column):
        return statistics.median(sample[column] for sample in self.samples[program, tracks])

    def ratios(self, other, tracks, column):
        """The tool against another program, round by round."""
        pairs = zip(self.samples[TOOL, tracks], self.samples[other, tracks])
        return [ours[column] / theirs[column] for ours, theirs in pairs]

    def growth(self, program):
        """The exponent of CPU time over tracks between the smallest and the largest library."""
        first, last = SIZES[0], SIZES[-1]
        cost = self.median(program, last, CPU) / self.median(program, first, CPU)
        return math.log(cost) / math.log(last / first)


def check(command):
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)


def timed(command):
    quiet = [(os.POSIX_SPAWN_OPEN, descriptor, os.devnull, os.O_WRONLY, 0) for descriptor in (1, 2)]
    start = time.perf_counter()
    child = os.posix_spawn(command[0], command, os.environ, file_actions=quiet)
    _, status, usage = os.wait4(child, 0)
    wall = time.perf_counter() - start
    if status != 0:
        sys.exit(f"measure.py: {command[0]} ended with wait status {status}")
    return usage.ru_utime + usage.ru_stime, wall


def progress(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def run_round(bench, number):
    """One run of everything; the order turns around from round to round."""
    for tracks in SIZES:
        programs = [TOOL, FLOOR] + ([PLISTLIB, EXPAT] if tracks == REFERENCE_SIZE else [])
        for program in programs if number % 2 == 0 else reversed(programs):
            bench.sample(program, tracks)


def run_starts(bench):
    for _ in range(START_RUNS):
        for program in (TRUE, TOOL, FLOOR):
            bench.sample(program, EMPTY_SIZE)


def seconds(value):
    return f"{value:.2f} s" if value >= 0.1 else f"{value * 1000:.2f} ms"


def ratio(values):
    text = f"{statistics.median(values):.2f}"
    return text if len(values) == 1 else f"{text} ({min(values):.2f} to {max(values):.2f})"


def megabytes(value):
    return f"{value / 1e6:.1f} MB"


def comparison_rows(bench):
    wanted = {(CPU, FLOOR): "at most 1.3", (WALL, PLISTLIB): "at most 1"}
    for column, name in ((CPU, "CPU time"), (WALL, "Wall time")):
        for other in (FLOOR, PLISTLIB, EXPAT):
            yield (
                f"{name}, {REFERENCE_SIZE:,} tracks",
                seconds(bench.median(TOOL, REFERENCE_SIZE, column)),
                f"{other} {seconds(bench.median(other, REFERENCE_SIZE, column))}",
                ratio(bench.ratios(other, REFERENCE_SIZE, column)),
                wanted.get((column, other), ""),
            )


def memory_rows(bench):
    tool = {tracks: bench.peak_memory(TOOL, tracks) for tracks in (EMPTY_SIZE, REFERENCE_SIZE, SIZES[-1])}
    for other in (PLISTLIB, EXPAT):
        theirs = bench.peak_memory(other, REFERENCE_SIZE)
        yield (
            f"Peak memory, {REFERENCE_SIZE:,} tracks",
            megabytes(tool[REFERENCE_SIZE]),
            f"{other} {megabytes(theirs)}",
            ratio([tool[REFERENCE_SIZE] / theirs]),
            "",
        )
    for tracks in (REFERENCE_SIZE, SIZES[-1]):
        beyond_start = (tool[tracks] - tool[EMPTY_SIZE]) / tracks
        yield (
            f"Peak memory a track beyond the start ({megabytes(tool[EMPTY_SIZE])}), {tracks:,} tracks",
            f"{beyond_start:.0f} bytes",
            "",
            "",
            "at most 230 bytes",
        )


def growth_rows(bench):
    for tracks in SIZES:
        if tracks != REFERENCE_SIZE:
            yield (
                f"CPU time, {tracks:,} tracks",
                seconds(bench.median(TOOL, tracks, CPU)),
                f"floor {seconds(bench.median(FLOOR, tracks, CPU))}",
                ratio(bench.ratios(FLOOR, tracks, CPU)),
                "",
            )
    yield (
        f"Growth of CPU time, {SIZES[0]:,} to {SIZES[-1]:,} tracks",
        f"tracks^{bench.growth(TOOL):.2f}",
        f"floor tracks^{bench.growth(FLOOR):.2f}",
        "",
        "at most tracks^1.12",
    )


def start_rows(bench):
    wanted = {(WALL, TRUE): "at most 1.5"}
    for column, name in ((WALL, "Wall time"), (CPU, "CPU time")):
        for other in (TRUE, FLOOR):
            ours, theirs = (bench.median(program, EMPTY_SIZE, column) for program in (TOOL, other))
            yield (
                f"{name} of an empty import",
                seconds(ours),
                f"{other} {seconds(theirs)}",
                ratio([ours / theirs]),
                wanted.get((column, other), ""),
            )


def system_call_rows(bench):
    library = bench.data / str(TRACED_SIZE) / "iTunes Music Library.xml"
    lines = 2 * library.read_bytes().count(b"\n")  # both passes read them all
    tool, floor = bench.system_calls(TOOL), bench.system_calls(FLOOR)
    for name, kinds, count in (
        ("`read` calls a line read", ("read",), lines),
        ("`lseek` calls a line read", ("lseek",), lines),
        ("`sched_yield` calls a line read", ("sched_yield",), lines),
        ("`write` calls a track", ("write",), TRACED_SIZE),
        ("Status queries a track", STATUS_QUERIES, TRACED_SIZE),
    ):
        ours, theirs = (sum(calls.pop(kind, 0) for kind in kinds) / count for calls in (tool, floor))
        yield (name, f"{ours:.3f}", f"floor {theirs:.3f}", "", "")
    ours, theirs = (sum(calls.values()) for calls in (tool, floor))
    yield (f"All other system calls, {TRACED_SIZE:,} tracks", f"{ours:,}", f"floor {theirs:,}", "", "")


def binary_rows(bench):
    stripped = Path(bench.scratch, "stripped")
    check(["strip", "-o", str(stripped), str(bench.build / "itunes-import")])
    yield ("Binary, stripped", f"{stripped.stat().st_size:,} bytes", "", "", "under 60,000 bytes")
    report = subprocess.run(["ldd", str(stripped)], stdout=subprocess.PIPE, check=True, text=True).stdout
    names = [line.split()[0] for line in report.splitlines()]
    libraries = [name for name in names if not name.startswith(("linux-vdso", "linux-gate", "/"))]
    yield ("Libraries that it loads (ldd)", ", ".join(libraries), "", "", "libc.so.6")


def processor():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith(("model name", "cpu\t")):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def print_table(rows, rounds):
    print(
        f"{date.today()}, {processor()}, {os.cpu_count()} processors, Linux {platform.release()}. Medians of "
        f"{rounds} interleaved rounds ({START_RUNS} for the empty import); a ratio is the median of the "
        "rounds' ratios, with the least and the greatest. CPU time is user plus system.\n"
    )
    print("| Measure | itunes-import | Beside it | Ratio | Wanted |")
    print("|---|---|---|---|---|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit("usage: measure.py BUILD DATA [ROUNDS]")
    build, data = (Path(argument).resolve() for argument in sys.argv[1:3])
    rounds = int(sys.argv[3]) if len(sys.argv) == 4 else 5
    # Beside the data, so that the outputs land on the same file system as any other import's.
    with tempfile.TemporaryDirectory(dir=data, prefix="scratch-") as scratch:
        bench = Bench(build, data, scratch)
        for other in (PLISTLIB, EXPAT):
            if not bench.outputs_agree(TOOL, other):
                sys.exit(f"measure.py: the tool and {other} left different files: nothing to compare")
        progress("warming the caches")
        for tracks in SIZES:
            bench.run(FLOOR, tracks)
        for number in range(rounds):
            progress(f"round {number + 1} of {rounds}")
            run_round(bench, number)
        progress("starts, memory, system calls")
        run_starts(bench)
        rows = [
            *comparison_rows(bench),
            *growth_rows(bench),
            *memory_rows(bench),
            *start_rows(bench),
            *system_call_rows(bench),
            *binary_rows(bench),
        ]
    print_table(rows, rounds)


if __name__ == "__main__":
    main()
