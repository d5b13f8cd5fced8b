"""The results of scripts/bench as Markdown: a heading and tables for each subject."""

import re

# The name, format and unit of each figure that has a limit.
COUNTERS = {
    "memory_per_byte": ("memory for each byte read", ".2f", " bytes"),
    "wall_over_minimal": ("wall time / that of a minimal program", ".2f", ""),
    "system_calls_before_work": ("system calls before its own work", ".0f", ""),
    "peak_mib": ("peak memory", ".2f", " MiB"),
    "file_mib": ("size", ".2f", " MiB"),
    "processor_ms": ("processor time", ".1f", " ms"),
    "instructions": ("instructions", ",.0f", ""),
    "processor_over_tool": ("processor time / that of the tool", ".2f", ""),
    "memory_over_tool": ("peak memory / that of the tool", ".2f", ""),
}
MATRIX = re.compile(r"Transcode/(stream-)?(utf\d+-utf\d+)-(\w+)")
MET = {None: "", True: "yes", False: "**no**"}


def table(head, rows):
    """Returns the lines of a table. A column is right-aligned if its name ends in a colon."""
    rule = "|".join("--:" if name.endswith(":") else "---" for name in head)
    names = [name.removesuffix(":") for name in head]
    return [f"| {' | '.join(names)} |", f"|{rule}|", *(f"| {' | '.join(row)} |" for row in rows), ""]


def name_of(row):
    return row["operation"].partition("/")[2]


def ratio_cells(row):
    best = " (best)" if row["best"] else ""
    measured = ["not installed", ""]
    if "ratio" in row:
        measured = [f"{row['ratio']:.2f}", f"{row['quartile']:.2f}"]
    goal = "" if row["goal"] is None else f"{row['goal']:g}"
    baseline = f"{row['baseline']}{best}"
    return [name_of(row), row["ours"], baseline, *measured, goal, MET[row.get("met")]]


def limit_cells(row):
    name, form, unit = COUNTERS[row["counter"]]
    value, limit = f"{row['value']:{form}}{unit}", f"{row['limit']:,g}{unit}"
    return [name_of(row), name, value, limit, MET[row["met"]]]


def matrix_cell(row):
    mark = "**" if row["met"] is False else ""
    return f"{mark}{row['ratio']:.2f} ({row['quartile']:.2f}){mark}"


def matrices(rows):
    """Returns tables of conversions and scripts, one for each baseline and mode."""
    cells = {}
    for row in rows:
        stream, pair, script = MATRIX.fullmatch(row["operation"]).groups()
        if not row["best"] and "ratio" in row:
            key = "streams" if stream else "whole texts", row["baseline"]
            cells.setdefault(key, {}).setdefault(pair, {})[script] = matrix_cell(row)
    lines = []
    for (mode, baseline), pairs in sorted(cells.items(), reverse=True):
        scripts = list(next(iter(pairs.values())))
        lines += table([f"{mode}, {baseline}", *(f"{script}:" for script in scripts)],
                       [[pair, *(found.get(script, "") for script in scripts)]
                        for pair, found in pairs.items()])
    return lines


def section(subject, rows):
    lines = [f"### {subject}", ""]
    if subject == "Transcode":
        return lines + matrices(rows)
    ratios = [ratio_cells(row) for row in rows if "limit" not in row]
    limits = [limit_cells(row) for row in rows if "limit" in row]
    if ratios:
        lines += table(["operation", "ours:", "compared with", "ratio:", "lower quartile:", "goal:",
                        "met"], ratios)
    if limits:
        lines += table(["operation", "figure", "value:", "limit:", "met"], limits)
    return lines


def as_markdown(rows):
    subjects = list(dict.fromkeys(row["operation"].partition("/")[0] for row in rows))
    return "\n".join(line for subject in subjects for line in section(
        subject, [row for row in rows if row["operation"].startswith(subject + "/")]))
