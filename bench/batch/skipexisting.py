#!/usr/bin/env python3
"""Times runs of crayvell-batch that find all of their sketches made.

    bench/batch/skipexisting.py [PROGRAM]

Each run is a new process on a thousand photos. It is set against stat, which looks
at the same photos and sketches and does nothing else: in one round each is run once,
in random order, and the best of all rounds counts.
"""

import os
import random
import subprocess
import sys
import tempfile
import time

PHOTOS = 1000
ROUNDS = 25
BUILT = "build/release/batch/crayvell-batch"
PIXELS = b"P6 8 6 255\n" + bytes(range(144))

NAMES = {
    "short names": lambda i: f"{i}.ppm",
    "long names, in folders": lambda i: f"2023-{i % 12 + 1:02} Spaziergänge an der Küste/"
    f"Urlaub/IMG_20230714_{i:06} (Straße, Kopie).ppm",
}


def milliseconds(command, clocks):
    """The time on the clock and of the processor, kept where it is the best."""
    begin = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, used = os.wait4(child.pid, 0)
    passed = time.perf_counter() - begin
    if status != 0:
        sys.exit(f"{command[:4]} ends with {status}")
    times = (passed * 1e3, (used.ru_utime + used.ru_stime) * 1e3)
    return tuple(map(min, clocks, times)) if clocks else times


def write_photo(path):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as photo:
        photo.write(PIXELS)


def fill(name):
    """A photo alone, and albums with their lists: one keeps its sketches elsewhere."""
    write_photo("alone/a.ppm")
    for album in ("album", "beside"):
        paths = [os.path.join(album, name(i)) for i in range(PHOTOS)]
        for path in paths:
            write_photo(path)
        with open(album + ".txt", "w", encoding="utf-8") as names:
            names.writelines(path + "\n" for path in paths)


def contenders(program):
    skipping = [program, "--skip-existing"]
    listed = ["--keep-folders", "--output-dir", "kept", "--files-from", "album.txt"]
    return {
        "a run on one photo": skipping + ["--output-dir", "one", "alone"],
        "a folder, `--output-dir`": skipping + ["-r", "--output-dir", "out", "album"],
        "`--files-from`, `--output-dir`": skipping + listed,
        "the same with `--json`": skipping + ["--json"] + listed,
        "`--files-from`, beside the photos": skipping + ["--files-from", "beside.txt"],
    }


def measure(program, name):
    fill(name)
    commands = contenders(program)
    for command in commands.values():
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    looked_at = [os.path.join("beside", name(i)) for i in range(PHOTOS)]
    looked_at += [path.replace(".ppm", "-sketch.jpg") for path in looked_at]
    commands["`stat` on photos and sketches"] = ["stat", "--format=%i", "--"] + looked_at
    clocks = {title: None for title in commands}
    for _ in range(ROUNDS):
        for title in random.sample(list(commands), len(commands)):
            clocks[title] = milliseconds(commands[title], clocks[title])
    return clocks


def main():
    program = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else BUILT)
    for title, name in NAMES.items():
        with tempfile.TemporaryDirectory() as folder:
            os.chdir(folder)
            clocks = measure(program, name)
            os.chdir("/")
        print(f"\n| {PHOTOS} photos done, {title} | ms | ms of processor | times stat |")
        print("|---|--:|--:|--:|")
        baseline = list(clocks.values())[-1][1]
        for contender, (passed, used) in clocks.items():
            ratio = used / baseline
            print(f"| {contender} | {passed:.1f} | {used:.1f} | {ratio:.1f} |")


if __name__ == "__main__":
    main()
