#!/usr/bin/env python3
"""Tells a run of the benchmarks as Markdown tables and as a plot.

usage: report.py RESULTS_FOLDER PLOT.svg

The folder holds the JSON of the programs that ran, NAME.json for bench_NAME. Of
the repetitions of a benchmark the one of least processor time counts. What did
not run is left out; the plot is drawn only when all of it ran.
"""

import json
import sys
from pathlib import Path
from xml.sax.saxutils import escape

SIZE = "6000x4000"

# Title and bars of a group: label, program, benchmark. The first bar of a group
# is the measure that the others are multiples of.
GROUPS = [
    ("Edge buffer", [
        ("copy of the pixels", "edgebuffer", "copy"),
        ("Crayvell, colour photo", "edgebuffer", "edgebuffer/fused"),
        ("OpenCV, approximate, colour photo", "edgebuffer", "edgebuffer/opencv"),
        ("Crayvell, grey photo", "edgebuffer", "edgebuffer/fused-grey"),
        ("OpenCV, approximate, grey photo", "edgebuffer", "edgebuffer/opencv-grey"),
    ]),
    ("Levels", [
        ("memset of the picture", "levels", "fill"),
        ("Crayvell", "levels", "levels/rows"),
    ]),
    ("Blur, 5 taps", [
        ("OpenCV, rounds otherwise", "gaussianblur", "blur/opencv"),
        ("Crayvell, exact", "gaussianblur", "blur/rows"),
    ]),
]
# Too long for bars in the same plot: title, program, benchmark, what it is set
# against and the name of that.
LONG = [
    ("Edge buffer", "edgebuffer", "edgebuffer/fused", "edgebuffer/plain", "plain code"),
    ("Edge buffer", "edgebuffer", "edgebuffer/fused", "edgebuffer/multiversioned",
     "compiler's own vectors"),
    ("Edge buffer, grey photo", "edgebuffer", "edgebuffer/fused-grey",
     "edgebuffer/multiversioned-grey", "compiler's own vectors"),
    ("Levels", "levels", "levels/rows", "levels/plain", "plain code"),
    ("Blur", "gaussianblur", "blur/rows", "blur/plain", "plain code"),
]
SCALES = ["1000x1000", "3000x2000", "6000x4000", "12000x9000"]


def best_times(folder):
    """Context of the run, and milliseconds by program and benchmark."""
    context, times = {}, {}
    for path in sorted(folder.glob("*.json")):
        run = json.loads(path.read_text())
        context = run["context"]
        for result in run["benchmarks"]:
            if result["run_type"] != "iteration" or result.get("error_occurred"):
                continue
            unit = {"ns": 1e-6, "us": 1e-3, "ms": 1, "s": 1e3}[result["time_unit"]]
            # "name/iterations:8/repeats:1" without what follows the colons
            name = "/".join(p for p in result["run_name"].split("/") if ":" not in p)
            key = path.stem, name
            times[key] = min(times.get(key, float("inf")), result["cpu_time"] * unit)
    return context, times


def measured_groups(times):
    """The groups with a time for each bar that was measured."""
    groups = []
    for title, bars in GROUPS:
        known = [(label, times[program, f"{name}/{SIZE}"])
                 for label, program, name in bars if (program, f"{name}/{SIZE}") in times]
        if known:
            groups.append((title, known))
    return groups


def print_times(groups):
    print(f"| {SIZE.replace('x', '×')} pixels, one thread | ms | times the first |")
    print("|---|--:|--:|")
    for title, bars in groups:
        for label, time in bars:
            print(f"| {title}: {label} | {time:.1f} | {time / bars[0][1]:.2f} |")


def print_long(times):
    print("| Set against | ms | times Crayvell |")
    print("|---|--:|--:|")
    for title, program, fast, slow, name in LONG:
        keys = [(program, f"{benchmark}/{SIZE}") for benchmark in (fast, slow)]
        if all(key in times for key in keys):
            print(f"| {title}: {name} | {times[keys[1]]:.0f} "
                  f"| {times[keys[1]] / times[keys[0]]:.1f} |")


