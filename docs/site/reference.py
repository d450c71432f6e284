"""The reference: a page for each function, and one each for the conventions, the result codes and the types."""

import re

CODE_NAME = re.compile(r"(?<![\w:`])((?:ZEL)?_[A-Z][A-Z_]+|ZEL_OK)\b")
FUNCTION_NAME = re.compile(r"(?<![\w`:])(zel[A-Z]\w*)")


class Writer:
    """Turns the header's prose into reStructuredText with links."""

    def __init__(self, header):
        self.functions = {function.name for function in header.functions()}
        self.codes = {code.name for code in header.codes}
        self.types = {entry.name for entry in header.types} | {entry.name for entry in header.callbacks}

    def text(self, prose):
        prose = re.sub(r"([\\*`|])", r"\\\1", prose)
        prose = CODE_NAME.sub(self._code, prose)
        prose = FUNCTION_NAME.sub(lambda m: f":c:func:`{m[1]}`" if m[1] in self.functions else m[0], prose)
        prose = re.sub(r"(?<![\w`:.])(" + "|".join(sorted(self.types)) + r")(?![\w.])", r":c:type:`\1`", prose)
        prose = re.sub(r"\(conventions, (\d+)\)", r"(:ref:`conventions, \1 <convention-\1>`)", prose)
        return re.sub(r"(\w)_(?=[\s.,;:)]|$)", r"\1\\_", prose)

    def _code(self, match):
        name = match[1]
        full = name if name.startswith("ZEL") else "ZEL_ERR" + name
        return f":c:macro:`{name} <{full}>`" if full in self.codes else f"``{name}``"

    def sentence(self, prose):
        prose = prose[:1].upper() + prose[1:]
        return self.text(prose if prose.endswith((".", ":")) else prose + ".")


def title(text, line="="):
    return f"{text}\n{line * len(text)}\n\n"


def own_cause(result):
    """What the function says of the code, with its first words in full."""
    return re.sub(r"^a null(?=$|,)", "a null pointer", result.cause)


def cause(header, writer, function, result):
    """What brings a result code from a function."""
    common = header.common[result.code]
    # "... zelInitialize ...; for the zelDfu... functions ... zelDfuInit ..."
    ordinary, _, upgrade = common.partition("; for the zelDfu... functions ")
    common = upgrade if upgrade and function.name.startswith("zelDfu") else ordinary
    own = own_cause(result)
    if result.code == "ZEL_OK":
        return writer.sentence("the function did what it is for" + (f"; {own}" if own else ""))
    if result.code == "ZEL_ERR_NOT_INITIALIZED" and not own.startswith("also"):
        # What means the same everywhere stands first, what the function says of it behind.
        own = f"{common} ({own})" if own else common
    elif own.startswith("also"):
        own = f"{common}; {own}"
    elif result.code == "ZEL_ERR_NOT_SUPPORTED" and not own and "software" in function.section_title:
        own = f"software older than {re.search(r'0x[0-9]+', function.section_title)[0]}, or the pen does not know the request"
    return writer.sentence(own or common)


def parameter_list(writer, function):
    if not function.parameters:
        return ""
    rows = "".join(f"   * - ``{names}``\n     - {writer.sentence(text)}\n" for names, text in function.parameters)
    return f".. list-table::\n   :class: parameters\n   :widths: 20 80\n\n{rows}\n"


def declaration(function):
    """The declaration with an argument on each line where it is long."""
    text = function.declaration
    if len(text) < 90:
        return text + ";"
    head, arguments = text[:text.index("(") + 1], text[text.index("(") + 1:-1].split(", ")
    return head + "\n" + ",\n".join("    " + argument for argument in arguments) + ");"


def function_page(header, writer, function, uses):
    page = title(function.name)
    page += writer.text(function.summary) + "\n\n"
    page += f".. c:function:: {function.declaration}\n   :noindexentry:\n\n"
    body = parameter_list(writer, function)
    body += "".join(writer.text(paragraph) + "\n\n" for paragraph in function.text)
    page += "".join(f"   {line}\n" if line else "\n" for line in body.split("\n"))
    page += title("Results", "-")
    rows = "".join(f"   * - {header.meaning(result.code).number}\n     - :c:macro:`{result.code}`\n"
                   f"     - {cause(header, writer, function, result)}\n" for result in function.results)
    page += (".. list-table::\n   :class: results\n   :header-rows: 1\n   :widths: 8 36 56\n\n"
             f"   * - Code\n     - Name\n     - What brings it\n{rows}\n")
    if function.after:
        page += writer.text(function.after) + "\n\n"
    page += (f"When several apply, the function returns the first in the order of :ref:`conventions, 1 "
             f"<convention-1>`.\n\n")
    if uses:
        page += title("Used in", "-")
        page += "".join(f"- :doc:`{text} </{target}>`\n" if text else f"- :doc:`/{target}`\n"
                        for target, text in uses) + "\n"
    return page


def uses_of(function, pages, tree, root):
    """The pages of the guide and the examples whose code calls a function."""
    call = re.compile(rf"\b{function.name}\(")
    found = []
    for page, file in pages.items():
        if page == "start" or page.startswith("guide/"):
            blocks = re.findall(r"^```(?:c|cpp)\n(.*?)^```$", (root / file).read_text(encoding="utf-8"), re.S | re.M)
            if any(call.search(block) for block in blocks):
                found.append((page, ""))
    for file in sorted((root / "examples").glob("*.c")):
        if call.search(file.read_text(encoding="utf-8")):
            name = f"examples/{file.name}"
            found.append((tree.show(name), name))
    return found


