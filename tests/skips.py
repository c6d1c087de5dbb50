#!/usr/bin/env python3
"""Counts what a run of ctest has skipped, and says why.

    tests/skips.py BUILD [--preset NAME]

BUILD/tests/reports has what ctest says of the tests (ctest.xml) and, of those whose program
looks at rows, what became of each row. Exit code 1 where a test has passed without the
report that it owes, and, where the environment variable CI is set, for a skip that is not
among those of tests/skips.txt.
"""

import argparse
import fnmatch
import json
import os
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

ALLOWED = pathlib.Path(__file__).with_name("skips.txt")
SET_UP = ("initTestCase", "cleanupTestCase")


def owed(build):
    """The tests that owe a report."""
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                            stdout=subprocess.PIPE)
    return {test["name"] for test in json.loads(listed.stdout)["tests"]
            if any("CRAYVELL_TEST_REPORT=" in str(entry["value"])
                   for entry in test.get("properties", ()))}


def files_of(reports, name):
    """One for each object that the test's program has run."""
    numbered = re.compile(re.escape(pathlib.Path(name).name) + r"(-\d+)?\.xml")
    folder = (reports / name).parent
    return [file for file in folder.glob("*.xml") if numbered.fullmatch(file.name)]


def rows_of(file):
    """(name, reason of its skip or None) of each row; of the set-up where that skips."""
    for case in ElementTree.parse(file).iter("testcase"):
        skipped = case.find("skipped")
        reason = None if skipped is None else skipped.get("message") or skipped.text or ""
        if case.get("name") not in SET_UP or reason is not None:
            yield case.get("name"), reason


def reason_of(case):
    """Of a test's own skip; what it prints says more than its exit code."""
    skipped = case.find("skipped")
    if skipped is None:
        return None
    told = re.search(r"^SKIPPED: (.*)$", case.findtext("system-out") or "", re.MULTILINE)
    return told[1] if told else skipped.get("message", "")


def look(build):
    """(number of rows, [(row, reason)] of those skipped, tests without their report)."""
    reports = build / "tests" / "reports"
    owing = owed(build)
    rows, skips, silent = 0, [], []
    for case in ElementTree.parse(reports / "ctest.xml").iter("testcase"):
        name = case.get("name")
        files = files_of(reports, name) if name in owing else []
        if files:
            found = [row for file in files for row in rows_of(file)]
            rows += len(found)
            skips += [(f"{name}, " + ("all of it" if row in SET_UP else row), reason)
                      for row, reason in found if reason is not None]
            continue
        rows += 1
        reason = reason_of(case)
        if reason is not None:
            skips.append((name, reason))
        elif name in owing and case.get("status") == "run":
            silent.append(name)
    return rows, skips, silent


def allowed(preset):
    """Patterns of the reasons that CI takes."""
    lines = [line.split(" | ") for line in ALLOWED.read_text(encoding="utf-8").splitlines()
             if line and not line.startswith("#")]
    return [pattern for place, pattern, _ in lines if place == preset]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--preset", default="")
    options = parser.parse_args()
    rows, skips, silent = look(options.build.resolve())
    if skips:
        print(f"{len(skips)} of {rows:,} rows {'was' if len(skips) == 1 else 'were'} skipped:")
    else:
        print(f"Of {rows:,} rows none was skipped.")
    for row, reason in skips:
        print(f"  {row}: {reason}")
    for name in silent:
        print(f"FAILED: {name} has passed without a report of its rows")
    patterns = allowed(options.preset)
    refused = [row for row, reason in skips
               if not any(fnmatch.fnmatchcase(reason, pattern) for pattern in patterns)]
    is_refused = os.environ.get("CI") and refused
    if is_refused:
        print(f"FAILED: where CI is set nothing is skipped but what {ALLOWED.name} lists: "
              f"{', '.join(refused)}")
    return 1 if silent or is_refused else 0


sys.exit(main())
