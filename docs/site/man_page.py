"""Writes zel(3), the man page with all functions, from the header: man_page.py >docs/zel.3"""

import re
import sys
import textwrap

import zel_header
from reference import first_sentence

VERSION = re.search(r"project\(zel VERSION ([0-9.]+)",
                    (zel_header.HEADER.parents[2] / "CMakeLists.txt").read_text(encoding="utf-8"))[1]

HEAD = r""".\" Made from include/zel/zel.h by docs/site/man_page.py.
.TH ZEL 3 "" "zel {version}" "Library Functions"
.ad l
.nh
.SH NAME
zel \- find digital pens and fetch what was written with them
.SH LIBRARY
libzel
.RI ( \-lzel )
.SH SYNOPSIS
.nf
.B #include <zel/zel.h>
.fi
.SH DESCRIPTION
{introduction}
.PP
Every function returns a result code, 0 for success.
The conventions that hold for all of them (ownership, threads, callbacks,
blocking) and each function's parameters and codes are described in the header
itself, and on the pages of the documents.
"""

TAIL = r""".SH RETURN VALUE
{codes}
.SH FILES
.TP
.I zel/zel.h
the functions, with their whole description
.TP
.I zel/zel_result.h
the result codes in words
.TP
.IR zel/zel.hpp ", " zel/page_data.hpp ", " zel/firmware.hpp
the same in C++17
.SH EXAMPLES
.nf
cc host.c \-lzel
.fi
.SH SEE ALSO
.BR penctl (1),
.BR pensim (1)
"""


def roff(text):
    """Prose for a man page: a line for each sentence, nothing that a formatter would take for its own."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    text = "\n".join(textwrap.fill(sentence, 78, break_on_hyphens=False, break_long_words=False)
                     for sentence in re.split(r"(?<=[.]) (?=[A-Z])", text))
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.M)


def page():
    header = zel_header.read()
    introduction = " ".join(text for text in header.introduction[1:] if not text.startswith(" "))
    text = HEAD.format(version=VERSION, introduction=roff(introduction))
    for section in header.sections:
        text += f".SS {roff(section.title)}\n"
        for function in section.functions:
            name, _, arguments = function.declaration.removeprefix("uint32_t ").partition("(")
            text += f".TP\n.BR {name} \"({arguments}\"\n{roff(first_sentence(function.summary))}\n"
    codes = "\n".join(f".TP\n{code.number}: {code.name}\n{roff(code.sentence)}" for code in header.codes)
    return text + TAIL.format(codes=codes)


if __name__ == "__main__":
    sys.stdout.write(page())