def conventions_page(header, writer):
    page = title("Conventions")
    for paragraph in header.introduction[1:]:
        page += literal(paragraph) if paragraph.startswith("    ") else writer.text(paragraph) + "\n\n"
    for number, (name, paragraphs) in enumerate(header.conventions, 1):
        page += f".. _convention-{number}:\n\n" + title(f"{number}. {name}", "-")
        for paragraph in paragraphs:
            page += re.sub(r"^([a-z])\. ", r"\1\\. ", writer.text(paragraph)) + "\n\n"
    return page


def literal(text):
    return f"::\n\n   {text.strip()}\n\n"


def codes_page(header, writer):
    page = title("Result codes")
    page += ("Every function returns one of these. ``zel/zel_result.h`` has them in words: ``zelResultName(code)`` and\n"
             "``zelResultText(code)``, header-only. 7 is never returned.\n\n")
    for code in header.codes:
        functions = [function for function in header.functions() if any(r.code == code.name for r in function.results)]
        page += title(f"{code.number}: {code.name}", "-")
        page += f".. c:macro:: {code.name}\n   :noindexentry:\n\n   {code.sentence}\n\n"
        page += "".join(f"   {writer.text(paragraph)}\n\n" for paragraph in code.text)
        common = header.common[code.name]
        if common and common not in [text.rstrip(".") for text in (*code.text, code.sentence)]:
            page += writer.sentence(f"everywhere: {common}") + "\n\n"
        if code.name == "ZEL_OK":
            continue
        own = [(function, result) for function in functions for result in function.results
               if result.code == code.name and result.cause and not re.fullmatch(r"a null|\w+ is null", result.cause)]
        page += f"{len(functions)} functions return it.\n\n"
        if own:
            rows = "".join(f"   * - :c:func:`{function.name}`\n     - {writer.sentence(own_cause(result))}\n"
                           for function, result in own)
            page += (".. list-table::\n   :class: results\n   :header-rows: 1\n   :widths: 38 62\n\n"
                     f"   * - Function\n     - What it says of it\n{rows}\n")
    return page


def types_page(header, writer):
    page = title("Types, callbacks and constants")
    page += title("Types", "-")
    for entry in header.types:
        page += f".. c:type:: {entry.name}\n\n   " + "\n\n   ".join(writer.text(p) for p in entry.text) + "\n\n"
        fields = re.findall(r"(\w+) (\w+); +/\*\*< (.*?) \*/", entry.declaration)
        for kind, name, text in fields:
            page += f"   ``{kind} {name}``\n      {writer.sentence(text)}\n\n"
    page += title("Callbacks", "-")
    for entry in header.callbacks:
        arguments = entry.declaration[entry.declaration.index(")(") + 1:-1]
        page += f".. c:type:: void (*{entry.name}){arguments}\n\n   {writer.text(entry.summary)}\n\n"
        body = parameter_list(writer, entry) + "".join(writer.text(p) + "\n\n" for p in entry.text)
        page += "".join(f"   {line}\n" if line else "\n" for line in body.split("\n"))
    page += title("Constants", "-")
    for entry in header.constants:
        value = entry.declaration.removesuffix("u")
        page += f".. c:macro:: {entry.name}\n\n   ``{value}``. " + " ".join(writer.text(p) for p in entry.text) + "\n\n"
    return page


def index_page(header, writer, tree):
    source = tree.show("include/zel/zel.h")
    results = tree.show("include/zel/zel_result.h")
    page = title("Reference")
    page += ("All that a host includes is ``zel/zel.h``. These pages are made from its comments, so they say what the\n"
             f"header says: :doc:`zel.h </{source}>`, and :doc:`zel_result.h </{results}>` for the result codes in words.\n\n"
             ":doc:`conventions` hold for every function: results, nulls, ownership, threads, blocking, callbacks, texts,\n"
             "numbers. :doc:`codes` tells what brings each result, :doc:`types` what there is besides functions.\n\n"
             ".. toctree::\n   :hidden:\n\n   conventions\n   codes\n   types\n")
    page += "".join(f"   {function.name}\n" for function in header.functions()) + "\n"
    for section in header.sections:
        page += title(section.title, "-")
        rows = "".join(f"   * - :c:func:`{function.name}`\n     - {writer.text(first_sentence(function.summary))}\n"
                       for function in section.functions)
        page += f".. list-table::\n   :class: functions\n   :widths: 40 60\n\n{rows}\n"
    return page


def first_sentence(text):
    return re.match(r".*?\.(?= [A-Z]|$)", text)[0]


def write(header, tree, pages, root):
    writer = Writer(header)
    for section in header.sections:
        for function in section.functions:
            function.section_title = section.title
            uses = uses_of(function, pages, tree, root)
            tree.write(f"reference/{function.name}", function_page(header, writer, function, uses), ".rst")
    tree.write("reference/index", index_page(header, writer, tree), ".rst")
    tree.write("reference/conventions", conventions_page(header, writer), ".rst")
    tree.write("reference/codes", codes_page(header, writer), ".rst")
    tree.write("reference/types", types_page(header, writer), ".rst")
