"""Every block of code in a document compiles, and programs run."""

import json
import subprocess
import sys

import pytest
from conftest import BUILD, environment, run
from markdown import ROOT, blocks

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wno-unused-function", "-Wno-unused-variable"]
C = ["gcc", "-std=gnu11", *WARNINGS, f"-I{ROOT}/include", "-x", "c"]
CPP = ["g++", "-std=c++17", *WARNINGS, f"-I{ROOT}/include", "-x", "c++", "-fsyntax-only"]

CPP_BEFORE = """\
#include <chrono>
#include <zel/firmware.hpp>
#include <zel/zel.hpp>
using namespace std::chrono_literals;
"""
CSHARP_AROUND = """\
using System;
using System.Threading.Tasks;
using Zel;

internal static class Shown
{{
    private static void Main()
    {{
    }}

    private static async Task Run()
    {{
{}
    }}
}}
"""


def compiles(command, text, tmp_path, *more):
    source = tmp_path / "shown.c"
    source.write_text(text, encoding="utf-8")
    return subprocess.run([*command, source, *more], capture_output=True, text=True, cwd=tmp_path)


def of_one_file(language):
    """The blocks of each document, one after the other: they build on each other. A few statements stand in a function."""
    texts = {}
    for block in blocks(language):
        text = f'#line {block.line + 1} "{block.file}"\n{block.text}'
        if language == "cpp" and "#include" not in block.text:
            text = f"void shown{block.line}()\n{{\n{text}}}\n"
        texts[block.file] = texts.get(block.file, "") + text
    return [pytest.param(file, text, id=file) for file, text in sorted(texts.items())]


@pytest.mark.parametrize("file, text", of_one_file("c"))
def test_c_compiles(file, text, tmp_path):
    includes = "#include <stddef.h>\n#include <zel/zel.h>\nextern const int shown;\nconst int shown = 0;\n"
    program = "int main(" in text
    done = compiles(C, includes + text, tmp_path, "-x", "none", f"-L{BUILD}", "-lzel", "-pthread", "-o", tmp_path / "host") \
        if program else compiles(C, includes + text, tmp_path, "-c", "-o", tmp_path / "host.o")
    assert done.returncode == 0, done.stderr


@pytest.mark.parametrize("file, text", of_one_file("cpp"))
def test_cpp_compiles(file, text, tmp_path):
    done = compiles(CPP, CPP_BEFORE + text, tmp_path)
    assert done.returncode == 0, done.stderr


@pytest.mark.parametrize("block", blocks("csharp"), ids=str)
def test_csharp_compiles(block, dotnet, tmp_path):
    source = tmp_path / "Shown.cs"
    source.write_text(CSHARP_AROUND.format(block.text), encoding="utf-8")
    run("mcs", "-langversion:7.2", "-warn:4", f"-r:{dotnet}/Zel.dll", f"-out:{tmp_path}/Shown.exe", source)


def python_with(block, text, tmp_path, **more):
    program = tmp_path / "shown.py"
    program.write_text(text, encoding="utf-8")
    words = ["-m", "pytest", "-q", "-p", "no:cacheprovider", program] if "def test_" in text else [program]
    return subprocess.run([sys.executable, *words], cwd=tmp_path, capture_output=True, text=True, timeout=60,
                          env=environment(PYTHONDONTWRITEBYTECODE="1"), **more)


def expected_output(block):
    """The text block that follows "it prints:", if there is one."""
    lines = (ROOT / block.file).read_text(encoding="utf-8").split("\n")
    behind = lines[block.line + len(block.text.split("\n")):]
    told = next((line for line in behind if line.strip()), "")
    if "it prints:" not in told:
        return None
    rest = behind[behind.index(told) + 1:]
    start = rest.index("```")
    return "\n".join(rest[start + 1:rest.index("```", start + 1)]) + "\n"


def ordinary(block):
    return block.mark != "with a control port" and "def test_" not in block.text


@pytest.mark.parametrize("block", filter(ordinary, blocks("python")), ids=str)
def test_python_runs(block, pensim, tmp_path):
    text = block.text if "import " in block.text else "import zel\n" + block.text
    done = python_with(block, text, tmp_path)
    assert done.returncode == 0, done.stderr
    expected = expected_output(block)
    assert expected is None or done.stdout == expected


@pytest.mark.parametrize("block", [block for block in blocks("python") if "def test_" in block.text], ids=str)
def test_python_tests_pass(block, tmp_path):
    done = python_with(block, block.text, tmp_path)
    assert done.returncode == 0 and " passed" in done.stdout, done.stdout + done.stderr


@pytest.mark.parametrize("block", [block for block in blocks("python") if block.mark == "with a control port"], ids=str)
def test_python_steers_pensim(block, tmp_path):
    ready = tmp_path / "ready"
    service = subprocess.Popen([BUILD / "bin" / "pensim", "--control", "0", "--ready-file", ready],
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    try:
        for line in service.stdout:
            if line.startswith(b"ready"):
                break
        port = json.loads(ready.read_text())["control_port"]
        # The block waits for what a host does: here is the host.
        text = block.text.replace('command(command="wait"',
                                  'import subprocess\nsubprocess.Popen(["penctl", "fetch", "AKZ-AQ7-APS-AC", "-o", "x"], '
                                  'stderr=subprocess.DEVNULL)\ncommand(command="wait"')
        done = python_with(block, f"port = {port}\n" + text, tmp_path)
        assert done.returncode == 0, done.stderr
    finally:
        service.terminate()
        service.wait()
        service.stdout.close()


@pytest.mark.parametrize("block", blocks("cmake"), ids=str)
def test_cmake_builds(block, prefix, tmp_path):
    (tmp_path / "host.c").write_bytes((ROOT / "examples" / "list_pens.c").read_bytes())
    (tmp_path / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.25)\nproject(host LANGUAGES C)\nadd_executable(host host.c)\n" + block.text)
    run("cmake", "-G", "Ninja", "-B", tmp_path / "build", f"-DCMAKE_PREFIX_PATH={prefix}", cwd=tmp_path)
    run("cmake", "--build", tmp_path / "build", cwd=tmp_path)


def test_no_block_has_an_unknown_language():
    known = {"", "c", "cpp", "python", "csharp", "cmake", "sh", "bat", "console", "json"}
    lines = [line for file in {block.file for block in blocks(*known)} for line in (ROOT / file).read_text().split("\n")]
    directives = {line[3:].strip() for line in lines if line.startswith("```") and not line.startswith("```{")}
    assert directives <= known