def print_scaling(times):
    print("| ns a pixel | 1 MP | 6 MP | 24 MP | 108 MP | 108 MP to 1 MP |")
    print("|---|--:|--:|--:|--:|--:|")
    for title, name in (("Edge buffer", "edgebuffer"), ("Levels", "levels")):
        row = []
        for size in SCALES:
            width, height = map(int, size.split("x"))
            row.append(times["scaling", f"scaling/{name}/{size}"] * 1e6 / (width * height))
        cells = " | ".join(f"{value:.3f}" for value in row)
        print(f"| {title} | {cells} | {row[-1] / row[0]:.2f} |")


STYLE = """
text { font: 13px sans-serif; fill: #1f2328 }
.title { font-size: 16px; font-weight: bold }
.group { font-weight: bold }
.quiet { fill: #59636e }
.measure { fill: #8c959f }
.ours { fill: #2f6f9f }
.other { fill: #c2a878 }
.ground { fill: #ffffff }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 }
  .quiet { fill: #9198a1 }
  .measure { fill: #6e7681 }
  .ours { fill: #58a6d8 }
  .other { fill: #a08a5e }
  .ground { fill: #0d1117 }
}
"""
WIDTH, LEFT, RIGHT, ROW = 760, 270, 136, 26


def kind(label):
    for start, name in (("Crayvell", "ours"), ("OpenCV", "other")):
        if label.startswith(start):
            return name
    return "measure"


def bar(y, label, time, measure, longest, index):
    length = (WIDTH - LEFT - RIGHT) * time / longest
    factor = "" if index == 0 else f'<tspan class="quiet" dx="8">{time / measure:.2f}×</tspan>'
    return (f'<text x="{LEFT - 12}" y="{y + 14}" text-anchor="end">{escape(label)}</text>'
            f'<rect class="{kind(label)}" x="{LEFT}" y="{y}" width="{length:.1f}"'
            f' height="{ROW - 7}" rx="2"/>'
            f'<text x="{LEFT + length + 8:.1f}" y="{y + 14}">{time:.1f} ms{factor}</text>')


def plot(groups, context):
    longest = max(time for _, bars in groups for _, time in bars)
    lines = []
    y = 66
    for title, bars in groups:
        lines.append(f'<text class="group" x="24" y="{y + 14}">{escape(title)}</text>')
        y += ROW
        for index, (label, time) in enumerate(bars):
            lines.append(bar(y, label, time, bars[0][1], longest, index))
            y += ROW
        y += 10
    processor = escape(f'{context["CPU"]}, {context["compiler"]}')
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{y + 10}"'
            f' viewBox="0 0 {WIDTH} {y + 10}" role="img"'
            ' aria-label="Times of the edge buffer, the levels and the blur">')
    caption = [
        f'<rect class="ground" width="{WIDTH}" height="{y + 10}" rx="6"/>',
        '<text class="title" x="24" y="30">A photo of 24 megapixels, one thread</text>',
        f'<text class="quiet" x="24" y="50">milliseconds, shorter is better; {processor}</text>',
    ]
    return "\n".join([head, f"<style>{STYLE}</style>", *caption, *lines, "</svg>", ""])


def main(arguments):
    if len(arguments) != 2 or not Path(arguments[0]).is_dir():
        sys.exit("usage: report.py RESULTS_FOLDER PLOT.svg")
    context, times = best_times(Path(arguments[0]))
    groups = measured_groups(times)
    if not times:
        sys.exit(f"{arguments[0]} holds no results")
    print(f"\n{context['CPU']}, {context['compiler']}, {context['date'][:10]}\n")
    print_times(groups)
    print()
    print_long(times)
    if ("scaling", f"scaling/levels/{SIZE}") in times:
        print()
        print_scaling(times)
    if [len(bars) for _, bars in groups] == [len(bars) for _, bars in GROUPS]:
        Path(arguments[1]).write_text(plot(groups, context))
    else:
        print("\nNot all of the plot's benchmarks ran; it was left as it was.")


if __name__ == "__main__":
    main(sys.argv[1:])
