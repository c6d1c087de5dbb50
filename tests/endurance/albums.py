#!/usr/bin/env python3
"""Large albums: time and memory grow with the number of photos, and no faster.

    tests/endurance/albums.py [--photos N] [--names N] [--build FOLDER] [--folder FOLDER]

Makes the sketches of N tiny photos (100,000 unless said), of a tenth and of a hundredth of
them, and plans N names (1,000,000) and the same parts of them. A table with the processor's
seconds, the seconds on the clock and the peak of memory; exit code 1 where a photo of the
largest run takes half as much again as one of the middle run, where memory grows faster
than the names, or where the plan of a million takes 1 GB or 60 s. Takes about 1 GB below
--folder (the system's temporary folder), which is given back.
"""

import argparse
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
IN_A_FOLDER = 1000
SLOWER = 1.5
LARGER = 1.5
NOISE_KB = 8192


def run(command, folder):
    """(processor seconds, seconds, peak kB) of a run that succeeds."""
    begin = time.perf_counter()
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit code {process.returncode}")
    return usage.ru_utime + usage.ru_stime, time.perf_counter() - begin, usage.ru_maxrss


def names(begin, end):
    """One after the other: what this script held would count for the programs it starts."""
    return (f"{i // IN_A_FOLDER:04}/{i % IN_A_FOLDER:03}.jpg" for i in range(begin, end))


def write_list(folder, count):
    with open(folder / "list", "w", encoding="ascii") as file:
        file.writelines(f"{name}\n" for name in names(0, count))


def make_photos(folder, build, count):
    seeds = folder / "seeds"
    subprocess.run([build / "tests/fuzz/crayvell_fuzzseeds", seeds], check=True)
    photo = (seeds / "album" / "colour.jpeg").read_bytes()
    shutil.rmtree(seeds)
    for name in names(0, count):
        path = folder / name
        if name.endswith("/000.jpg"):
            path.parent.mkdir()
        path.write_bytes(photo)


def sketch(folder, program, count):
    write_list(folder, count)
    figures = run([program, "-q", "-j1", "--files-from", "list", "--keep-folders",
                   "--output-dir", "out"], folder)
    made = sum(len(files) for _, _, files in os.walk(folder / "out"))
    if made != count:
        sys.exit(f"{made} sketches of {count} photos")
    shutil.rmtree(folder / "out")
    return figures


def plan(folder, program, count):
    write_list(folder, count)
    return run([program, "-q", "--dry-run", "--files-from", "list", "--keep-folders",
                "--output-dir", "out"], folder)


def row(title, count, figures):
    print(f"{title:<7} {count:>9,} {figures[0]:>9.2f} {figures[1]:>9.2f} "
          f"{figures[2] / 1024:>8.0f} {1e6 * figures[0] / count:>9.1f}", flush=True)


def faults(title, parts):
    """Of runs of more and more photos: {count: figures}."""
    (_, small), (count, middle), (most, largest) = parts.items()
    if largest[0] / most > SLOWER * middle[0] / count:
        yield f"{title}: a photo of {most:,} takes longer than one of {count:,}"
    if largest[2] - middle[2] > LARGER * 10 * max(middle[2] - small[2], 0) + NOISE_KB + most // 8:
        yield f"{title}: memory grows faster than {count:,} to {most:,}"
    if title == "plan" and most >= 1_000_000:
        if largest[1] >= 60 or largest[2] >= 1 << 20:
            yield "the plan of a million names takes 60 s or 1 GB"


def try_all(folder, program, build, photos, planned):
    print("what       photos processor     clock  peak MB  us/photo")
    make_photos(folder, build, photos)
    found = []
    for title, most, make in (("album", photos, sketch), ("plan", planned, plan)):
        if title == "plan":
            make_empty(folder, photos, planned)
        parts = {}
        for count in (most // 100, most // 10, most):
            parts[count] = make(folder, program, count)
            row(title, count, parts[count])
        found += faults(title, parts)
    return found


def make_empty(folder, begin, end):
    """The names that no photo has yet: files without content, which a plan does not open."""
    for name in names(begin, end):
        path = folder / name
        path.parent.mkdir(exist_ok=True)
        path.touch()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--photos", type=int, default=100_000)
    parser.add_argument("--names", type=int, default=1_000_000)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--folder", type=pathlib.Path)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    options = parser.parse_args()
    build = options.build.resolve()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="albums-", dir=options.folder))
    try:
        found = try_all(folder, build / "batch/crayvell-batch", build, options.photos,
                        options.names)
    finally:
        shutil.rmtree(folder)
    for fault in found:
        print("FAILED:", fault)
    sys.exit(1 if found else 0)


main()
