#!/usr/bin/env python3
"""Copies the sources and plants the faults of the tables in the copy.

    tests/mutation/plant.py [--check] TREE

TREE must not exist or be an earlier copy; it receives every file that git knows, with
all faults of tests/mutation/faults/*.txt in the C++ sources, each behind a switch:

    CRAYVELL_FAULT=101 ...

With the variable unset, every program does exactly what the sources say. Built once, the
copy holds all faults. CRAYVELL_REACHED names a file of 4096 bytes in which the byte of each
fault is set whose code runs, planted or not. Prints the snippets that do not stand in
their file exactly once, or that overlap, and fails with them.

A table lists, for each fault, its number, file, form and kind, a sentence about what was
done wrong, the code and what replaces it:

    fault NUMBER FILE FORM KIND
    Sentence.
    <<<<
    code
    ====
    replacement
    >>>>

FORM is expr (both are expressions), stmt (both are statements; the replacement may be
empty), text (the replacement says where the switch stands: PLANTED) or file (no C++:
run.py replaces the text in the copy and builds what depends on it).
"""

import argparse
import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parent.parent

# In every changed file itself: an included header would have to be known to each target
# and to the rules about includes.
SWITCH = """\
#ifndef CRAYVELL_PLANTED
#define CRAYVELL_PLANTED
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#pragma GCC diagnostic ignored "-Wunused-variable"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-value"
#pragma GCC diagnostic ignored "-Wunused-result"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wempty-body"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wmisleading-indentation"
#pragma GCC diagnostic ignored "-Wpedantic"
struct PlantedSwitch
{
    int chosen;
    char *reached;
};
[[gnu::cold]] inline PlantedSwitch readPlantedSwitch() noexcept
{
    const char *const number = std::getenv("CRAYVELL_FAULT");
    PlantedSwitch found {number ? std::atoi(number) : 0, nullptr};
    const char *const name = std::getenv("CRAYVELL_REACHED");
    const int file = name ? ::open(name, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return found;
    void *const bytes = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (bytes != MAP_FAILED)
        found.reached = static_cast<char *>(bytes);
    ::close(file);
    return found;
}
inline bool planted(int number) noexcept
{
    static const PlantedSwitch plantedSwitch = readPlantedSwitch();
    if (plantedSwitch.reached) [[unlikely]]
        plantedSwitch.reached[number] = 1;
    return plantedSwitch.chosen == number;
}
#endif
#line 1
"""


@dataclasses.dataclass
class Fault:
    number: int
    file: str
    form: str
    kind: str
    sentence: str
    code: str
    replacement: str
    table: str

    def planted(self):
        switch = f"::planted({self.number})"
        if self.form == "expr":
            return f"({switch} ? ({self.replacement}) : ({self.code}))"
        if self.form == "stmt":
            return f"{{ if ({switch}) {{ {self.replacement}\n}} else {{ {self.code}\n}} }}"
        return self.replacement.replace("PLANTED", switch)


ROW = re.compile(r"fault (\d+) (\S+) (expr|stmt|text|file) (\S+)\n(.*?)\n"
                 r"<<<<\n(.*?)\n====\n(?:(.*?)\n)??>>>>\n", re.DOTALL)


def read_tables():
    faults = []
    for table in sorted((HERE / "faults").glob("*.txt")):
        text = table.read_text()
        end = 0
        for match in ROW.finditer(text):
            if text[end:match.start()].strip():
                sys.exit(f"{table}: cannot be read: {text[end:match.start()][:200]}")
            end = match.end()
            number, file, form, kind, sentence, code, replacement = match.groups()
            faults.append(Fault(int(number), file, form, kind, sentence, code,
                                replacement or "", table.stem))
        if text[end:].strip():
            sys.exit(f"{table}: cannot be read: {text[end:][:200]}")
    numbers = [fault.number for fault in faults]
    for number in {number for number in numbers if numbers.count(number) > 1}:
        sys.exit(f"two faults have the number {number}")
    return faults


def find(text, fault):
    """Where the code stands; complains and gives -1 where it does not stand once."""
    count = text.count(fault.code)
    if count != 1:
        print(f"{fault.table} {fault.number}: {fault.file} has the code {count} times")
        return -1
    return text.index(fault.code)


def rewritten(text, faults):
    """The text with all its faults, and how many of them were wrong."""
    places = [(find(text, fault), fault) for fault in faults]
    wrong = sum(1 for at, _ in places if at < 0)
    places = sorted((place for place in places if place[0] >= 0), key=lambda place: place[0])
    end = 0
    lines = set()
    result = SWITCH
    for at, fault in places:
        line = text.count("\n", 0, at)
        if at < end or line in lines:
            print(f"{fault.table} {fault.number}: shares code or a line with another fault")
            wrong += 1
            continue
        lines.add(line)
        result += text[end:at] + fault.planted()
        end = at + len(fault.code)
    return result + text[end:], wrong


def copy_sources(tree):
    """Files that have not changed keep their times, for the next build."""
    names = subprocess.run(["git", "ls-files", "-z"], cwd=TOP, check=True,
                           capture_output=True, text=True).stdout.split("\0")
    for name in filter(None, names):
        source, copy = TOP / name, tree / name
        if not source.exists():
            continue
        copy.parent.mkdir(parents=True, exist_ok=True)
        if not copy.exists() or copy.read_bytes() != source.read_bytes():
            shutil.copy2(source, copy)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tree", type=pathlib.Path)
    parser.add_argument("--check", action="store_true", help="only look whether the tables fit")
    options = parser.parse_args()
    faults = read_tables()
    by_file = {}
    for fault in faults:
        by_file.setdefault(fault.file, []).append(fault)
    wrong = 0
    contents = {}
    for name, its in by_file.items():
        text = (TOP / name).read_text()
        compiled = [fault for fault in its if fault.form != "file"]
        wrong += sum(1 for fault in its if fault.form == "file" and find(text, fault) < 0)
        if compiled:
            contents[name], more = rewritten(text, compiled)
            wrong += more
    if not options.check:
        earlier = {name: (options.tree / name).read_text() for name in contents
                   if (options.tree / name).exists()}
        times = {name: (options.tree / name).stat().st_mtime_ns for name in earlier}
        copy_sources(options.tree)
        for name, content in contents.items():
            (options.tree / name).write_text(content)
            if earlier.get(name) == content:
                os.utime(options.tree / name, ns=(times[name], times[name]))
    forms = {form: sum(1 for fault in faults if fault.form == form)
             for form in ("expr", "stmt", "text", "file")}
    print(f"{len(faults)} faults ({', '.join(f'{n} {form}' for form, n in forms.items())}),"
          f" {wrong} wrong")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
