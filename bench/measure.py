#!/usr/bin/env python3
"""Measures the import beside its floor and beside a Python script that does its job, and its companions beside the
import; prints a Markdown table.

    measure.py BUILD DATA ROUNDS

BUILD holds the programs. The libraries are kept in DATA. Every round runs every program once on every library, so
that a slow moment of the machine meets all of them; the table shows the medians of the rounds. Needs strace,
binutils and GNU time.
"""

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

# A library's arguments for generate_library.py are its name as well.
EMPTY, TRACED, SMALL, MEDIUM, LARGE = (("tracks", str(count)) for count in (0, 500, 5_000, 20_000, 80_000))
SIZES = (SMALL, MEDIUM, LARGE)
MANY_PLAYLISTS = ("tracks", "500", "100")
CHAINS = tuple(("chain", str(size)) for size in (100_000, 500_000, 2_000_000))
ALIKE = ("alike", "60000")
START_RUNS = 300

CPU, WALL = 0, 1  # the columns of a sample
TOOL, FLOOR, PLISTLIB, TRUE = "itunes-import", "floor", "plistlib", "true"
PREPARE, CHECK, NIGHT = "itunes-prepare", "itunes-check", "itunes-import-night"
COMPANIONS = ((PREPARE, 0.25), (CHECK, 1.5), (NIGHT, 1.15))  # with their parts of the import's CPU time
FLUSHED, UNFLUSHED = "flushed", "unflushed"  # the tool, its flushes counted, and left out
STATUS_QUERIES = ("stat", "lstat", "fstat", "newfstatat")


class Bench:
    def __init__(self, build, data, scratch):
        self.build = build
        self.data = data
        self.scratch = scratch
        self.samples = {}  # (program, library) to its runs of (CPU seconds, wall seconds), one a round

    def library(self, arguments):
        """Generates the library unless a run before has done it."""
        directory = self.data / "-".join(arguments)
        done = directory / ".done"
        script = Path(__file__).with_name("generate_library.py")
        if not done.exists() or done.stat().st_mtime < script.stat().st_mtime:
            progress(f"generating {directory.name}")
            shutil.rmtree(directory, ignore_errors=True)
            check([sys.executable, str(script), *arguments, str(directory)])
            done.touch()
        return str(directory / "iTunes Music Library.xml")

    def command(self, program, arguments, database):
        library = self.library(arguments)
        tool = [str(self.build / "itunes-import"), "-dbdir", database, "-itunes-lib", library]
        flushes = [shutil.which("strace"), "-f", "--seccomp-bpf", "-o", os.devnull, "-e", "trace=fsync"]
        return {
            TOOL: tool,
            FLOOR: [str(self.build / "bench" / "floor"), library, database],
            PLISTLIB: [sys.executable, str(Path(__file__).with_name("import_plistlib.py")), library, database],
            PREPARE: [str(self.build / PREPARE), library, str(Path(database, "prepared.xml"))],
            CHECK: [str(self.build / CHECK), library],
            NIGHT: [str(self.build / NIGHT), *tool[1:]],
            TRUE: [shutil.which("true")],
            FLUSHED: flushes + tool,
            UNFLUSHED: flushes + ["-e", "inject=fsync:retval=0"] + tool,
        }[program]

    def in_fresh_database(self, action, directory=None):
        """Every run starts from an empty database directory; making and removing it is not measured."""
        with tempfile.TemporaryDirectory(dir=directory or self.scratch) as database:
            return action(database)

    def sample(self, program, library):
        disk = "/dev/shm" if library == EMPTY else None  # the flush of a file would take longer than all else
        run = self.in_fresh_database(lambda database: timed(self.command(program, library, database)), disk)
        self.samples.setdefault((program, library), []).append(run)

    def peak_memory(self, program, library):
        """Returns the program's peak resident size in bytes. GNU time starts it: a program counts as large as the
        process that it is forked from, and Python is larger than the tool."""
        report = Path(self.scratch, "peak")
        start = ["time", "-f", "%M", "-o", str(report)]
        self.in_fresh_database(lambda database: check(start + self.command(program, library, database)))
        return int(report.read_text()) * 1024

    def system_calls(self, program, library):
        """Returns the number of calls by kind."""
        report = Path(self.scratch, "calls")
        start = ["strace", "-f", "-c", "-o", str(report)]
        self.in_fresh_database(lambda database: check(start + self.command(program, library, database)))
        rows = [line.split() for line in report.read_text().splitlines()]
        return {row[-1]: int(row[3]) for row in rows if row[3:] and row[3].isdigit() and row[-1] != "total"}

    def compare_outputs(self, other, library):
        """Ends the measurement unless the tool and another program leave the same files, byte for byte."""
        with tempfile.TemporaryDirectory() as ours, tempfile.TemporaryDirectory() as theirs:
            check(self.command(TOOL, library, ours))
            check(self.command(other, library, theirs))
            if subprocess.call(["diff", "-r", "--exclude=itunes-import-temp", ours, theirs], stdout=sys.stderr) != 0:
                sys.exit(f"measure.py: the import and {other} left different files: nothing to compare")

    def median(self, program, library, column):
        return statistics.median(sample[column] for sample in self.samples[program, library])

    def ratio(self, program, other, library, column):
        """One program against another: the median of the rounds' ratios, with the least and the greatest."""
        pairs = zip(self.samples[program, library], self.samples[other, library])
        ratios = [ours[column] / theirs[column] for ours, theirs in pairs]
        return f"{statistics.median(ratios):.2f} ({min(ratios):.2f} to {max(ratios):.2f})"

    def growth(self, program, first, last):
        """The exponent of CPU time over the number that stands in the libraries' names."""
        cost = self.median(program, last, CPU) / self.median(program, first, CPU)
        return math.log(cost) / math.log(int(last[1]) / int(first[1]))


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
    print("bench:", text, file=sys.stderr)


