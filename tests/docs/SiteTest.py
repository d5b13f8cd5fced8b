#!/usr/bin/python3
"""The documentation site: its links, its search and its layout in a browser."""

import filecmp
import functools
import html.parser
import http.server
import os
import pathlib
import posixpath
import re
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(SOURCE / "tests/support"))
from browser import Browser

# Attributes whose address a browser loads without a click.
LOADED = {("script", "src"), ("img", "src"), ("iframe", "src"), ("link", "href"), ("source", "srcset"),
          ("video", "src"), ("audio", "src"), ("object", "data"), ("embed", "src")}
# Scripts of the theme load these for features that no page uses: diagrams in Mermaid, and the
# statistics of a repository on a public host.
UNUSED_FEATURES = {"https://unpkg.com/mermaid": 'class="mermaid"',
                   "https://api.github.com/": 'data-md-component="source"'}


class Page(html.parser.HTMLParser):
    """The links of a page, the addresses that a browser loads, and the fragments."""

    def __init__(self, text):
        super().__init__()
        self.links, self.loaded, self.fragments = set(), set(), set()
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag, name) == ("a", "name"):
                self.fragments.add(value)
            elif name in ("href", "src"):
                self.links.add(value)
            if (tag, name) in LOADED:
                self.loaded.add(value)


def build(directory, **environment):
    result = subprocess.run(["mkdocs", "--quiet", "build", "--site-dir", directory], cwd=SOURCE,
                            capture_output=True, text=True, timeout=200, check=False,
                            env={**os.environ, "PYTHONDONTWRITEBYTECODE": "1", **environment})
    assert result.returncode == 0, result.stderr


def setUpModule():
    global site, pages
    scratch = tempfile.TemporaryDirectory(prefix="cc-site-")
    unittest.addModuleCleanup(scratch.cleanup)
    site = pathlib.Path(scratch.name) / "site"
    build(site)
    pages = {path.relative_to(site).as_posix(): Page(path.read_text(encoding="utf-8"))
             for path in site.rglob("*.html")}


def same_files(first, second):
    compared = filecmp.dircmp(first, second)
    _, different, errors = filecmp.cmpfiles(first, second, compared.common_files, shallow=False)
    return not (compared.left_only or compared.right_only or different or errors) and all(
        same_files(first / name, second / name) for name in compared.common_dirs)


class FilesTest(unittest.TestCase):
    def test_every_link_leads_to_a_file_and_a_fragment(self):
        self.assertGreater(len(pages), 300)
        for name, page in pages.items():
            for link in page.links:
                address = urllib.parse.urlsplit(link)
                if address.scheme:
                    continue
                path = urllib.parse.unquote(address.path)
                target = posixpath.normpath(posixpath.join(posixpath.dirname(name), path)) \
                    if path else name
                self.assertTrue((site / target).exists(), f"{name}: {link}")
                # Doxygen lists sections that a page lacks, in a line that is hidden.
                if address.fragment and target in pages and not name.startswith("api/"):
                    fragment = urllib.parse.unquote(address.fragment)
                    self.assertIn(fragment, pages[target].fragments, f"{name}: {link}")

    def test_has_every_manual_page_and_the_C_functions(self):
        for manual in (SOURCE / "docs/man").iterdir():
            self.assertIn(f"man/{manual.name}.html", pages)
        reference = (site / "api/Compliance_8h.html").read_text(encoding="utf-8")
        for function in ("Open", "Progress", "ResultCount", "IndexedValue", "Close"):
            self.assertIn(f"COMPLIANCE_{function}()", reference)

    def test_reference_has_the_comments_of_headers(self):
        for header, pattern in (("data/Numeral.h", r"// (.*)\n#pragma"),
                                ("data/Numeral.h", r"// (The text is inside the object)"),
                                ("compliance/Compliance.h", r"/\* (gather all sites) \*/"),
                                ("compliance/Compliance.h", r"/\* (The agent did not remove .*?) The")):
            comment = re.search(pattern, (SOURCE / header).read_text(encoding="utf-8"))[1]
            name = posixpath.basename(header).replace(".h", "_8h.html")
            texts = [(site / "api" / page).read_text(encoding="utf-8")
                     for page in (name, "class" + name.replace("_8h", "")) if f"api/{page}" in pages]
            self.assertTrue(any(comment in text for text in texts), comment)

    def test_loads_nothing_from_other_hosts(self):
        for name, page in pages.items():
            for address in page.loaded:
                self.assertFalse(urllib.parse.urlsplit(address).netloc, f"{name}: {address}")
        for path in [*site.rglob("*.css"), *site.rglob("*.svg")]:
            text = path.read_text(encoding="utf-8")
            self.assertNotRegex(text, r"""(url\(|@import|href=)\s*["']?(https?:)?//""", path)
        for path in [path for path in site.rglob("*.js") if path.name != "search_index.js"]:
            for address in re.findall(r'"(https?://[^"]+)', path.read_text(encoding="utf-8")):
                features = [mark for prefix, mark in UNUSED_FEATURES.items()
                            if address.startswith(prefix)]
                known = features or address.startswith(("http://www.w3.org/", "http://a"))
                self.assertTrue(known, f"{path}: {address}")
        for name in pages:
            for mark in UNUSED_FEATURES.values():
                self.assertNotIn(mark, (site / name).read_text(encoding="utf-8"), name)

    def test_is_reproducible(self):
        with tempfile.TemporaryDirectory() as other:
            build(pathlib.Path(other) / "site", SOURCE_DATE_EPOCH="1000000000", TZ="Asia/Tokyo")
            self.assertTrue(same_files(site, pathlib.Path(other) / "site"))


class BrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        cls.addClassCleanup(profile.cleanup)
        cls.browser = Browser(profile.name)
        cls.addClassCleanup(cls.browser.close)

    def found(self, start, words):
        """Returns the addresses of the search results."""
        self.browser.open(f"{start}/index.html?q={words}", 1200)
        for _ in range(200):
            links = self.browser.value("[...document.querySelectorAll('.md-search-result__link')]"
                                       ".map(link => link.href.replace(/[?#].*/, '')).join()")
            if links:
                return [link.removeprefix(f"{start}/") for link in links.split(",")]
            time.sleep(0.1)
        return []

    def expect_search(self, start):
        self.assertIn("man/compliance-doctor.1.html", self.found(start, "doctor"))
        self.assertIn("man/COMPLIANCE_IndexedValue.3.html", self.found(start, "indexedvalue"))
        self.assertIn("api/classXMLTreeParserPL.html", self.found(start, "XMLTreeParserPL"))

    def test_search_works_without_a_server(self):
        self.expect_search(site.as_uri())

    def test_search_works_with_a_server(self):
        class Handler(http.server.SimpleHTTPRequestHandler):
            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(
            ("127.0.0.1", 0), functools.partial(Handler, directory=site))
        self.addCleanup(server.server_close)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        self.expect_search(f"http://127.0.0.1:{server.server_port}")

    def test_pages_fit_both_widths(self):
        reference = sorted(name for name in pages if name.startswith("api/"))
        # The pages of the API reference share a few templates, so a fourth of them is enough.
        for name in [*(pages.keys() - reference), *reference[::4]]:
            self.browser.open(site / name, 1200)
            for width in (1200, 380):
                with self.subTest(name=name, width=width):
                    self.browser.resize(width)
                    self.expect_content_within_page(width)

    def test_pages_have_two_color_schemes(self):
        for name in ("index.html", "man/compliance-query.1.html", "performance-figures.html",
                     "api/classNumeral.html"):
            colors = set()
            for scheme in ("light", "dark"):
                self.browser.open(site / name, 380, scheme)
                self.expect_content_within_page(380)
                colors.add(self.browser.value("getComputedStyle(document.body).backgroundColor"))
                # The theme stores the mode of the first visit.
                self.browser.value("localStorage.clear()")
            self.assertEqual(len(colors), 2, name)

    def expect_content_within_page(self, width):
        """Each table, picture and text is within the page, or in an element that scrolls."""
        self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), width)
        outside = self.browser.value("""(() => {
            const scrolls = element => element && (scrolls(element.parentElement)
                || /auto|scroll/.test(getComputedStyle(element).overflowX)
                && element.getBoundingClientRect().right <= innerWidth + 1);
            const content = document.querySelector('.md-content, .contents') || document.body;
            return [...content.querySelectorAll('td, th, img, pre, p, dd, code')]
                .filter(element => element.getBoundingClientRect().right > innerWidth + 1)
                .filter(element => !scrolls(element))
                .map(element => element.outerHTML.slice(0, 100)).join('\\n');
        })()""")
        self.assertEqual(outside, "")

    def test_types_of_functions_do_not_break(self):
        self.browser.open(site / "api/classNumeral.html", 1200)
        lines = self.browser.value("[...document.querySelectorAll('.memItemLeft a')]"
                                   ".map(name => name.getClientRects().length)")
        self.assertIn(1, lines)
        self.assertLessEqual(max(lines), 1)

    def test_names_of_options_in_a_synopsis_do_not_break(self):
        for name in sorted(name for name in pages if name.startswith("man/")):
            self.browser.open(site / name, 380)
            broken = self.browser.value(
                "[...document.querySelectorAll('.manual code.Fl, .manual code.Nm')]"
                ".filter(word => word.getClientRects().length > 1).map(word => word.innerText).join()")
            self.assertEqual(broken, "", name)

    def test_diagrams_are_large_enough_to_read_on_a_phone(self):
        self.browser.open(site / "exchange.html", 380)
        widths = self.browser.value(
            "[...document.querySelectorAll('img[src*=\"diagrams/\"]')].map(image => image.width)")
        self.assertEqual(len(widths), 3)
        for drawing, width in zip(("evaluation", "exchange", "states"), widths):
            svg = (site / f"diagrams/{drawing}.svg").read_text(encoding="utf-8")
            natural = float(re.search(r'viewBox="0\S* 0\S* (\S+)', svg)[1])
            # Text of 11 units then has at least 8.5 pixels.
            self.assertGreater(width / natural * 11, 8.5, drawing)


if __name__ == "__main__":
    unittest.main(verbosity=2)
