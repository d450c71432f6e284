"""The documents of the tree, their code blocks and the code within their sentences."""

import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


@dataclass(frozen=True)
class Block:
    """A block of code."""

    file: str
    line: int
    language: str
    mark: str  # of a comment right above: <!-- mark -->
    text: str

    def __str__(self):
        return f"{self.file}:{self.line}"


def documents():
    """Every document, in the order of its name."""
    listed = subprocess.run(["git", "ls-files", "*.md"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    return [name for name in listed.split() if (ROOT / name).exists() and not name.startswith("tests/data/")]


def blocks(*languages):
    found = []
    for file in documents():
        mark, opened, lines = "", None, []
        for number, line in enumerate((ROOT / file).read_text(encoding="utf-8").split("\n"), 1):
            fence = re.match(r"```(\S*)$", line)
            if opened is None and fence:
                opened, lines = Block(file, number, fence[1], mark, ""), []
            elif opened is not None and line == "```":
                if opened.language in languages:
                    found.append(Block(file, opened.line, opened.language, opened.mark, "\n".join(lines) + "\n"))
                opened = None
            elif opened is not None:
                lines.append(line)
            comment = re.fullmatch(r"<!-- (.*) -->", line)
            if comment or line.strip():
                mark = comment[1] if comment else ""
    return found


def code_spans():
    """(file, line, text) of each `code` within a sentence or a table."""
    found = []
    for file in documents():
        fenced = False
        for number, line in enumerate((ROOT / file).read_text(encoding="utf-8").split("\n"), 1):
            if line.startswith("```"):
                fenced = not fenced
            elif not fenced:
                found += [(file, number, text) for text in re.findall(r"`([^`]+)`", line)]
    return found
