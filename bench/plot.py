"""Draws the ratios of scripts/bench: a bar for each ratio, with a mark for its goal."""

import html
import math

ROW = 22
LEFT = 330
WIDTH = 560
MET, MISSED, PLAIN = "#2f7d4f", "#b8442e", "#5b7083"


def text(x, y, words, anchor="start", color="#222"):
    place = f'x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{color}"'
    return f"<text {place}>{html.escape(words)}</text>"


def bar(left, right, top, color):
    size = f'width="{right - left:.1f}" height="13"'
    return f'<rect x="{left:.1f}" y="{top}" {size} fill="{color}"/>'


def line(x, top, bottom, color, width):
    return f'<path d="M{x:.1f} {top}V{bottom}" stroke="{color}" stroke-width="{width}"/>'


def ratios_as_svg(rows):
    """Uses a logarithmic scale, because ratios of 1/2 and 2 are equally far from 1."""
    shown = [row for row in rows if "ratio" in row]
    values = [row["ratio"] for row in shown] + [row["goal"] for row in shown if row["goal"]] + [1.0]
    low = math.floor(math.log2(min(values)))
    high = max(low + 1, math.ceil(math.log2(max(values))))

    def place(ratio):
        return LEFT + WIDTH * (math.log2(ratio) - low) / (high - low)

    bottom = 30 + ROW * len(shown)
    parts = []
    for power in range(low, high + 1):
        x = place(2.0 ** power)
        parts.append(line(x, 24, bottom, "#999" if power == 0 else "#e2e2e2", 1))
        parts.append(text(x, 18, f"{2.0 ** power:g}", "middle", "#666"))
    for index, row in enumerate(shown):
        top = 30 + ROW * index
        color = {None: PLAIN, True: MET, False: MISSED}[row["met"]]
        left, right = sorted((place(1.0), place(row["ratio"])))
        parts.append(text(LEFT - 8, top + 14, f"{row['operation']} : {row['baseline']}", "end"))
        parts.append(bar(left, right, top + 4, color))
        end = max(right, place(row["goal"] or 1.0)) + 6
        parts.append(text(end, top + 14, f"{row['ratio']:.2f}"))
        if row["goal"]:
            parts.append(line(place(row["goal"]), top + 1, top + 20, "#000", 2))
    foot = ("Processor time of the baseline / ours, median of the rounds, logarithmic. "
            "Black mark: the goal.")
    parts.append(text(LEFT, bottom + 18, foot, color="#666"))
    size = f'width="{LEFT + WIDTH + 60}" height="{bottom + 28}"'
    font = 'font-family="sans-serif" font-size="12"'
    return (f'<svg xmlns="http://www.w3.org/2000/svg" {size} {font}>\n'
            '<rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")
