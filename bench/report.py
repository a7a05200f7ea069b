#!/usr/bin/env python3
"""Makes the table and the plot of docs/ from what `dxr_bench --tabs` printed.

    bench/report.py RESULTS            prints the table
    bench/report.py RESULTS --write    puts it into docs/performance.md, and plots docs/performance.svg

Needs gnuplot for the plot.
"""

import argparse
import pathlib
import subprocess
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/performance.md"
PLOT = ROOT / "docs/performance.svg"
BEGIN = "<!-- bench: begin (by scripts/bench) -->"
END = "<!-- bench: end -->"


@dataclass(frozen=True)
class Row:
    figure: str
    peer: str
    size: float
    ours: float
    peer_ns: float
    ratio: float
    must: float
    goal: float
    verdict: str


def read(path):
    rows = []
    for line in pathlib.Path(path).read_text().splitlines():
        fields = line.split("\t")
        rows.append(Row(*fields[:2], *map(float, fields[2:8]), fields[8]))
    return rows


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown"


def time_text(ns):
    return f"{ns:.1f} ns" if ns < 10_000 else f"{ns / 1000:.1f} µs"


def table(rows):
    lines = [
        "| figure | peer | ours | peer | ratio | must | goal | |",
        "|---|---|--:|--:|--:|--:|--:|---|",
    ]
    for row in rows:
        lines.append(
            f"| {row.figure} | {row.peer} | {time_text(row.ours)} | {time_text(row.peer_ns)} "
            f"| {row.ratio:.2f} | {row.must:g} | {row.goal:g} | {row.verdict} |"
        )
    return "\n".join(lines)


def plot(rows):
    """Cost against size, one curve for what stands before the comma of figures that have sizes."""
    curves = {}
    for row in rows:
        if row.size > 0:
            curves.setdefault(row.figure.split(",")[0], {}).setdefault(row.size, row.ours)
    curves = {name: points for name, points in curves.items() if len(points) > 1}
    data = "\n\n\n".join(
        "\n".join(f"{size:g} {ns:g}" for size, ns in sorted(points.items()))
        for points in curves.values()
    )
    series = ", ".join(
        f"$data index {i} with linespoints title '{name}'" for i, name in enumerate(curves)
    )
    script = f"""
set terminal svg size 900,560 font 'sans,13' background '#ffffff'
set output '{PLOT.relative_to(ROOT)}'
set logscale xy
set xlabel 'size (live entries, records, bytes or elements)'
set ylabel 'time per operation, ns'
set key outside right noenhanced
set grid
$data << EOD
{data}
EOD
plot {series}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True, cwd=ROOT)


def write(rows):
    page = PAGE.read_text()
    before, rest = page.split(BEGIN)
    after = rest.split(END)[1]
    made = f"{BEGIN}\nProcessor: {processor()}.\n\n{table(rows)}\n{END}"
    PAGE.write_text(before + made + after)
    plot(rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("results", help="what dxr_bench --tabs printed")
    parser.add_argument("--write", action="store_true", help="update docs/performance.md and .svg")
    arguments = parser.parse_args()
    rows = read(arguments.results)
    print(table(rows))
    missed = sum(row.verdict == "MISSED" for row in rows)
    print(f"\n{len(rows)} figures, {sum(r.verdict == 'goal' for r in rows)} at their goal, "
          f"{missed} beyond their bound")
    if arguments.write:
        write(rows)


if __name__ == "__main__":
    main()
