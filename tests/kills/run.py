#!/usr/bin/env python3
"""Ends programs by signals at random moments and looks at what they leave.

    tests/kills/run.py [--seed N] [--scale PERCENT] [--build FOLDER] [--folder FOLDER...]

An album run is killed 10,000 times, interrupted by SIGINT and SIGTERM 1,000 times each,
and a window that saves is killed 1,000 times; --scale 1 makes a hundredth of that. Half of
them on a file system with files without a name, half without: in the --folder that has
none, else by tests/support/nthcall.cpp, which refuses them. After each, an output must be
old, complete or absent, no photo changed, and after SIGINT and SIGTERM nothing else may be
left. Prints a line for each kind of run; exit code 1 where anything was wrong, with the
folder that shows it.
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

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OLD = b"mine"
OUTPUTS = ("a", "b")


def has_unnamed_files(folder):
    try:
        os.close(os.open(folder, os.O_TMPFILE | os.O_WRONLY, 0o600))
        return True
    except OSError:
        return False


def environment(refused, build, home):
    variables = dict(os.environ, QT_QPA_PLATFORM="offscreen", HOME=str(home))
    variables.pop("XDG_CONFIG_HOME", None)
    if refused:
        variables["LD_LIBRARY_PATH"] = str(build / "tests/support")
        variables["LD_PRELOAD"] = "libcrayvell_nthcall.so"  # a path would end at a space
        variables["NTH_CALL_REFUSED"] = "unnamed"
    return variables


class Album:
    """Two photos, one output of which is there already, and takes several writes."""

    def __init__(self, build):
        self.build = build
        with tempfile.TemporaryDirectory() as seeds:
            subprocess.run([build / "tests/fuzz/crayvell_fuzzseeds", seeds], check=True)
            small = (pathlib.Path(seeds) / "album" / "colour.jpeg").read_bytes()
        self.photos = {"a": small, "b": (ROOT / "examples/beach/beach.jpg").read_bytes()}

    def fill(self, folder):
        (folder / "in").mkdir()
        (folder / "out").mkdir()
        for name in OUTPUTS:
            (folder / "in" / f"{name}.jpg").write_bytes(self.photos[name])
        (folder / "out/b.jpg").write_bytes(OLD)

    def command(self):
        return [self.build / "batch/crayvell-batch", "-j2", "--overwrite", "--fsync",
                "--output-dir", "out", "in"]

    def faults(self, folder, good, by, code):
        for name in OUTPUTS:
            if (folder / "in" / f"{name}.jpg").read_bytes() != self.photos[name]:
                yield f"in/{name}.jpg changed"
            output = folder / "out" / f"{name}.jpg"
            content = output.read_bytes() if output.exists() else None
            allowed = (good[name], OLD) if name == "b" else (good[name], None)
            if code == 0 and content != good[name]:
                yield f"out/{name}.jpg is not made, and the exit code is 0"
            if content not in allowed:
                yield f"out/{name}.jpg is neither old nor complete"
        strays = self.strays(folder)
        # Nothing can tidy up after SIGKILL; the hidden name says whose file it was.
        if strays and by != signal.SIGKILL:
            yield f"left {strays}"
        if not all(name.startswith(".crayvell-") for name in strays):
            yield f"left {strays}, not hidden"

    def strays(self, folder):
        known = {"in", "out"} | {f"{name}.jpg" for name in OUTPUTS}
        return [path.name for path in folder.rglob("*") if path.name not in known]

    def good(self, folder):
        return {name: (folder / "out" / f"{name}.jpg").read_bytes() for name in OUTPUTS}


class Save:
    """A window that saves over a file that is there."""

    def __init__(self, build):
        self.build = build

    def fill(self, folder):
        (folder / "sketch.png").write_bytes(OLD)

    def command(self):
        return [self.build / "tests/kills/crayvell_savingwindow", "sketch.png"]

    def faults(self, folder, good, by, code):
        if code == 0 and (folder / "sketch.png").read_bytes() != good:
            yield "sketch.png is not saved, and the exit code is 0"
        if (folder / "sketch.png").read_bytes() not in (OLD, good):
            yield "sketch.png is neither old nor complete"

    def strays(self, folder):
        known = ("sketch.png", "sketch.png.photo.png")
        return [path.name for path in folder.iterdir() if path.name not in known]

    def good(self, folder):
        return (folder / "sketch.png").read_bytes()


def start(kind, variables, folder):
    """A running program, and the moment from which on it may be ended."""
    is_telling = isinstance(kind, Save)
    process = subprocess.Popen(kind.command(), cwd=folder, env=variables,
                               stdout=subprocess.PIPE if is_telling else subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    if is_telling and process.stdout.readline() != b"saving\n":
        sys.exit("the window does not save")
    return process, time.perf_counter()


def run_whole(kind, variables, folder):
    """How many seconds a run takes that nobody ends."""
    process, begin = start(kind, variables, folder)
    if process.stdout:
        process.stdout.readline()
    else:
        process.wait(60)
    seconds = time.perf_counter() - begin
    if process.wait(60) != 0:
        sys.exit("the run that nobody ends fails")
    return seconds


def run_until(kind, variables, folder, by, seconds):
    """The exit code of a run that gets a signal after so many seconds."""
    process, begin = start(kind, variables, folder)
    end = begin + seconds
    while time.perf_counter() < end and process.poll() is None:
        time.sleep(max(min(end - time.perf_counter(), 0.001), 0))
    process.send_signal(by)
    code = process.wait(60)
    if process.stdout:
        process.stdout.close()
    return code


def require_hidden_names(kind, variables, folder):
    """That the library is loaded and files without a name are refused."""
    counts = folder / "counts"
    run_whole(kind, dict(variables, NTH_CALL_COUNTS=str(counts)), folder)
    made = dict(line.split() for line in counts.read_text().splitlines())
    if int(made["refused-unnamed"]) == 0:
        sys.exit("files without a name are not refused")


def try_kind(title, kind, by, count, folder, refused, numbers, build):
    top = pathlib.Path(tempfile.mkdtemp(prefix="kills-", dir=folder))
    wrong = None
    try:
        wrong = try_in(top, title, kind, by, count, refused, numbers, build)
    finally:
        if not wrong:
            shutil.rmtree(top)
    return wrong


def try_in(top, title, kind, by, count, refused, numbers, build):
    variables = environment(refused, build, top)
    if refused:
        (top / "counted").mkdir()
        kind.fill(top / "counted")
        require_hidden_names(kind, variables, top / "counted")
    durations = []
    for i in range(5):
        whole = top / f"good{i}"
        whole.mkdir()
        kind.fill(whole)
        durations.append(run_whole(kind, variables, whole))
        good = kind.good(whole)
    hits = wrong = runs = strays = 0
    # A loaded machine measures some lengths too long, so that many moments come too late.
    most = 4 * count + 60
    while hits < count and runs < most:
        run = top / "run"
        run.mkdir()
        kind.fill(run)
        code = run_until(kind, variables, run, by, numbers.uniform(0, 1.1 * sorted(durations)[2]))
        runs += 1
        hits += code == -by
        faults = list(kind.faults(run, good, by, code))
        strays += bool(kind.strays(run))
        if code not in (0, -by):
            faults.append(f"exit code {code}")
        if faults:
            wrong += 1
            kept = top / f"fault{wrong}"
            run.rename(kept)
            print(f"{kept}: {'; '.join(faults)}")
        else:
            shutil.rmtree(run)
    way = "unnamed files" if has_unnamed_files(top) and not refused else "hidden names"
    print(f"{title}, {by.name}, {way}: {hits} ended in {runs} runs, "
          f"{strays} with a temporary file left, {wrong} faults", flush=True)
    return wrong + (hits < count)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--scale", type=float, default=100, help="per cent of the full number")
    parser.add_argument("--folder", type=pathlib.Path, action="append", default=[],
                        help="where to run: one with and one without unnamed files")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    options = parser.parse_args()
    # In the background of a shell SIGINT is ignored, and would be by every program from here.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    build = options.build.resolve()
    numbers = random.Random(options.seed)
    rows = [("album", Album(build), signal.SIGKILL, 10_000),
            ("album", Album(build), signal.SIGINT, 1_000),
            ("album", Album(build), signal.SIGTERM, 1_000),
            ("window", Save(build), signal.SIGKILL, 1_000)]
    places = {has_unnamed_files(folder): (folder, False) for folder in options.folder}
    places.setdefault(True, (None, False))
    places.setdefault(False, (None, True))
    wrong = 0
    for title, kind, by, count in rows:
        for folder, refused in places.values():
            half = max(int(count * options.scale / 200), 1)
            wrong += try_kind(title, kind, by, half, folder, refused, numbers, build)
    sys.exit(1 if wrong else 0)


main()