def run_round(bench, number):
    """One run of everything; the order turns around from round to round."""
    plan = [
        *((program, library) for library in SIZES for program in (TOOL, FLOOR, PLISTLIB)),
        *((program, library) for library in (MEDIUM, LARGE) for program, _ in COMPANIONS),
        *((TOOL, library) for library in CHAINS),
        (PREPARE, ALIKE),
        *((program, MANY_PLAYLISTS) for program in (FLUSHED, UNFLUSHED)),
    ]
    for program, library in plan if number % 2 == 0 else reversed(plan):
        bench.sample(program, library)


def seconds(value):
    return f"{value:.2f} s" if value >= 0.1 else f"{value * 1000:.1f} ms"


def time_rows(bench):
    for other, library, column, wanted in (
        *((FLOOR, library, CPU, "at most 1.22") for library in SIZES),
        *((PLISTLIB, library, CPU, "at most 1") for library in SIZES),
        (PLISTLIB, MEDIUM, WALL, "at most 1"),
    ):
        name = f"{'CPU' if column == CPU else 'Wall'} time, {int(library[1]):,} tracks"
        ours, theirs = (seconds(bench.median(program, library, column)) for program in (TOOL, other))
        yield name, ours, f"{other} {theirs}", bench.ratio(TOOL, other, library, column), wanted
    ours, theirs = (bench.median(program, EMPTY, WALL) for program in (TOOL, TRUE))
    ratio = f"{ours / theirs:.2f}"
    yield "Wall time of an empty import, in memory", seconds(ours), f"true {seconds(theirs)}", ratio, "at most 1.5"


def growth_rows(bench):
    ours, floor = (f"tracks^{bench.growth(program, SMALL, LARGE):.2f}" for program in (TOOL, FLOOR))
    yield "Growth of CPU time, 5,000 to 80,000 tracks", ours, f"floor {floor}", "", "at most tracks^1.05"
    times = ", ".join(seconds(bench.median(TOOL, library, CPU)) for library in CHAINS)
    exponent = bench.growth(TOOL, CHAINS[0], CHAINS[-1])
    name = "Growth of CPU time, a chain of folders of 100 kB, 500 kB, 2 MB"
    yield name, f"size^{exponent:.2f} ({times})", "", "", "at most size^1.3"


def memory_rows(bench):
    start = bench.peak_memory(TOOL, EMPTY)
    for library in (MEDIUM, LARGE):
        tracks = int(library[1])
        size = (bench.peak_memory(TOOL, library) - start) / tracks
        name = f"Peak memory a track, {tracks:,} tracks, beyond the start's {start / 1e6:.1f} MB"
        yield name, f"{size:.0f} bytes", "", "", "at most 220 bytes"


