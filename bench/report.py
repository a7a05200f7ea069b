#!/usr/bin/env python3
"""Makes the tables and pictures of docs/performance.md from what the benchmarks printed.

    bench/report.py FIGURES MEMORY            prints the tables
    bench/report.py FIGURES MEMORY --write    puts them into docs/performance.md, and draws
                                              docs/ratios.svg and docs/performance.svg

FIGURES is the output of `dxr_bench --tabs`, MEMORY that of `dxr_memory`. The pictures need gnuplot.
"""

import argparse
import itertools
import pathlib
import subprocess
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/performance.md"
RATIOS = ROOT / "docs/ratios.svg"
COSTS = ROOT / "docs/performance.svg"
WIDTH = 800  # of the pictures, as wide as a README shows them
# AND and XOR cost what OR costs.
NOT_DRAWN = ("DXR_AndBmp", "DXR_XorBmp")


@dataclass(frozen=True)
class Row:
    section: str
    figure: str
    peer: str
    size: float
    ours: float
    peer_ns: float
    ratio: float
    must: float
    goal: float
    verdict: str
    floor: str
    floor_ns: float

    @property
    def function(self):
        return self.figure.partition(",")[0]


@dataclass(frozen=True)
class Memory:
    component: str
    at_rest: int
    at_largest: int
    largest: str
    peer: str
    peer_at_rest: int
    peer_at_largest: int


def lines_of(path):
    return [line.split("\t") for line in pathlib.Path(path).read_text().splitlines()]


def read_figures(path):
    return [Row(*f[:3], *map(float, f[3:9]), f[9], f[10], float(f[11])) for f in lines_of(path)]


def read_memory(path):
    return [Memory(f[0], int(f[1]), int(f[2]), f[3], f[4], int(f[5]), int(f[6]))
            for f in lines_of(path)]


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown"


# ---- Tables


def time_text(ns):
    if ns < 10_000:
        return f"{ns:.1f} ns"
    return f"{ns / 1000:.1f} µs" if ns < 10_000_000 else f"{ns / 1e6:.0f} ms"


def bytes_text(count):
    return f"{count:,}".replace(",", " ")


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio >= 0.1 else f"{ratio:.3f}"


def figure_tables(rows):
    lines = []
    for section, members in itertools.groupby(rows, key=lambda row: row.section):
        lines += [
            "",
            f"### {section}",
            "",
            "| figure | peer | ours | peer | ratio | must | goal | |",
            "|---|---|--:|--:|--:|--:|--:|---|",
        ]
        for row in members:
            lines.append(
                f"| {row.figure} | {row.peer} | {time_text(row.ours)} | {time_text(row.peer_ns)} "
                f"| {ratio_text(row.ratio)} | {row.must:g} | {row.goal:g} | {row.verdict} |"
            )
    return "\n".join(lines[1:])


def floor_table(rows):
    """What is left of the figures short of their goal, where that is measured."""
    lines = [
        "| figure | ours | must pay for | at least | left |",
        "|---|--:|---|--:|--:|",
    ]
    for row in rows:
        if row.floor and row.verdict != "goal":
            lines.append(
                f"| {row.figure} | {time_text(row.ours)} | {row.floor} | {time_text(row.floor_ns)} "
                f"| {time_text(max(row.ours - row.floor_ns, 0))} |"
            )
    return "\n".join(lines)


def memory_table(rows):
    lines = [
        "| component | at rest | at its largest | which is | peer | at rest | at its largest |",
        "|---|--:|--:|---|---|--:|--:|",
    ]
    for row in rows:
        lines.append(
            f"| {row.component} | {bytes_text(row.at_rest)} | {bytes_text(row.at_largest)} "
            f"| {row.largest} | {row.peer} | {bytes_text(row.peer_at_rest)} "
            f"| {bytes_text(row.peer_at_largest)} |"
        )
    return "\n".join(lines)


def summary(rows):
    at_goal = sum(row.verdict == "goal" for row in rows)
    missed = sum(row.verdict == "MISSED" for row in rows)
    return f"{len(rows)} figures: {at_goal} at their goal, {missed} beyond their bound."


