#!/usr/bin/env python3
"""Runs the tests against each planted fault and tells which of them notice it.

    tests/mutation/run.py [--faults LIST] [--tests REGEX] [--except REGEX] [--build FOLDER]
                          [--results FILE] [--through COMMAND]

FOLDER is the build of a tree that plant.py made. LIST names faults by number, range or
table: 101,110-120,canvas; all unless told. First all tests that are to be used run without
a fault and must pass. What they take is kept, gives the order (the quickest first) and five
times that, but half a minute at least, the time limit; which faults' code they run is kept
too. Then each fault gets those tests of its folder, and of what is near, that run its code,
one after the other, until one fails twice; REGEX takes the place of these. --except leaves
tests out, which has to be said with the result. --through puts a command in front of each
test and build, one that waits for a quiet machine for example.

Several runs may share a build, but for faults without a compiler: these are put into the
tree and the build themselves.

A line for each fault goes to FILE (mutation.txt in the build unless told), and faults that
have one there are not tried again. Prints the rate at the end.
"""

import argparse
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import plant

# Which tests a fault in a table, or in a file that has no compiler, may show in.
TESTS_OF_TABLE = {
    "sketch": "^sketch/",
    "canvas": "^(canvas|examples)/",
    "app": "^app/",
    "examples": "^examples/",
    "photo": "^(photo|app|batch)/",
    "decode": "^(photo|batch)/",
    "encode": "^(photo|batch)/",
    "batch": "^batch/",
    "cli": "^batch/",
    "plugins": "^plugins/",
}
TESTS_OF_FILE = {
    "app/": "^app/",
    "batch/": "^(batch|install)/",
    "cmake/": "^(scripts|install|consumer)/",
    "desktop/": "^(install|app)/",
    "forms/": "^app/",
    "plugins/": "^(plugins|install)/",
    "resources/": "^(resources|app)/",
    "run": "^scripts/",
    "scripts/": "^scripts/",
    "sketch/": "^sketch/",
    "test": "^scripts/",
}
PATIENCE = 5  # times what a test takes
LEAST_SECONDS = 30
FAULT_NUMBERS = 4096  # as plant.py's switch has it


def tests_near(fault):
    if fault.form != "file":
        return TESTS_OF_TABLE[fault.table]
    return next(regex for start, regex in TESTS_OF_FILE.items() if fault.file.startswith(start))


def chosen(faults, wanted):
    if not wanted:
        return faults
    numbers, tables = set(), set()
    for part in wanted.split(","):
        first, _, last = part.partition("-")
        if first.isdigit():
            numbers.update(range(int(first), int(last or first) + 1))
        else:
            tables.add(part)
    return [fault for fault in faults if fault.number in numbers or fault.table in tables]


def end_session(process):
    """Ends whatever a test has started and left."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


class Suite:
    """The tests of a build."""

    def __init__(self, build, through):
        self.build = build
        self.through = through
        listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                                 check=True, capture_output=True, text=True).stdout
        self.names = [test["name"] for test in json.loads(listing)["tests"]]
        self.known_file = build / "mutation-tests.json"
        # By name: seconds, and the numbers of the faults whose code runs (null: of any).
        self.known = {}
        if self.known_file.exists():
            self.known = json.loads(self.known_file.read_text())

    def matching(self, regex, left_out):
        return [name for name in self.names
                if re.search(regex, name) and not (left_out and re.search(left_out, name))]

    def passes(self, name, fault, seconds, reached=None):
        """Whether a test passes within so many seconds (None: is still running), and how
        many it took."""
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        environment.pop("CRAYVELL_FAULT", None)
        if reached:
            environment["CRAYVELL_REACHED"] = str(reached)
        if fault and fault.form != "file":
            environment["CRAYVELL_FAULT"] = str(fault.number)
        process = subprocess.Popen(
            [*self.through, "ctest", "--test-dir", self.build, "-R", f"^{re.escape(name)}$",
             "--timeout", str(round(seconds))], env=environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            text=True, start_new_session=True)
        try:
            output = process.communicate(timeout=seconds + 3600)[0]
        except subprocess.TimeoutExpired:
            output = "***Timeout"
        finally:
            end_session(process)
        if "***Timeout" in output:
            return None, seconds
        taken = re.search(r"([0-9.]+) sec$", output, re.MULTILINE)
        return process.returncode == 0, float(taken.group(1)) if taken else seconds

    def measure(self, names):
        """Runs the tests without a fault; gives those that fail."""
        failed = []
        # Open to everybody: some tests act as an ordinary user.
        folder = pathlib.Path(tempfile.mkdtemp(prefix="mutation-"))
        folder.chmod(0o755)
        reached = folder / "reached"
        for name in names:
            if name in self.known:
                continue
            reached.write_bytes(bytes(FAULT_NUMBERS))
            reached.chmod(0o666)
            passed, seconds = self.passes(name, None, 900, reached)
            numbers = [number for number, byte in enumerate(reached.read_bytes()) if byte]
            if not passed:
                # Not every test lets a program open one more file.
                passed, seconds = self.passes(name, None, 900)
                numbers = None
            if not passed:
                failed.append(name)
                continue
            if self.known_file.exists():  # another run may be at work
                self.known.update(json.loads(self.known_file.read_text()))
            self.known[name] = {"seconds": seconds, "reached": numbers}
            self.known_file.write_text(json.dumps(self.known))
        shutil.rmtree(folder)
        return failed

    def running(self, fault, names):
        """Those tests that run the fault's code, the quickest first."""
        if fault.form != "file":
            names = [name for name in names if self.known[name]["reached"] is None
                     or fault.number in self.known[name]["reached"]]
        return sorted(names, key=lambda name: self.known[name]["seconds"])

    def noticing(self, fault, names):
        """The first test that notices the fault; None for none."""
        for name in self.running(fault, names):
            limit = max(PATIENCE * self.known[name]["seconds"], LEAST_SECONDS)
            passed, _ = self.passes(name, fault, limit)
            while passed is None and not self.passes(name, None, limit)[0] and limit < 3600:
                limit *= 2  # the machine is slow, not the program
                passed, _ = self.passes(name, fault, limit)
            if passed is None:
                return f"{name} (time limit)"
            # A second time: a machine under load may fail a test once.
            if not passed and not self.passes(name, fault, limit)[0]:
                return name
        return None