def companion_rows(bench):
    for library in (MEDIUM, LARGE):
        for program, part in COMPANIONS:
            name = f"CPU time of {program}, {int(library[1]):,} tracks"
            ours, theirs = (seconds(bench.median(one, library, CPU)) for one in (TOOL, program))
            yield name, ours, theirs, bench.ratio(program, TOOL, library, CPU), f"at most {part}"
    sizes = (f"{program} {bench.peak_memory(program, LARGE) / 1e6:.0f} MB" for program, _ in COMPANIONS)
    ours = f"{bench.peak_memory(TOOL, LARGE) / 1e6:.0f} MB"
    yield f"Peak memory, {int(LARGE[1]):,} tracks", ours, ", ".join(sizes), "", "prepare 32 MB, check 40 MB"
    name = f"CPU time of {PREPARE}, {int(ALIKE[1]):,} files whose names differ in case only"
    yield name, "", seconds(bench.median(PREPARE, ALIKE, CPU)), "", "below 1 s"


def flush_rows(bench):
    ours, without = (bench.median(program, MANY_PLAYLISTS, WALL) for program in (FLUSHED, UNFLUSHED))
    name = f"Wall time of 100 playlists, {bench.system_calls(TOOL, MANY_PLAYLISTS).get('fsync', 0)} flushes"
    reason = "none: it is what surviving a power cut costs"
    yield name, seconds(ours), f"unflushed {seconds(without)}", f"{ours / without:.2f}", reason


def system_call_rows(bench):
    lines = 2 * Path(bench.library(TRACED)).read_bytes().count(b"\n")  # both passes read them all
    tool, floor = bench.system_calls(TOOL, TRACED), bench.system_calls(FLOOR, TRACED)
    for name, kinds, count, wanted in (
        ("`read` calls a line read", ("read",), lines, "1.00"),
        ("`lseek` calls a line read", ("lseek",), lines, "2.00"),
        ("`sched_yield` calls a line read", ("sched_yield",), lines, "as the floor"),
        ("`write` calls a track", ("write",), int(TRACED[1]), "as the floor"),
        ("Status queries a track", STATUS_QUERIES, int(TRACED[1]), "as the floor"),
    ):
        ours, theirs = (sum(calls.pop(kind, 0) for kind in kinds) / count for calls in (tool, floor))
        yield name, f"{ours:.2f}", f"floor {theirs:.2f}", "", wanted
    ours, theirs = (sum(calls.values()) for calls in (tool, floor))
    yield f"All other system calls, {TRACED[1]} tracks", f"{ours}", f"floor {theirs}", "", "as the floor"


def binary_rows(bench):
    stripped = Path(bench.scratch, "stripped")
    check(["strip", "-o", str(stripped), str(bench.build / "itunes-import")])
    yield "Binary, stripped", f"{stripped.stat().st_size:,} bytes", "", "", "below 60,000 bytes"
    report = subprocess.run(["ldd", str(stripped)], stdout=subprocess.PIPE, check=True, text=True).stdout
    names = [line.split()[0] for line in report.splitlines()]
    libraries = [name for name in names if not name.startswith(("linux-vdso", "linux-gate", "/"))]
    yield "Libraries that it loads (`ldd`)", ", ".join(libraries), "", "", "libc.so.6"


def print_table(rows, rounds):
    models = [line for line in Path("/proc/cpuinfo").read_text().splitlines() if line.startswith("model name")]
    processor = models[0].split(":", 1)[1].strip() if models else platform.machine()
    print(
        f"{date.today()}, {processor}, {os.cpu_count()} processors, Linux {platform.release()}. Medians of {rounds} "
        f"interleaved rounds\n({START_RUNS} for the empty import).\n"
    )
    print("| Measure | itunes-import | Beside it | Ratio | Wanted |")
    print("|---|---|---|---|---|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


def main():
    if len(sys.argv) != 4:
        sys.exit("usage: measure.py BUILD DATA ROUNDS")
    (build, data), rounds = (Path(text).resolve() for text in sys.argv[1:3]), int(sys.argv[3])
    data.mkdir(parents=True, exist_ok=True)
    # Beside the data, so that the outputs land on the same file system as any other import's.
    with tempfile.TemporaryDirectory(dir=data, prefix="scratch-") as scratch:
        bench = Bench(build, data, scratch)
        bench.compare_outputs(PLISTLIB, MEDIUM)
        progress("warming up")
        for library in SIZES:
            bench.sample(FLOOR, library)
        bench.samples.clear()
        for number in range(rounds):
            progress(f"round {number + 1} of {rounds}")
            run_round(bench, number)
        progress("starts, memory, system calls")
        for program in (TRUE, TOOL) * START_RUNS:
            bench.sample(program, EMPTY)
        groups = (time_rows, growth_rows, memory_rows, companion_rows, flush_rows, system_call_rows, binary_rows)
        rows = [row for group in groups for row in group(bench)]
    print_table(rows, rounds)


if __name__ == "__main__":
    main()