# ---- Pictures


def run_gnuplot(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True, cwd=ROOT)


def quoted(text):
    return "'" + text.replace("'", "''") + "'"


def tic(text, place):
    return f"{quoted(text.replace('%', '%%'))} {place:g}"  # labels of tics are formats


def decades(units):
    """Tics at the powers of ten, named 1, 10, 100 and on with these units."""
    numbers = [f"{10 ** (n % 3)} {units[n // 3]}".strip() for n in range(3 * len(units))]
    return ", ".join(tic(number, 10 ** n) for n, number in enumerate(numbers))


def name_of_group(rows):
    """One name for figures of one function: from the first to the last of them."""
    if len(rows) == 1:
        return rows[0].figure.removeprefix("DXR_")
    first, last = (row.figure.partition(", ")[2].split() for row in (rows[0], rows[-1]))
    if "of" in first:
        first, last = first[-1:], [last[-1], "live"]
    if len(first) > 1 and first[-1].rstrip("s") == last[-1].rstrip("s"):
        first.pop()
    return f"{rows[0].function.removeprefix('DXR_')}, {' '.join(first)} to {' '.join(last)}"


def draw_ratios(rows):
    """All ratios, a line for each function, peer, must and goal."""
    groups = {}
    for row in rows:
        groups.setdefault((row.function if row.size else row.figure, row.peer, row.must, row.goal),
                          []).append(row)
    groups = list(groups.values())
    dots, musts, goals, names, peers = [], [], [], [], []
    for line, members in enumerate(groups):
        y = len(groups) - line
        dots += [f"{row.ratio:g} {y}" for row in members]
        musts.append(f"{members[0].must:g} {y}")
        goals.append(f"{members[0].goal:g} {y}")
        names.append(tic(name_of_group(members), y))
        peers.append(tic(members[0].peer, y))
    ratios = [row.ratio for row in rows]
    height = len(groups) * 17 + 80
    legend = f"at screen 0.5375,{1 - 16 / height:.4f} center"
    reading = f"at screen 0.5375,{1 - 32 / height:.4f} center"
    run_gnuplot(f"""
set terminal svg size {WIDTH},{height} font 'sans,11' background '#ffffff'
set output {quoted(str(RATIOS.relative_to(ROOT)))}
set encoding utf8
set lmargin at screen 0.375
set rmargin at screen 0.70
set tmargin at screen {1 - 50 / height:.4f}
set bmargin at screen {24 / height:.4f}
set logscale x
set xrange [{min(ratios) * 0.8:g}:{max(4, max(ratios) * 1.25):g}]
set xtics (0.01, 0.03, 0.1, 0.3, '1' 1.0, 3, 10) mirror
set yrange [0.2:{len(groups) + 0.8}]
set ytics ({', '.join(names)}) noenhanced nomirror scale 0 font ',10'
set link y2
set y2tics ({', '.join(peers)}) noenhanced nomirror scale 0 font ',10'
set label 1 'ours / peer:  ● measured   □ goal   ┃ must' {legend}
set label 2 'left of the line at 1 the library is faster' {reading}
unset key
set grid xtics ytics lc rgb '#d8d8d8' lt 1 lw 0.5
set arrow from 1,graph 0 to 1,graph 1 nohead lw 1.6 lc rgb '#000000' front
$musts << EOD
{chr(10).join(musts)}
EOD
$goals << EOD
{chr(10).join(goals)}
EOD
$dots << EOD
{chr(10).join(dots)}
EOD
set style line 1 lc rgb '#000000' pt 7 ps 0.5
plot $musts using 1:($2 - 0.36):(0):(0.72) with vectors nohead lw 2.4 lc rgb '#808080', \\
     $goals with points pt 4 ps 0.7 lw 1.2 lc rgb '#606060', \\
     $dots with points ls 1
""")


def size_name(function):
    if "LogFilter" in function:
        return "lines in the ring"
    if "RecordInfo" in function:
        return "texts recorded"
    return "elements" if "Sort" in function else "bytes"


