"""Plots of what was measured, drawn by gnuplot."""

import subprocess

import commands
from steps import STEPS
from subjects import OURS


def draw(folder, name, script, size="720,400"):
    head = f"""
set terminal svg size {size} font 'sans,12' background 'white'
set output '{folder}/{name}.svg'
"""
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


def collect_times(comparisons):
    """The medians of each step in milliseconds, by the subject's name."""
    names_of_steps = {step.name for step in STEPS}
    times = {}
    for comparison in comparisons:
        if comparison.section == commands.SECTION and comparison.what in names_of_steps:
            by_name = times.setdefault(comparison.what, {OURS: comparison.ours.median / 1e6})
            by_name[comparison.other_name] = comparison.other.median / 1e6
    return times


def plot_commands(folder, comparisons):
    """The times of the commands, side by side."""
    times = collect_times(comparisons)
    names = list(dict.fromkeys(name for by_name in times.values() for name in by_name))
    lines = "\n".join(" ".join([f'"{step}"'] + [str(by_name.get(name, "NaN")) for name in names])
                      for step, by_name in times.items())
    columns = ", ".join(f"$times using {number}{':xtic(1)' if number == 2 else ''} title '{name}'"
                        for number, name in enumerate(names, start=2))
    draw(folder, "commands", f"""
$times << END
{lines}
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
