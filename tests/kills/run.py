#!/usr/bin/env python3
"""Ends programs by signals at random moments and looks at what they leave.

    tests/kills/run.py [--seed N] [--scale PERCENT] [--build FOLDER]

An album run is killed 10,000 times, interrupted by SIGINT and SIGTERM 1,000 times each,
and a save of the window is killed 1,000 times; --scale 1 makes a hundredth of that. Half
of them on a file system with files without a name, half without (tests/support/nthcall.cpp
refuses them). After each, an output must be old, complete or absent, no photo changed, and
after SIGINT and SIGTERM nothing else may be left. Prints a line for each kind of run; exit
code 1 where anything was wrong, with the folder that shows it.
"""

import argparse
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

OLD = b"mine"
OUTPUTS = ("a", "b")


def environment(named, build):
    variables = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    if named:
        variables["LD_LIBRARY_PATH"] = str(build / "tests/support")
        variables["LD_PRELOAD"] = "libcrayvell_nthcall.so"  # a path would end at a space
        variables["NTH_CALL_REFUSED"] = "unnamed"
    return variables


class Album:
    """Two photos, one output of which is there already."""

    def __init__(self, build):
        self.build = build
        seeds = pathlib.Path(tempfile.mkdtemp())
        subprocess.run([build / "tests/fuzz/crayvell_fuzzseeds", seeds], check=True)
        self.photo = (seeds / "album" / "colour.jpeg").read_bytes()
        shutil.rmtree(seeds)

    def fill(self, folder):
        (folder / "in").mkdir()
        (folder / "out").mkdir()
        for name in OUTPUTS:
            (folder / "in" / f"{name}.jpg").write_bytes(self.photo)
        (folder / "out/b.jpg").write_bytes(OLD)

    def command(self):
        return [self.build / "batch/crayvell-batch", "-j2", "--overwrite", "--fsync",
                "--output-dir", "out", "in"]

    def faults(self, folder, good, by):
        for name in OUTPUTS:
            if (folder / "in" / f"{name}.jpg").read_bytes() != self.photo:
                yield f"in/{name}.jpg changed"
            output = folder / "out" / f"{name}.jpg"
            content = output.read_bytes() if output.exists() else None
            allowed = (good[name], OLD) if name == "b" else (good[name], None)
            if content not in allowed:
                yield f"out/{name}.jpg is neither old nor complete"
        strays = [path.name for path in (folder / "out").iterdir() if path.name.startswith(".")]
        # Nothing can tidy up after SIGKILL; the hidden name says whose file it was.
        if strays and by != signal.SIGKILL:
            yield f"left {strays}"

    def good(self, folder):
        return {name: (folder / "out" / f"{name}.jpg").read_bytes() for name in OUTPUTS}


class Save:
    """The window's save over a file that is there."""

    def __init__(self, build):
        self.build = build

    def fill(self, folder):
        (folder / "sketch.png").write_bytes(OLD)

    def command(self):
        return [self.build / "tests/photo/crayvell_savesketch", "sketch.png"]

    def faults(self, folder, good, by):
        if (folder / "sketch.png").read_bytes() not in (OLD, good):
            yield "sketch.png is neither old nor complete"

    def good(self, folder):
        return (folder / "sketch.png").read_bytes()


def run_once(kind, variables, folder, wait):
    """Starts the program; ends it after so many seconds by a signal, if one is given."""
    process = subprocess.Popen(kind.command(), cwd=folder, env=variables,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if wait is None:
        return process.wait(60)
    by, seconds = wait
    end = time.perf_counter() + seconds
    while time.perf_counter() < end and process.poll() is None:
        time.sleep(max(min(end - time.perf_counter(), 0.001), 0))
    process.send_signal(by)
    return process.wait(60)


def try_kind(title, kind, by, count, named, numbers, build):
    variables = environment(named, build)
    top = pathlib.Path(tempfile.mkdtemp(prefix="kills-"))
    durations = []
    for i in range(5):
        folder = top / f"good{i}"
        folder.mkdir()
        kind.fill(folder)
        begin = time.perf_counter()
        if run_once(kind, variables, folder, None) != 0:
            sys.exit(f"{title}: the run that nobody ends fails")
        durations.append(time.perf_counter() - begin)
        good = kind.good(folder)
    hits = wrong = runs = 0
    while hits < count and runs < 20 * count:
        folder = top / "run"
        folder.mkdir()
        kind.fill(folder)
        moment = numbers.uniform(0, 1.1 * sorted(durations)[2])
        code = run_once(kind, variables, folder, (by, moment))
        runs += 1
        hits += code == -by
        faults = list(kind.faults(folder, good, by))
        if code not in (0, -by):
            faults.append(f"exit code {code}")
        if faults:
            wrong += 1
            kept = top / f"fault{wrong}"
            folder.rename(kept)
            print(f"{kept}: {'; '.join(faults)}")
        else:
            shutil.rmtree(folder)
    way = "hidden names" if named else "unnamed files"
    print(f"{title}, {by.name}, {way}: {hits} ended in {runs} runs, {wrong} faults", flush=True)
    if not wrong:
        shutil.rmtree(top)
    return wrong + (hits < count)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--scale", type=float, default=100, help="per cent of the full number")
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    options = parser.parse_args()
    build = options.build.resolve()
    numbers = random.Random(options.seed)
    rows = [("album", Album(build), signal.SIGKILL, 10_000),
            ("album", Album(build), signal.SIGINT, 1_000),
            ("album", Album(build), signal.SIGTERM, 1_000),
            ("save", Save(build), signal.SIGKILL, 1_000)]
    wrong = 0
    for title, kind, by, count in rows:
        for named in (False, True):
            half = max(int(count * options.scale / 200), 1)
            wrong += try_kind(title, kind, by, half, named, numbers, build)
    sys.exit(1 if wrong else 0)


main()
