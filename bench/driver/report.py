"""Writes what was measured: a table, the same as JSON and as a page of the documentation, and plots."""

import datetime
import json
import os
import platform
import subprocess

import commands
import growth
from reasons import find_reason

HEADER = ("", "dmn", "beside", "", "ratio", "quartiles", "target", "kept")
PACKAGES = ("g++", "libwxbase3.2-1", "golang-go", "golang-github-kardianos-service-dev", "libpoco-dev", "dpkg",
            "libboost-dev", "libglib2.0-dev", "libspdlog-dev", "libbsd-dev")


def write_all(folder, rows, curves, rounds):
    os.makedirs(folder, exist_ok=True)
    write(folder, "results.txt", make_text(rows))
    write(folder, "results.json", make_json(rows, curves))
    write(folder, "results.md", make_page(rows, rounds))
    plot_commands(folder, rows)
    for series, curve in curves.items():
        plot_growth(folder, series, curve)


def write(folder, name, content):
    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
        file.write(content)


def make_cells(row):
    ratio = f"{row.ratio.median:.2f}" if row.ratio else "-"
    spread = f"{row.ratio.low:.2f} to {row.ratio.high:.2f}" if row.ratio and len(row.ratio.samples) > 1 else ""
    kept = {None: "", True: "yes", False: "no"}[row.reached()]
    return (row.what, str(row.ours), row.other_name, str(row.other), ratio, spread, row.target(), kept)


def make_sections(rows):
    sections = {}
    for row in rows:
        sections.setdefault(row.section, []).append(row)
    return sections


def make_text(rows):
    lines = []
    for section, its_rows in make_sections(rows).items():
        cells = [HEADER] + [make_cells(row) for row in its_rows]
        widths = [max(len(line[column]) for line in cells) for column in range(len(HEADER))]
        lines += ["", section] + ["  ".join(map(str.ljust, line, widths)).rstrip() for line in cells]
    return "\n".join(lines + [""])


def make_json(rows, curves):
    growing = {series.name: sorted(curve.items()) for series, curve in curves.items()}
    return json.dumps({"machine": describe_machine(), "rows": [row.as_dict() for row in rows], "growth": growing},
                      indent=1, ensure_ascii=False) + "\n"


def make_page(rows, rounds):
    lines = ["# Results", "", "Written by `scripts/bench`; not to be edited. [Performance](../performance.md) says what "
             "is measured, and how.", ""]
    lines += [f"- {name}: {value}" for name, value in describe_machine().items()]
    lines += [f"- Rounds: {rounds} of all commands", ""]
    for section, its_rows in make_sections(rows).items():
        lines += [f"## {section}", "", make_line(HEADER), "|" + "---|" * len(HEADER)]
        lines += [make_line(make_cells(row)) for row in its_rows] + [""]
    return "\n".join(lines + make_misses(rows))


def make_line(cells):
    return "| " + " | ".join(cells) + " |"


def make_misses(rows):
    """What misses its target, by the reason."""
    reasons = {}
    for row in rows:
        if row.reached() is False:
            reasons.setdefault(find_reason(row), []).append(f"{row.what} (beside {row.other_name})")
    lines = ["## Targets that are not reached", ""]
    for reason, missed in reasons.items():
        lines.append(f"- {', '.join(missed)}: {reason}")
    return lines + ([] if reasons else ["None."]) + [""]


def describe_machine():
    return {"Date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
            "Processor": f"{find_processor()}, {os.cpu_count()} of its processors",
            "Kernel": platform.release(),
            "Versions": ", ".join(f"{name} {find_version(name)}" for name in PACKAGES)}


def find_processor():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    return names[0] if names else platform.machine()


def find_version(package):
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package], stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL, text=True, check=False)
    return found.stdout or "?"


def draw(folder, name, script, size="720,400"):
    head = f"set terminal svg size {size} font 'sans,12' background 'white'\nset output '{folder}/{name}.svg'\n"
    subprocess.run(["gnuplot"], input=head + script, text=True, check=True)


def plot_growth(folder, series, curve):
    points = "\n".join(f"{count} {seconds * 1000}" for count, seconds in sorted(curve.items()))
    draw(folder, series.name, f"""
$points << END
{points}
END
set title '{series.title}'
set xlabel '{series.axis}'
set ylabel 'milliseconds'
set format x '%.0f'
set yrange [0:*]
set key top left
line(x) = slope * x + start
set fit quiet logfile '/dev/null'
fit line(x) $points via slope, start
plot $points with points pointtype 7 title 'measured', line(x) title 'straight line'
""")


def plot_commands(folder, rows):
    """The times of the commands, side by side."""
    times, names = {}, [commands.OURS]
    for row in rows:
        if row.section == commands.SECTION and row.what in commands.STEPS:
            times.setdefault(row.what, {commands.OURS: row.ours.median})[row.other_name] = row.other.median
            if row.other_name not in names:
                names.append(row.other_name)
    lines = [" ".join([f'"{step}"'] + [str(by_name[name] / 1e6) if name in by_name else "NaN" for name in names])
             for step, by_name in times.items()]
    columns = ", ".join(f"$times using {number + 2}:xtic(1) title '{name}'" if number == 0 else
                        f"$times using {number + 2} title '{name}'" for number, name in enumerate(names))
    draw(folder, "commands", "$times << END\n" + "\n".join(lines) + f"""
END
set style data histograms
set style fill solid
set boxwidth 0.9
set logscale y
set ylabel 'milliseconds'
set xtics rotate by 20 right nomirror
set key below
plot {columns}
""", "960,540")
