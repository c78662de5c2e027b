"""Plots of what was measured, drawn by gnuplot. Each can be read without colours and at half its width."""

import math
import subprocess
from dataclasses import dataclass
from fractions import Fraction

import commands
import dmnctl
from comparisons import Comparison
from steps import AWAITING_STEPS
from targets import Target

LINE = 30  # the height of a line of text
GREY = "#707070"
JUDGED = "pointtype 7 pointsize 0.9 linewidth 3 linecolor 'black'"
LOOKED_AT = f"pointtype 6 pointsize 0.9 linewidth 2 linecolor '{GREY}'"
WIDTH = 1200
LEFT, RIGHT = 0.25, 0.98  # where the axis is
LETTER = 10.5  # its width
MOST_TICKS = 12
TITLE = ("How many times as long as ours the others take\\n"
         "Right of the line, ours is faster. Short bars are targets other than the line.\\n"
         "Grey: not judged.")


def draw(folder, name, script, size):
    head = f"""
set encoding utf8
set terminal svg size {size} font 'sans,20' background 'white'
set output '{folder}/{name}.svg'
set linetype cycle 1
"""
    subprocess.run(["gnuplot"], input=head + script, text=True, check=True)


def plot_growth(folder, series, curve):
    """With a straight line through the smaller half of the counts: if the larger ones lie above it, their cost
    has grown faster."""
    points = "\n".join(f"{count} {figure.median / 1e6} {figure.low / 1e6} {figure.high / 1e6}"
                       for count, figure in sorted(curve.items()))
    draw(folder, series.name, f"""
$points << END
{points}
END
set title '{series.title}'
set xlabel '{series.axis}'
set ylabel 'milliseconds'
set format x '%.0f'
set xtics {max(curve) / 5}
set yrange [0:*]
set border 3
set tics nomirror
set key bottom right
line(x) = slope * x + start
set fit quiet logfile '/dev/null'
fit [0:{max(curve) // 2}] line(x) $points using 1:2 via slope, start
plot line(x) with lines dashtype 2 linewidth 2 linecolor '#606060' title 'linear, from the smaller half on', \\
    $points with yerrorbars {JUDGED} title 'measured, with quartiles'
""", "960,560")


def is_judged(comparison):
    return type(comparison.target) is Target


def list_rows(comparisons):
    """The comparisons by what is compared, those that are judged first. Of what is measured in two ways, the
    one that is judged."""
    rows = {}
    names_with_sleeps = [step.name for step in AWAITING_STEPS]
    for comparison in comparisons:
        if comparison.ratio and comparison.what not in names_with_sleeps:
            rows.setdefault(comparison.what, []).append(comparison)
    return {what: sorted(its_comparisons, key=lambda comparison: not is_judged(comparison))
            for what, its_comparisons in rows.items()}


@dataclass(frozen=True)
class Dot:
    """Theirs as a multiple of ours, with quartiles and target, in a line of the plot."""

    comparison: Comparison
    line: int

    def multiple(self):
        return 1 / self.comparison.ratio.median

    def quartiles(self):
        return 1 / self.comparison.ratio.high, 1 / self.comparison.ratio.low

    def target(self):
        return 1 / self.comparison.target.limit if is_judged(self.comparison) else self.multiple()

    def has_name_on_left(self):
        """Where the name does not cross the line at 1."""
        return self.multiple() < 1

    def name_edge(self):
        """Where the name ends on the left of the dot, or begins on its right."""
        choose = min if self.has_name_on_left() else max
        return choose(*self.quartiles(), self.target())

    def draw(self):
        low, high = self.quartiles()
        return f"{self.multiple()} {self.line} {low} {high}\n"

    def draw_name(self):
        name = self.comparison.other_name
        text = f'"{name}  " right' if self.has_name_on_left() else f'"  {name}" left'
        colour = "black" if is_judged(self.comparison) else GREY
        return f"set label {text} at {self.name_edge()}, {self.line} textcolor '{colour}'\n"

    def draw_target(self):
        """A bar, where the target is not the line at 1."""
        if not is_judged(self.comparison) or self.target() == 1:
            return ""
        ends = [f"{self.target()}, {self.line + half}" for half in (-0.45, 0.45)]
        return f"set arrow from {ends[0]} to {ends[1]} nohead front linewidth 4 linecolor 'black'\n"


def make_band(what, first_line, height, is_shaded):
    middle = first_line + (height - 1) / 2
    shade = (f"set object rectangle from screen 0, first {first_line - 0.5} to graph 1, "
             f"first {first_line + height - 0.5} behind fillstyle solid noborder fillcolor '#eeeeee'\n")
    name = what.replace(", ", ",\\n", 1) if height > 1 else what
    return (shade if is_shaded else "") + f'set label "{name}" at screen 0.015, first {middle} left\n'


def find_range(dots):
    """The ends of the axis, so that there is room for the names. Wider ends make each name cover more of it, so this
    comes closer step by step."""
    low, high = (choose(dot.name_edge() for dot in dots) for choose in (min, max))
    for _ in range(20):
        by_letter = (high / low) ** (LETTER / (WIDTH * (RIGHT - LEFT)))
        covered = [(dot, by_letter ** (len(dot.comparison.other_name) + 3)) for dot in dots]
        low = min([1 / by_letter] + [dot.name_edge() / room for dot, room in covered if dot.has_name_on_left()])
        high = max([by_letter] + [dot.name_edge() * room for dot, room in covered if not dot.has_name_on_left()])
    return low, high


def list_ticks(low, high):
    """Halves and doubles, or only some of them, as texts of gnuplot."""
    first, last = math.ceil(math.log2(low)), math.floor(math.log2(high))
    step = (last - first) // MOST_TICKS + 1
    powers = [power for power in range(first, last + 1) if power % step == 0]
    return ", ".join(f'"{Fraction(2) ** power}" {2.0 ** power}' for power in powers)


def plot_ratios(folder, name, comparisons):
    """A band for each thing that is compared, with a line for each of the others. The axis counts in
    doublings, so that half and twice are as far from 1."""
    bands, dots = "", []
    for number, (what, its_comparisons) in enumerate(list_rows(comparisons).items()):
        bands += make_band(what, len(dots), len(its_comparisons), number % 2 == 0)
        for comparison in its_comparisons:
            dots.append(Dot(comparison, len(dots)))
    low, high = find_range(dots)
    draw(folder, name, f"""
$judged << END
{"".join(dot.draw() for dot in dots if is_judged(dot.comparison))}END
$others << END
{"".join(dot.draw() for dot in dots if not is_judged(dot.comparison))}END
set logscale x 2
{bands}
{"".join(dot.draw_name() + dot.draw_target() for dot in dots)}
set title "{TITLE}"
set lmargin screen {LEFT}
set rmargin screen {RIGHT}
set xrange [{low}:{high}]
set yrange [{len(dots) - 0.5}:-0.5]
set border 1
set bars 0.7
unset ytics
unset key
set xtics out nomirror ({list_ticks(low, high)})
set arrow from 1, graph 0 to 1, graph 1 nohead linewidth 2 linecolor 'black'
plot $others using 1:2:3:4 with xerrorbars {LOOKED_AT}, $judged using 1:2:3:4 with xerrorbars {JUDGED}
""", f"{WIDTH},{170 + LINE * len(dots)}")


def plot_all(folder, comparisons):
    for name, section in (("commands", commands.SECTION), ("dmnctl", dmnctl.SECTION)):
        plot_ratios(folder, name, [each for each in comparisons if each.section == section])