def draw_costs(rows):
    """Cost against size: a panel for each function, with each peer dashed beside it."""
    panels = {}
    for row in rows:
        if row.size > 0 and row.function not in NOT_DRAWN and not row.peer.startswith("newest of"):
            panels.setdefault(row.function, []).append(row)
    panels = {f: members for f, members in panels.items() if len({r.size for r in members}) > 1}
    columns = 2
    lines = -(-len(panels) // columns)
    script = [f"""
set terminal svg size {WIDTH},{lines * 200} font 'sans,11' background '#ffffff'
set output {quoted(str(COSTS.relative_to(ROOT)))}
set encoding utf8
set multiplot layout {lines},{columns}
set logscale x
set xtics ({decades(['', 'k', 'M'])})
set grid lc rgb '#d8d8d8' lt 1 lw 0.5
set key top left reverse Left noenhanced samplen 3 spacing 1.0 font ',10'
set lmargin 9
set rmargin 3
set tmargin 1.8
set bmargin 3.4
"""]
    for function, members in panels.items():
        curves = {"ours": {}}
        for row in members:  # of several at one size the last, which is the random one
            curves["ours"][row.size] = row.ours
            curves.setdefault(row.peer, {})[row.size] = row.peer_ns
        values = [ns for points in curves.values() for ns in points.values()]
        sizes = [size for points in curves.values() for size in points]
        # Above the curves is room for the key. Costs that hardly differ stand on an axis from 0.
        if max(values) < 10 * min(values):
            script.append("unset logscale y; set ytics autofreq; set format y '%g ns'")
            low, high = 0, max(values) * (1.15 + 0.17 * len(curves))
        else:
            script.append(f"set logscale y; set ytics ({decades(['ns', 'µs', 'ms'])})")
            low, high = min(values) / 1.6, max(values)
            high *= (high / low) ** (0.15 * len(curves)) * 1.3
        script.append(f"set title {quoted(function)} noenhanced offset 0,-0.6 font ',12'")
        script.append(f"set xlabel {quoted(size_name(function))} offset 0,0.6")
        script.append(f"set xrange [{min(sizes) / 1.5:g}:{max(sizes) * 1.5:g}]")
        script.append(f"set yrange [{low:g}:{high:g}]")
        plots = []
        for number, (name, points) in enumerate(curves.items()):
            data = "\n".join(f"{size:g} {ns:g}" for size, ns in sorted(points.items()))
            script.append(f"$curve{number} << EOD\n{data}\nEOD")
            style = "lw 2 lc rgb '#000000' dt 1 pt 7 ps 0.5"
            if number > 0:
                point = (6, 4, 8, 10)[number - 1]
                style = f"lw 1.5 lc rgb '#505050' dt {1 + number} pt {point} ps 0.6"
            plots.append(f"$curve{number} with linespoints {style} title {quoted(name)}")
        script.append("plot " + ", ".join(plots))
    script.append("unset multiplot")
    run_gnuplot("\n".join(script) + "\n")


# ---- The page


def put(page, name, made):
    begin = f"<!-- {name}: begin (by scripts/bench) -->"
    end = f"<!-- {name}: end -->"
    before, rest = page.split(begin)
    return f"{before}{begin}\n{made}\n{end}{rest.split(end)[1]}"


def write(rows, memory):
    page = PAGE.read_text()
    figures = f"Processor: {processor()}. {summary(rows)}\n\n{figure_tables(rows)}"
    page = put(page, "figures", figures)
    page = put(page, "floors", floor_table(rows))
    page = put(page, "memory", memory_table(memory))
    PAGE.write_text(page)
    draw_ratios(rows)
    draw_costs(rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("figures", help="what dxr_bench --tabs printed")
    parser.add_argument("memory", help="what dxr_memory printed")
    parser.add_argument("--write", action="store_true",
                        help="renew docs/performance.md and pictures")
    arguments = parser.parse_args()
    rows = read_figures(arguments.figures)
    memory = read_memory(arguments.memory)
    print(f"{figure_tables(rows)}\n\n{floor_table(rows)}\n\n{memory_table(memory)}\n\n"
          f"{summary(rows)}")
    if arguments.write:
        write(rows, memory)


if __name__ == "__main__":
    main()