class InPlace:
    """A fault without a compiler switch, in the tree and its build while it is tried."""

    def __init__(self, fault, suite):
        self.suite = suite
        cache = (suite.build / "CMakeCache.txt").read_text()
        tree = pathlib.Path(re.search(r"CMAKE_HOME_DIRECTORY:INTERNAL=(.*)", cache).group(1))
        self.path = tree / fault.file
        self.former = self.path.read_text()
        if self.former.count(fault.code) != 1:
            sys.exit(f"{fault.number}: {self.path} has the code "
                     f"{self.former.count(fault.code)} times")
        self.faulty = self.former.replace(fault.code, fault.replacement)

    def made(self):
        return subprocess.run([*self.suite.through, "cmake", "--build", self.suite.build],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def __enter__(self):
        self.path.write_text(self.faulty)
        return self.made()

    def __exit__(self, *_):
        self.path.write_text(self.former)
        if not self.made():
            sys.exit(f"{self.path}: cannot be built any more")


def tried(suite, fault, names):
    """What a result file says of a fault."""
    if fault.form == "file":
        with InPlace(fault, suite) as is_built:
            by = suite.noticing(fault, names) if is_built else "the build"
    else:
        by = suite.noticing(fault, names)
    if by:
        return f"noticed by {by}"
    running = len(suite.running(fault, names))
    return f"not noticed; {running} of {len(names)} tests run its code"


def read_results(path):
    if not path.exists():
        return {}
    lines = (line.split(" ", 2) for line in path.read_text().splitlines())
    return {int(number): rest for number, _, rest in lines}


def print_rates(faults, results):
    done = [fault for fault in faults if fault.number in results]
    for table in dict.fromkeys(fault.table for fault in done):
        its = [fault for fault in done if fault.table == table]
        noticed = sum(results[fault.number].startswith("noticed") for fault in its)
        print(f"{table}: {noticed} of {len(its)} noticed")
    noticed = sum(results[fault.number].startswith("noticed") for fault in done)
    print(f"all: {noticed} of {len(done)} noticed, {100 * noticed / max(len(done), 1):.1f} %;"
          f" {len(faults) - len(done)} not tried")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--faults", default="")
    parser.add_argument("--tests", default="")
    parser.add_argument("--except", dest="left_out", default="")
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    parser.add_argument("--results", type=pathlib.Path)
    parser.add_argument("--through", default="")
    options = parser.parse_args()
    os.nice(19)
    # So that a tree that holds a fault gets its former text back.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    build = options.build.resolve()
    suite = Suite(build, options.through.split())
    faults = chosen(plant.read_tables(), options.faults)
    near = {fault.number: suite.matching(options.tests or tests_near(fault), options.left_out)
            for fault in faults}
    failed = suite.measure(sorted(set().union(*near.values())))
    if failed:
        sys.exit(f"fail without a fault: {' '.join(failed)}")
    path = options.results or build / "mutation.txt"
    results = read_results(path)
    for fault in faults:
        if fault.number in results:
            continue
        results[fault.number] = tried(suite, fault, near[fault.number])
        line = f"{fault.number} {fault.table} {results[fault.number]}"
        with path.open("a") as file:
            file.write(line + "\n")
        print(line, flush=True)
    print_rates(faults, results)


main()
