#!/usr/bin/python3
"""Draws each .dot and .msc file of this folder as SVG: docs/diagrams/draw.py

Needs dot and mscgen. A drawing scales with its page, and follows the light or dark mode of the
browser. It contains the SHA-256 sum of its source, which scripts/docs --check compares.
"""

import hashlib
import html
import pathlib
import re
import subprocess

PROGRAMS = {".dot": ["dot", "-Tsvg"], ".msc": ["mscgen", "-T", "svg", "-o", "-", "-i"]}
STYLE = """<style>
svg { color: #24292e; --page: #ffffff; background: var(--page); }
@media (prefers-color-scheme: dark) { svg { color: #dfe2ea; --page: #2e303e; } }
text { font-family: Helvetica, Arial, sans-serif; fill: currentColor; }
text { paint-order: stroke; stroke: var(--page); stroke-width: 3px; }
.msc text:not([text-anchor]) { font-size: 11px; transform: translateY(-5px); }
</style>"""


def checksum(source):
    return hashlib.sha256(source.read_bytes()).hexdigest()


def draw(source):
    command = [*PROGRAMS[source.suffix], source]
    svg = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    view = re.search(r'viewBox="[^"]*"', svg)[0]
    drawing = svg[svg.index(">", svg.index("<svg")) + 1:]
    # Removes titles, which browsers show as tooltips, and backgrounds, which the page has.
    drawing = re.sub(r"(?s)<!--.*?-->\n?|<title>.*?</title>\n?", "", drawing)
    drawing = re.sub(r'<polygon fill="white"[^>]*/>\n', "", drawing)
    drawing = re.sub(r' (id|font-family|textLength)="[^"]*"', "", drawing)
    drawing = re.sub(r'"black"', '"currentColor"', drawing)
    title = html.escape(re.match(r"(?://|#) (.*)", source.read_text(encoding="utf-8"))[1])
    return (f'<svg xmlns="http://www.w3.org/2000/svg" {view} class="{source.suffix[1:]}" role="img">\n'
            f"<!-- SHA-256 of {source.name}: {checksum(source)} -->\n"
            f"<title>{title}</title>\n{STYLE}\n{drawing.strip()}\n")


if __name__ == "__main__":
    for source in pathlib.Path(__file__).parent.iterdir():
        if source.suffix in PROGRAMS:
            source.with_suffix(".svg").write_text(draw(source), encoding="utf-8")
