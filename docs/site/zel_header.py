"""Reads the documentation out of include/zel/zel.h.

The header is written in one form, which CONTRIBUTING.md shows: what a function does, its parameters with their
texts behind two blanks, how long it blocks, and "Returns" with every result code and what brings it. What does not
have that form is an error that names the line.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

HEADER = Path(__file__).resolve().parents[2] / "include" / "zel" / "zel.h"


class HeaderError(Exception):
    """The header departs from its form."""


@dataclass
class Entry:
    """A documented declaration."""

    name: str
    declaration: str
    text: list  # paragraphs
    line: int


@dataclass
class Code(Entry):
    number: int = 0
    sentence: str = ""  # of zel_result.h


@dataclass
class Result:
    code: str
    cause: str  # empty where the code means the same everywhere


@dataclass
class Function(Entry):
    section: str = ""
    summary: str = ""
    parameters: list = field(default_factory=list)  # of (names, text)
    results: list = field(default_factory=list)  # of Result
    after: str = ""  # what is said behind the list of results


@dataclass
class Section:
    title: str
    functions: list


@dataclass
class Header:
    introduction: list
    conventions: list  # of (title, paragraphs)
    closing: str
    codes: list
    constants: list
    types: list
    callbacks: list
    sections: list
    common: dict  # result code -> what brings it wherever nothing else is said

    def functions(self):
        return [function for section in self.sections for function in section.functions]

    def meaning(self, code):
        return next(entry for entry in self.codes if entry.name == code)


def _comment_lines(comment):
    """The lines of a /** ... */ comment without its marks; relative indentation stays."""
    lines = comment.strip()[3:-2].split("\n")
    return [lines[0].strip()] + [re.sub(r"^ \*(  )?", "", line).rstrip() for line in lines[1:]]


def _paragraphs(lines):
    """Lines joined to paragraphs at blank lines; what is indented further is kept as it is."""
    paragraphs, current = [], []

    def close():
        if current:
            paragraphs.append(" ".join(current))
            current.clear()

    for line in lines:
        if not line.strip():
            close()
        elif line.startswith("    "):
            close()
            paragraphs.append(line)
        else:
            current.append(line.strip())
    close()
    return paragraphs


def _split_results(text, where):
    """ "Returns ..." as results and what follows them."""
    match = re.match(r"Returns ZEL_OK(.*?)(?=,? or ZEL_ERR_)", text)
    if not match:
        raise HeaderError(f"{where}: \"Returns ZEL_OK\" and other codes are missing")
    results = [Result("ZEL_OK", match[1].strip(" ,"))]
    rest = text[match.end():].removeprefix(",").strip().removeprefix("or ZEL_ERR").strip()
    waiting = []  # codes that share the cause of the next one
    while True:
        match = re.match(r"(_[A-Z_]+)", rest)
        if not match:
            raise HeaderError(f"{where}: a result code is missing before \"{rest[:40]}\"")
        waiting.append("ZEL_ERR" + match[1])
        rest = rest[match.end():]
        cause = ""
        if rest.startswith(" ("):
            depth, end = 0, None
            for position, character in enumerate(rest):
                depth += {"(": 1, ")": -1}.get(character, 0)
                if character == ")" and depth == 0:
                    end = position
                    break
            if end is None:
                raise HeaderError(f"{where}: a parenthesis is not closed")
            cause, rest = rest[2:end], rest[end + 1:]
        if rest.startswith(" and _"):
            rest = rest[len(" and "):]
            continue
        results += [Result(code, cause) for code in waiting]
        waiting = []
        if rest.startswith(", "):
            rest = rest[2:]
        elif rest.startswith("."):
            return results, rest[1:].strip()
        else:
            raise HeaderError(f"{where}: the codes do not end with a full stop: \"{rest[:40]}\"")


def _function(name, declaration, comment, line, section):
    where = f"{HEADER.name}:{line}: {name}"
    lines = _comment_lines(comment)
    summary, parameters, prose, returns = [], [], [], []
    part = summary
    for text in lines:
        parameter = re.match(r"([A-Za-z0-9_., ]*?[A-Za-z0-9_.])  +(\S.*)$", text)
        if text.startswith("Returns "):
            part = returns
        elif part in (summary, parameters) and parameter and not text.startswith(" "):
            part = parameters
            parameters.append([parameter[1], parameter[2]])
            continue
        elif part is parameters and text.startswith("  "):
            parameters[-1][1] += " " + text.strip()
            continue
        elif part is parameters:
            part = prose
        if part is parameters:
            raise HeaderError(f"{where}: \"{text}\" is no parameter")
        part.append(text)
    if not returns:
        raise HeaderError(f"{where}: no \"Returns\"")
    arguments = _arguments(declaration)
    described = " ".join(names for names, _ in parameters)
    for argument in arguments:
        numbered = re.fullmatch(r"([A-Za-z]+)\d", argument)  # "data1, length1 ..." stands for all of them
        if not re.search(rf"\b{argument}\b", described) and not (
                numbered and "..." in described and re.search(rf"\b{numbered[1]}\d\b", described)):
            raise HeaderError(f"{where}: nothing is said about {argument}")
    results, after = _split_results(" ".join(returns), where)
    if parameters == [] and summary[1:]:  # without parameters the summary runs into the prose
        joined = " ".join(summary)
        first, _, rest = joined.partition(". ")
        summary, prose = ([first + "."], [rest]) if rest else ([joined], [])
    return Function(name=name, declaration=declaration, text=_paragraphs(prose), line=line, section=section,
                    summary=" ".join(summary), parameters=[tuple(p) for p in parameters],
                    results=results, after=after)


def _arguments(declaration):
    inside = declaration[declaration.index("(") + 1:declaration.rindex(")")]
    if inside.strip() == "void":
        return []
    return [re.search(r"(\w+)$", part.strip())[1] for part in inside.split(",")]


def _conventions(comment):
    introduction, conventions, closing = [], [], ""
    current = introduction
    for line in _comment_lines(comment):
        start = re.match(r"(\d+)\. ([^.]+)\. (.*)", line)
        if start:
            current = []
            conventions.append((start[2], current))
            current.append(start[3])
        elif re.match(r"[A-Z]\d\d or ", line):
            closing = line
        elif line.strip() == "Conventions":
            continue
        elif conventions:
            current.append(line[3:] if line.startswith("   ") else line)
        else:
            introduction.append(line)
    items = []
    for title, lines in conventions:
        lettered = []
        for line in lines:
            if re.match(r"[a-z]\. ", line):
                lettered.append("")  # each on a line of its own
            elif lettered and not line.startswith("   ") and re.match(r"[A-Z]", line) and _in_list(lettered):
                lettered.append("")
            lettered.append(line.strip())
        items.append((title, _paragraphs(lettered)))
    return _paragraphs(introduction), items, closing


def _in_list(lines):
    last = next((index for index in reversed(range(len(lines))) if lines[index] == ""), None)
    return last is not None and re.match(r"[a-z]\. ", lines[last + 1])


def _common(conventions, codes):
    """What brings the codes that functions list without a word."""
    text = " ".join(" ".join(paragraphs) for _, paragraphs in conventions)
    common = {}
    for code in ("ZEL_ERR_NOT_INITIALIZED", "ZEL_ERR_UNEXPECTED"):
        match = re.search(rf"{code}: (.*?)\.(?= [A-Z]|$)", text)
        if not match:
            raise HeaderError(f"{HEADER.name}: the conventions do not tell what {code} means everywhere")
        common[code] = match[1]
    for code in codes:
        common.setdefault(code.name, (code.text[0] if code.text else code.sentence).rstrip("."))
    return common


def _sentences(path):
    """The result codes in words."""
    return dict(re.findall(r'X\((ZEL_\w+), "([^"]*)"\)', path.read_text(encoding="utf-8")))


def read(path=HEADER):
    """The header, whole."""
    source = path.read_text(encoding="utf-8")
    codes, constants, types, callbacks, sections = [], [], [], [], []
    introduction = conventions = closing = None
    title = None
    token = re.compile(
        r"(?P<comment>/\*\*.*?\*/)"
        r"|/\* -{4} (?P<title>.*?) -+ \*/"
        r"|^(?P<define>#define ZEL_\w+ [^\n]*)"
        r"|^(?P<function>ZEL_API [^;]*;)"
        r"|^(?P<callback>typedef void\(ZEL_CALL[^;]*;)"
        r"|^(?P<struct>typedef struct \w+ \{.*?^\} \w+;)"
        r"|^(?P<opaque>typedef struct \w+ \w+;)",
        re.S | re.M)
    token_define = re.compile(r"#define (\w+) (.*)")
    sentences = _sentences(path.with_name("zel_result.h"))
    comment = None
    for match in token.finditer(source):
        line = source.count("\n", 0, match.start()) + 1
        kind, text = match.lastgroup, match[match.lastgroup]
        if kind == "comment":
            if comment and introduction is None:
                introduction, conventions, closing = _conventions(comment)
            comment = text
            continue
        if introduction is None and comment:
            introduction, conventions, closing = _conventions(comment)
            comment = None
        paragraphs = _paragraphs(_comment_lines(comment)) if comment else []
        if kind == "title":
            title = text.split(":")[0].strip()
            sections.append(Section(text.strip(), []))
        elif kind == "define":
            name, value = token_define.match(text.split("\n")[0]).groups()
            number = re.fullmatch(r"(\d+)u", value.strip())
            if name == "ZEL_OK" or name.startswith("ZEL_ERR_"):
                if name not in sentences:
                    raise HeaderError(f"{path.name}:{line}: zel_result.h has no sentence for {name}")
                codes.append(Code(name, value, paragraphs, line, int(number[1]), sentences[name]))
            elif name not in ("ZEL_ZEL_H", "ZEL_API", "ZEL_CALL"):
                constants.append(Entry(name, value.strip(), paragraphs, line))
        elif kind == "function":
            declaration = " ".join(text.removesuffix(";").replace("ZEL_API ", "").replace("ZEL_CALL ", "").split())
            name = re.search(r"(\w+)\(", declaration)[1]
            if comment is None:
                raise HeaderError(f"{path.name}:{line}: {name} is not documented")
            sections[-1].functions.append(_function(name, declaration, comment, line, title))
        elif kind == "callback":
            name = re.search(r"\*(\w+)\)", text)[1]
            entry = _function_like(name, text, comment, line)
            callbacks.append(entry)
        else:
            name = re.search(r"(\w+);$", text)[1]
            types.append(Entry(name, text, paragraphs, line))
        comment = None
    if not (introduction and codes and sections):
        raise HeaderError(f"{path.name}: no conventions, codes or functions were found")
    return Header(introduction, conventions, closing, codes, constants, types, callbacks, sections,
                  _common(conventions, codes))


def _function_like(name, declaration, comment, line):
    """A callback: the same form without results."""
    lines = _comment_lines(comment)
    summary, parameters, prose = [], [], []
    for text in lines:
        parameter = re.match(r"([A-Za-z0-9_., ]*?[A-Za-z0-9_.])  +(\S.*)$", text)
        if parameter and not prose and not text.startswith(" "):
            parameters.append([parameter[1], parameter[2]])
        elif parameters and not prose and text.startswith("  "):
            parameters[-1][1] += " " + text.strip()
        elif parameters:
            prose.append(text)
        else:
            summary.append(text)
    declaration = " ".join(declaration.split()).replace("ZEL_CALL ", "")
    return Function(name=name, declaration=declaration, text=_paragraphs(prose), line=line,
                    summary=" ".join(summary), parameters=[tuple(p) for p in parameters])
