"""Hooks of MkDocs: the site has the files that docs/README.md links to, the examples and the API.

Markdown files are pages without changes. mandoc renders the manual pages, and any other file becomes
a page with its text. The lists of docs/README.md are the navigation. The pages of Doxygen are in api/.
"""

import logging
import pathlib
import posixpath
import re
import subprocess
import tempfile
import xml.etree.ElementTree

from mkdocs.exceptions import PluginError
from mkdocs.structure.files import File, Files
from mkdocs.structure.toc import get_toc

ROOT = pathlib.Path(__file__).resolve().parents[2]
INDEX = "docs/README.md"
API = "api/index.html"
BEFORE_API = "COMPLIANCE_Close(3)"
# The files of Doxygen that its pages need. The others are scripts, which the site does not have, and
# pictures for these scripts.
API_FILES = ("api.css", "closed.png")
PICTURES = ("docs/*.svg", "docs/diagrams/*.svg")
# Files of the theme that the site does not load: other languages, the sitemap, source maps.
UNUSED = re.compile(r"assets/javascripts/lunr/|sitemap\.xml|.*\.map$")
# Matches code, which on_page_markdown copies, or a link: its words, its file and its fragment.
LINK = re.compile(r"(?s)```.*?```|`[^`]*`|\[((?:[^][]|\[[^]]*\])*)\]\(([^)\s#:]+)(#[^)\s]*)?\)")

log = logging.getLogger("mkdocs.hooks")


class ProjectFile(File):
    """A file of the project. Files of docs/ are at the top of the site."""

    def __init__(self, path, config):
        super().__init__(path, ROOT, config.site_dir, use_directory_urls=False)

    def is_documentation_page(self):
        return not self.src_uri.endswith(".svg")

    def _get_dest_path(self, use_directory_urls):
        path = self.src_uri.removeprefix("docs/")
        if not self.is_documentation_page():
            return path
        if path == self.src_uri == "README.md":
            # The start page is docs/README.md.
            path = "overview.md"
        return re.sub(r"(^|/)README$", r"\1index", path.removesuffix(".md")) + ".html"


def target_of(page, link):
    """Returns the path of the file that a relative link of a page leads to."""
    path = posixpath.normpath(posixpath.join(posixpath.dirname(page), link))
    return posixpath.join(path, "README.md") if (ROOT / path).is_dir() else path


def on_config(config):
    config.theme.dirs.insert(0, str(ROOT / "docs/site"))
    # No sitemap, because it would need the address of the site.
    config.theme.static_templates.clear()
    config.nav = [{"Start": INDEX}]
    for heading, words, link in re.findall(r"(?m)^## (.*)|^- \[(.*?)\]\(([^)]*)\)",
                                           (ROOT / INDEX).read_text(encoding="utf-8")):
        if heading:
            pages = []
            config.nav.append({heading: pages})
        else:
            pages.append({words: target_of(INDEX, link)})
            if words == BEFORE_API:
                pages.append({"API reference": API})
    return config


def on_pre_build(config):
    """Runs Doxygen in a temporary folder."""
    config.doxygen = tempfile.TemporaryDirectory()
    settings = (f"@INCLUDE = docs/api/Doxyfile\nOUTPUT_DIRECTORY = {config.doxygen.name}\n"
                f"GENERATE_TAGFILE = {config.doxygen.name}/tags.xml\n")
    result = subprocess.run(["doxygen", "-"], cwd=ROOT, check=False, input=settings, encoding="utf-8")
    if result.returncode != 0:
        raise PluginError("Doxygen has warnings or has failed")


def on_files(files, config):
    text = (ROOT / INDEX).read_text(encoding="utf-8")
    names = [INDEX, *(target_of(INDEX, link[1]) for link in LINK.findall(text) if link[1])]
    for pattern in (*PICTURES, "examples/*.*"):
        names += sorted(path.relative_to(ROOT).as_posix() for path in ROOT.glob(pattern))
    theme = [file for file in files if not UNUSED.match(file.src_uri)
             and file.abs_src_path != posixpath.join(config.docs_dir, file.src_uri)]
    api = [File(f"api/{path.name}", config.doxygen.name, config.site_dir, False)
           for path in sorted(pathlib.Path(config.doxygen.name, "api").iterdir())
           if path.suffix == ".html" or path.name in API_FILES]
    return Files([*theme, *api, *(ProjectFile(name, config) for name in dict.fromkeys(names))])


def on_env(env, config, files):
    """Adds the classes and functions of the API reference to the search."""
    index = config.plugins["search"].search_index
    for unit in xml.etree.ElementTree.parse(f"{config.doxygen.name}/tags.xml").iter("compound"):
        if unit.get("kind") in ("class", "struct", "namespace", "file"):
            names = dict.fromkeys(name.text for name in unit.findall("member/name"))
            index._add_entry(unit.find("name").text, " ".join(names),
                             f"api/{unit.find('filename').text}")


def on_page_read_source(page, config):
    path = pathlib.Path(page.file.src_uri)
    if path.suffix == ".md":
        return None
    if path.parent.name == "man":
        return f"# {path.stem}({path.suffix[1:]})\n"
    return f"# {path.name}\n\n~~~~{path.suffix[1:]}\n{(ROOT / path).read_text(encoding='utf-8')}~~~~\n"


def on_page_markdown(markdown, page, config, files):
    """Replaces each link to a file without a page by its words."""
    here = page.file.src_uri

    def relink(match):
        words, link, fragment = match.groups()
        if not link:
            return match.group()
        target = target_of(here, link)
        if target in files:
            target = posixpath.relpath(target, posixpath.dirname(here) or ".")
            return f"[{words}]({target}{fragment or ''})"
        if not (ROOT / target).exists():
            log.warning("%s: the link %s does not lead to a file", here, link)
        return words

    # Python-Markdown nests a list with four spaces only.
    return re.sub(r"(?m)^ {2,3}(?=[-*] |\d+\. )", "    ", LINK.sub(relink, markdown))


def on_page_content(html, page, config, files):
    path = page.file.src_uri
    if not path.startswith("docs/man/"):
        return html
    text = subprocess.run(["mandoc", "-T", "html", "-O", "fragment,man=%N.%S", ROOT / path],
                          check=True, capture_output=True, encoding="utf-8").stdout
    # Removes the title line and the date, and lowers the headings below that of the page.
    text = re.sub(r'(?s)<table class="(head|foot)">.*?</table>', "", text)
    text = re.sub(r"(</?h)([12])\b", lambda tag: tag[1] + str(int(tag[2]) + 1), text)

    def link(match):
        known = f"docs/man/{match[1]}" in files
        return f'<a class="Xr" href="{match[1]}.html">{match[2]}</a>' if known else match[2]

    text = re.sub(r'(?s)<a class="Xr" href="([^"]*)">(.*?)</a>', link, text)
    headings = re.findall(r'(?s)<h([23])[^>]* id="([^"]*)"[^>]*>(.*?)</h\1>', text)
    page.toc = get_toc([{"level": int(level), "id": place, "name": re.sub("<.*?>", "", name),
                         "children": []} for level, place, name in headings])
    return f'{html}<div class="manual">{text}</div>'


def on_post_build(config):
    """Writes the search index as a script, for offline-search.js."""
    index = pathlib.Path(config.site_dir, "search/search_index.json").read_text(encoding="utf-8")
    script = pathlib.Path(config.site_dir, "search/search_index.js")
    script.write_text(f"loadSearchIndex({index});\n", encoding="utf-8")
    config.doxygen.cleanup()
