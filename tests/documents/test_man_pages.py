"""The man pages are clean, tell the version, and have every option, command and function."""

import os
import re
import subprocess

import man_page
import pytest
import zel_header
from conftest import BUILD
from markdown import ROOT

PAGES = ["penctl.1", "pensim.1", "zel.3"]


def version():
    return re.search(r"project\(zel VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())[1]


def source(page):
    return (ROOT / "docs" / page).read_text(encoding="utf-8").replace("\\-", "-")


@pytest.mark.parametrize("page", PAGES)
def test_man_has_no_warnings(page):
    done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", ROOT / "docs" / page],
                          capture_output=True, text=True, env=dict(os.environ, LC_ALL="C.UTF-8", MANWIDTH="80"))
    assert done.returncode == 0 and done.stderr == "" and len(done.stdout) > 1000


@pytest.mark.parametrize("page", PAGES)
def test_mandoc_has_no_warnings(page):
    done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", ROOT / "docs" / page], capture_output=True, text=True)
    # Pages without a date are the same on every day that they are made.
    assert [line for line in done.stdout.splitlines() if "missing date" not in line] == []


@pytest.mark.parametrize("page", PAGES)
def test_the_page_tells_the_version(page):
    title = next(line for line in source(page).splitlines() if line.startswith(".TH "))
    assert f'"zel {version()}"' in title


def told_by(program):
    """The options and subcommands that a program and its subcommands tell themselves."""
    options, commands, open_ones = set(), set(), [()]
    while open_ones:
        words = open_ones.pop()
        text = subprocess.run([BUILD / "bin" / program, *words, "--help"], capture_output=True, text=True).stdout
        options |= set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text))
        found = re.findall(r"^  ([a-z]+)  ", text[text.find("\nSubcommands:\n"):], re.M) if "\nSubcommands:" in text else []
        commands |= set(found)
        open_ones += [(*words, name) for name in found]
    return options, commands


@pytest.mark.parametrize("program", ["penctl", "pensim"])
def test_the_options_are_those_of_help(program):
    options, commands = told_by(program)
    text = source(f"{program}.1")
    listed = text[text.index(".SH OPTIONS"):text.index(".SH", text.index(".SH OPTIONS") + 5)]
    assert set(re.findall(r"--[a-z][a-z-]*", listed)) == options
    if program == "penctl":
        top = subprocess.run([BUILD / "bin" / program, "--help"], capture_output=True, text=True).stdout
        told = text[text.index(".SH COMMANDS"):text.index(".SH OPTIONS")]
        assert [name for name in re.findall(r"^  ([a-z]+)  ", top[top.index("\nSubcommands:"):], re.M)
                if not re.search(rf"\b{name}\b", told)] == []


def test_the_commands_of_pensim_are_on_its_page():
    told = subprocess.run([BUILD / "bin" / "pensim", "--port", "0", "--quit-at-end"], input="help\n", capture_output=True,
                          text=True, timeout=30).stdout
    names = re.findall(r"^([a-z]+) ", told[told.index("ready on port"):].split("\n", 1)[1], re.M)
    text = source("pensim.1")
    assert names and [name for name in names if not re.search(rf"\b{name}\b", text[text.index(".SH COMMANDS"):])] == []


def test_the_page_of_the_library_is_made_from_the_header():
    assert man_page.page() == (ROOT / "docs" / "zel.3").read_text(encoding="utf-8"), \
        "docs/site/man_page.py >docs/zel.3 makes it anew"


def test_every_exported_function_is_on_the_page():
    exported = re.findall(r"^\s+(zel\w+)", (ROOT / "src" / "exports.def").read_text(), re.M)
    assert len(exported) == 67
    text = source("zel.3")
    assert [name for name in exported if f".BR {name} " not in text] == []
    assert {function.name for function in zel_header.read().functions()} == set(exported)
