#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws what scripts/bench printed as one SVG, and writes the page that shows it.

    bench/plot.py MEASURED SVG PAGE

Each case has a group of bars: ours, the limit and the peers, as multiples of the limit, which is 1 in every group. A line
marks the most that ours may take. A peer whose name begins with "ours" is this project in another way. Cases that are measured in milliseconds over something else come as text only.
"""
import html
import os
import platform
import re
import sys
import time

WIDTH, LABEL, BARS, BAR, GAP = 900, 260, 460, 15, 18
OURS, OURS_TOO, LIMIT, PEER, MARK = "#1f6feb", "#9cc2f5", "#8b949e", "#d0a215", "#cf222e"


class Case:
    def __init__(self, name):
        self.name, self.most, self.times = name, None, []


def number(text):
    return float(text.replace(",", ""))


def grouped(text):
    """With a comma between the thousands of every number."""
    return re.sub(r"\d{4,}", lambda digits: f"{int(digits[0]):,}", text)


def parse(lines):
    """The cases, and the lines that compare no two ways of doing something."""
    cases, others, title = [], [], None
    for line in lines:
        if found := re.match(r"  ours +([\d.]+) ms$", line):
            cases.append(Case(grouped(title)))
            cases[-1].times.append(("this project", number(found[1]), OURS))
        elif found := re.match(r"  limit +([\d.]+) ms .*at most ([\d.]+):", line):
            cases[-1].most = number(found[2])
            cases[-1].times.append(("plain system calls", number(found[1]), LIMIT))
        elif found := re.match(r"  (\S.*?) +([\d.]+) ms +ours / it", line):
            colour = OURS_TOO if found[1].startswith("ours") else PEER
            cases[-1].times.append((found[1], number(found[2]), colour))
        elif re.match(r"[^\s\[].* ms", line):
            others.append(line)
        elif line and not line.startswith(" "):
            title = line
    return [case for case in cases if case.most], others


def text(x, y, words, anchor="start", weight="normal"):
    return (f'<text x="{x}" y="{y}" text-anchor="{anchor}" font-weight="{weight}" fill="currentColor">'
            f"{html.escape(words)}</text>")


def rows(case, scale, y):
    limit = case.times[1][1]
    yield text(10, y + 12, f"{case.name}", weight="bold")
    y += BAR + 6
    mark = LABEL + case.most * scale
    for index, (name, milliseconds, colour) in enumerate(case.times):
        width = milliseconds / limit * scale
        # What ours took is written behind the mark, which would cross it out otherwise.
        end = max(LABEL + width, mark) if index == 0 else LABEL + width
        yield text(LABEL - 8, y + 12, name, anchor="end")
        yield f'<rect x="{LABEL}" y="{y}" width="{width:.1f}" height="{BAR}" fill="{colour}"/>'
        yield text(end + 6, y + 12, f"{milliseconds / limit:.2f} times ({milliseconds:,.1f} ms)")
        if index == 0:
            yield (f'<line x1="{mark:.1f}" y1="{y - 3}" x2="{mark:.1f}" y2="{y + BAR + 3}" stroke="{MARK}" '
                   'stroke-width="2"/>')
        y += BAR + 3


def legend(y):
    x = 10
    for colour, words in [(OURS, "this project"), (OURS_TOO, "this project in another way"),
                          (LIMIT, "plain system calls"), (PEER, "other programs")]:
        yield f'<rect x="{x}" y="{y}" width="{BAR}" height="{BAR}" fill="{colour}"/>'
        yield text(x + BAR + 6, y + 12, words)
        x += BAR + 30 + 7 * len(words)
    yield f'<line x1="{x}" y1="{y - 1}" x2="{x}" y2="{y + BAR + 1}" stroke="{MARK}" stroke-width="2"/>'
    yield text(x + 8, y + 12, "the most allowed")


def drawing(cases):
    parts, y = list(legend(10)), 10 + BAR + GAP
    scale = BARS / max(time / case.times[1][1] for case in cases for _, time, _ in case.times)
    for case in cases:
        parts.extend(rows(case, scale, y))
        y += (BAR + 3) * len(case.times) + BAR + 6 + GAP
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {y}" width="{WIDTH}" height="{y}" '
        f'font-family="sans-serif" font-size="12" color="#24292f">',
        f'<rect width="{WIDTH}" height="{y}" fill="white"/>', *parts, "</svg>", ""])


def ratio(case):
    return case.times[0][1] / case.times[1][1]


def verdict(cases):
    over = [f"{case.name} ({ratio(case):.2f} instead of {case.most:.2f})" for case in cases if ratio(case) > case.most]
    return "Every case held its limit." if not over else f"More than allowed in this run: {'; '.join(over)}."


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        found = re.search(r"model name\s*: (.*)", file.read())
    return found[1] if found else platform.machine()


def page(svg, cases, others):
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    lines = [
        "# Performance", "",
        "Each case compares this project with a small program that does the same work with plain system calls. If other programs",
        "do that work, too, it is also compared with them. Each bar is a multiple of the small program's time. A ratio below 1",
        "means that this project works in a better way, for example with a larger pipe. The red line marks the most that it may",
        "take.", "",
        f"![Running times as multiples of those of plain system calls]({svg})", "",
        f"Measured on {time.strftime('%-d %B %Y')} with {os.cpu_count()} processors ({processor()}), {memory:.0f} GiB, "
        f"Linux {platform.release().split('-')[0]}.",
        verdict(cases),
        "Times change from machine to machine and from hour to hour, so only the ratios of one run can be compared. Draw your",
        "own with `scripts/bench --plot`.", "",
        "| Case | This project | Plain calls | Ratio | At most |", "|---|---|---|---|---|"]
    for case in cases:
        ours, limit = case.times[0][1], case.times[1][1]
        name = case.name.replace("*", r"\*")
        lines.append(f"| {name} | {ours:,.1f} ms | {limit:,.1f} ms | {ratio(case):.2f} | {case.most:.2f} |")
    if others:
        lines += ["", "Administrator rights. Behind the plus sign is what a step takes beyond `pkexec` alone, or beyond `posix_spawn`:", "", "```", *others, "```"]
    return "\n".join([*lines, ""])


def main(measured, svg, target):
    with open(measured, encoding="utf-8") as file:
        cases, others = parse(file.read().splitlines())
    if not cases:
        sys.exit(f"{measured} has no measured case")
    with open(svg, "w", encoding="utf-8") as file:
        file.write(drawing(cases))
    with open(target, "w", encoding="utf-8") as file:
        file.write(page(os.path.relpath(svg, os.path.dirname(target)), cases, others))


main(*sys.argv[1:])
