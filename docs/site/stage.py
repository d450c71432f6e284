"""Lays the documents out for Sphinx: stage.py FOLDER

The documents lie where readers of the tree look for them, in docs/, beside the bindings and at the root. Here they
become pages of one site: links between them are made to fit, names of functions become links to the reference, and
files of the tree that a document points to become pages that show them. The reference is made from the header, the
charts from the benchmark's figures.
"""

import posixpath
import re
import shutil
import sys
from pathlib import Path

import figures
import reference
import zel_header

ROOT = Path(__file__).resolve().parents[2]

# page of the site: file of the tree
PAGES = {
    "index": "docs/site/index.md",
    "start": "docs/start.md",
    "guide/index": "docs/guide/README.md",
    "guide/find_pens": "docs/guide/find_pens.md",
    "guide/fetch_pages": "docs/guide/fetch_pages.md",
    "guide/errors": "docs/guide/errors.md",
    "guide/settings": "docs/guide/settings.md",
    "guide/locks_and_keys": "docs/guide/locks_and_keys.md",
    "guide/firmware": "docs/guide/firmware.md",
    "guide/tests_without_a_pen": "docs/guide/tests_without_a_pen.md",
    "guide/threads": "docs/guide/threads.md",
    "page_data": "docs/page_data.md",
    "troubleshooting": "docs/troubleshooting.md",
    "speed": "docs/speed.md",
    "protocols": "docs/protocols.md",
    "penctl": "docs/penctl.md",
    "pensim": "docs/pensim.md",
    "wireshark": "docs/wireshark.md",
    "cpp": "docs/cpp.md",
    "python": "bindings/python/README.md",
    "csharp": "bindings/dotnet/README.md",
    "goals": "docs/goals.md",
    "building": "docs/building.md",
    "architecture": "docs/architecture.md",
    "glossary": "docs/glossary.md",
    "recipes": "docs/recipes.md",
    "testing": "docs/testing.md",
    "fuzzing": "docs/fuzzing.md",
    "benchmarks": "docs/benchmarks.md",
    "contributing": "CONTRIBUTING.md",
    "security": "SECURITY.md",
    "changelog": "CHANGELOG.md",
}
# What stands for a page although it is another file.
ALIASES = {"README.md": "index", "docs/README.md": "index", "include/zel/zel.h": "reference/index",
           "include/zel/zel_result.h": "reference/codes"}
# Documents of docs/ that are no page of their own.
LEFT_OUT = {"docs/README.md"}

LANGUAGES = {".h": "c", ".c": "c", ".hpp": "cpp", ".cpp": "cpp", ".py": "python", ".cs": "csharp", ".json": "json",
             ".md": "markdown", ".lua": "lua", ".1": "none", ".3": "none", ".txt": "none"}

LINK = re.compile(r"(?<!!)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^()\s]+)\)")
IMAGE = re.compile(r"!\[([^\]]*)\]\(([^():\s]+)\)")
FENCE = re.compile(r"^(```|~~~)")
CODE_SPAN = re.compile(r"(?<!`)`(zel[A-Z]\w*)(?:\(\))?`(?!`)")


class StageError(Exception):
    """A document that cannot become a page; the text tells which and why."""


class Stage:
    """The tree of sources that Sphinx reads."""

    def __init__(self, folder, header):
        self.folder = folder
        self.header = header
        self.functions = {function.name for function in header.functions()}
        self.page_of = {file: page for page, file in PAGES.items()} | ALIASES
        self.shown = {}  # file of the tree: page that shows it

    def write(self, page, text, suffix=".md"):
        path = self.folder / (page + suffix)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def target(self, page, file, link):
        """Where a link of a document leads on the site."""
        if re.match(r"[a-z]+:", link) or link.startswith("#"):
            return link
        path, _, anchor = link.partition("#")
        path = posixpath.normpath(posixpath.join(posixpath.dirname(file), path))
        source = ROOT / path
        if path in self.page_of:
            goal = self.page_of[path]
        elif source.is_file():
            goal = self.show(path)
        elif source.is_dir() and f"{path}/README.md" in self.page_of:
            goal = self.page_of[f"{path}/README.md"]
        else:
            raise StageError(f"{file}: the link \"{link}\" leads nowhere that the site could show")
        goal = posixpath.relpath(goal, posixpath.dirname(page) or ".")
        suffix = ".rst" if goal.startswith("reference/") or "/reference/" in goal else ".md"
        return goal + suffix + (f"#{anchor}" if anchor else "")

    def show(self, path):
        """The page that shows a file of the tree."""
        if path not in self.shown:
            page = "files/" + path.replace(".", "_")
            language = LANGUAGES.get(posixpath.splitext(path)[1], "none")
            text = (ROOT / path).read_text(encoding="utf-8").rstrip("\n")
            fence = "`" * 8
            self.shown[path] = page
            self.write(page, f"---\norphan: true\n---\n\n# {posixpath.basename(path)}\n\n"
                             f"The file `{path}` of the source tree.\n\n{fence}{language}\n{text}\n{fence}\n")
        return self.shown[path]

    def image(self, page, file, link):
        """Where a picture of a document lies on the site."""
        path = posixpath.normpath(posixpath.join(posixpath.dirname(file), link))
        if not (ROOT / path).is_file():
            raise StageError(f"{file}: there is no picture \"{link}\"")
        copy = "images/" + path.removeprefix("docs/").removeprefix("images/").replace("/", "_")
        (self.folder / "images").mkdir(parents=True, exist_ok=True)
        shutil.copyfile(ROOT / path, self.folder / copy)
        return posixpath.relpath(copy, posixpath.dirname(page) or ".")

    def document(self, page, file):
        """One document as a page."""
        lines, fenced = [], False
        for line in (ROOT / file).read_text(encoding="utf-8").split("\n"):
            if FENCE.match(line.lstrip()):
                fenced = not fenced
            elif not fenced:
                line = CODE_SPAN.sub(self.function_link, line)
            lines.append(line)
        text = "\n".join(lines)
        parts = re.split(r"(^```.*?^```$)", text, flags=re.S | re.M)  # links may go over line ends
        for index in range(0, len(parts), 2):
            parts[index] = IMAGE.sub(lambda m: f"![{m[1]}]({self.image(page, file, m[2])})", parts[index])
            parts[index] = LINK.sub(lambda m: f"[{m[1]}]({self.target(page, file, m[2])})", parts[index])
        return "".join(parts)

    def function_link(self, match):
        return f"{{c:func}}`{match[1]}`" if match[1] in self.functions else match[0]


def stage(folder):
    header = zel_header.read()
    all_documents = {str(path.relative_to(ROOT)) for path in (ROOT / "docs").glob("**/*.md")}
    forgotten = all_documents - set(PAGES.values()) - LEFT_OUT
    if forgotten:
        raise StageError(f"no page of the site: {', '.join(sorted(forgotten))} (docs/site/stage.py lists the pages)")
    tree = Stage(folder, header)
    for page, file in PAGES.items():
        if not (ROOT / file).is_file():
            raise StageError(f"{file} is missing")
        text = tree.document(page, file)
        if page == "speed":
            text = figures.fill_in(text, ROOT / "docs" / "speed.json", folder)
        tree.write(page, text)
    reference.write(header, tree, PAGES, ROOT)


if __name__ == "__main__":
    shutil.rmtree(sys.argv[1], ignore_errors=True)
    try:
        stage(Path(sys.argv[1]))
    except (StageError, zel_header.HeaderError, figures.FigureError) as error:
        sys.exit(str(error))
