"""Every command in a document runs, or is one that exists with the options it is shown with."""

import json
import os
import re
import shlex
import subprocess

import pytest
from conftest import BUILD, environment, run
from markdown import ROOT, blocks, code_spans


def pattern(text):
    """Expected output as a pattern: "..." alone on a line stands for any lines, within one for any text."""
    lines = []
    for line in text.split("\n"):
        lines.append(r"(?:.*\n)*?" if line == "..." else r".*".join(re.escape(part) for part in line.split("...")) + r"\n")
    return "".join(lines)


def steps(block):
    """The commands of a console block, each with the output that is shown."""
    found = []
    for line in block.text.rstrip("\n").split("\n"):
        if line.startswith("$ "):
            found.append((line[2:], []))
        else:
            found[-1][1].append(line)
    return [(command, "\n".join(shown)) for command, shown in found]


def shell(command, folder):
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment(), stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
    return done.stdout


def printed_by_pensim(tmp_path):
    """What pensim prints until it can be reached."""
    service = subprocess.Popen([BUILD / "bin" / "pensim", "--port", "0"], stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, text=True)
    lines = []
    for line in service.stdout:
        lines.append(re.sub(r"ready on port \d+", "ready on port 3715", line))
        if line.startswith("ready"):
            break
    service.terminate()
    service.wait()
    service.stdout.close()
    return "".join(lines)


def prints_what_is_shown(block, folder):
    for command, shown in steps(block):
        actual = printed_by_pensim(folder) if command.endswith("bin/pensim") else shell(command, folder).replace("\r", "")
        assert re.fullmatch(pattern(shown), actual if actual.endswith("\n") else actual + "\n"), f"$ {command}\n{actual}"


CONSOLES = blocks("console")


@pytest.mark.parametrize("block", [block for block in CONSOLES if block.mark == ""], ids=str)
def test_the_console_shows_what_is_printed(block, pensim, desk):
    prints_what_is_shown(block, desk)


@pytest.mark.parametrize("block", [block for block in CONSOLES if block.mark == "without pensim"], ids=str)
def test_the_console_shows_what_is_printed_without_a_service(block, desk):
    prints_what_is_shown(block, desk)


def test_no_console_has_an_unknown_mark():
    assert {block.mark for block in CONSOLES} <= {"", "without pensim"}


@pytest.mark.parametrize("block", blocks("bat"), ids=str)
def test_the_windows_prompt_succeeds(block, pensim, desk):
    for command in block.text.strip().split("\n"):
        name, *words = command.split()
        run(desk / name.replace("\\", "/").removesuffix(".exe"), *words, cwd=desk)


HELP = {}


def help_of(*words):
    if words not in HELP:
        done = subprocess.run([BUILD / "bin" / words[0], *words[1:], "--help"], capture_output=True, text=True, timeout=30)
        HELP[words] = done.stdout if done.returncode == 0 else None
    return HELP[words]


def program_exists(words):
    """penctl and pensim: the subcommands and options are those that they tell themselves."""
    known = (words[0],)
    for word in words[1:]:
        if re.fullmatch(r"[a-z]+", word) and f"\n  {word} " in (help_of(*known) or ""):
            known += (word,)
        elif re.fullmatch(r"[a-z]+(\|[a-z]+)+", word):  # "set|remove"
            missing = [choice for choice in word.split("|") if help_of(*known, choice) is None]
            return f"{known} has no {missing}" if missing else None
        else:
            break
    rest = words[len(known):]
    if known[0] == "penctl" and len(known) == 1 and rest and re.fullmatch(r"[a-z]+", rest[0]):
        return f"penctl has no command \"{rest[0]}\""
    told = help_of(*known) or ""
    unknown = [word for word in rest if re.match(r"--?[a-z]", word)
               and not re.search(rf"(^|[\s,]){re.escape(word)}\b", told)]
    return f"{' '.join(known)} has no {unknown}" if unknown else None


def script_exists(words):
    path = ROOT / words[0]
    if not os.access(path, os.X_OK):
        return f"{words[0]} is no program of the tree"
    text = path.read_text(encoding="utf-8")
    if words[0] == "script/bench":
        text += (ROOT / "bench" / "runner" / "main.cpp").read_text(encoding="utf-8")
    unknown = [word for word in words[1:] if word.startswith("--") and word not in text]
    return f"{words[0]} has no {unknown}" if unknown else None


def cmake_exists(words):
    if "--install" in words or words == ["ctest"]:
        return None if "build/native" in words or len(words) == 1 else f"{words} names another folder"
    presets = json.loads((ROOT / "CMakePresets.json").read_text())
    kinds = (["testPresets"] if words[0] == "ctest" else
             ["workflowPresets"] if "--workflow" in words else ["configurePresets", "buildPresets"])
    names = {preset["name"] for kind in kinds for preset in presets[kind]}
    options = "".join(path.read_text() for path in [ROOT / "CMakeLists.txt", *(ROOT / "cmake").glob("*")]
                      if path.is_file())
    chosen = words[words.index("--preset") + 1]
    if chosen not in names:
        return f"there is no preset {chosen}"
    unknown = [word for word in words if word.startswith("-D") and word[2:].split("=")[0] not in options]
    return f"there is no option {unknown}" if unknown else None


# The first word of a command, and what checks it; the others are run below or are no commands of ours.
RULES = {"penctl": program_exists, "pensim": program_exists, "cmake": cmake_exists, "ctest": cmake_exists}
ELSEWHERE = {
    "tshark": "run by tests/dissector",
    "unshare": "run below",
    "ss": "run below",
}


def problem_of(command):
    command = command.split("  ")[0].split(" # ")[0].strip().rstrip(":")
    command = re.sub(r"[\[\]]", " ", command).replace("...", " ")
    words = shlex.split(command, comments=False) if command.count('"') % 2 == 0 and command.count("'") % 2 == 0 else command.split()
    if not words:
        return None
    if words[0].startswith("script/"):
        return script_exists(words)
    if words[0] in RULES:
        return RULES[words[0]](words)
    return None if words[0] in ELSEWHERE else f"no rule for the command \"{words[0]}\""


def shown_commands():
    """Lines of the blocks for the shell, and of the overviews without a language that begin with a program of ours."""
    found = []
    for block in blocks("sh", ""):
        joined = re.sub(r"\\\n\s*", "", block.text)
        for line in joined.rstrip("\n").split("\n"):
            if block.language == "sh" and line.strip() or re.match(r"(penctl|pensim|script/\w+)\b", line):
                found.append(pytest.param(line, id=f"{block}: {line.split('  ')[0]}"))
    return found


@pytest.mark.parametrize("command", shown_commands())
def test_the_command_exists(command):
    for part in [command] if command.startswith("unshare") else command.split(" && "):
        assert problem_of(part) is None


def test_the_commands_within_sentences_exist():
    problems = []
    for file, line, text in code_spans():
        if file == "CHANGELOG.md" or text.startswith("penctl: "):
            continue
        if re.match(r"(penctl|pensim|cmake --\w|ctest|script/\w+)( |$)", text) and "<" not in text:
            for part in text.split(" && "):
                problem = problem_of(part.replace("COMMAND", "list"))
                problems += [f"{file}:{line}: `{text}`: {problem}"] if problem else []
    assert problems == []


def test_the_commands_for_pensim_are_taken():
    """Those with a number for a pen; the others are forms."""
    commands = [(f"{file}:{line}", text) for file, line, text in code_spans()
                if re.match(r"(set|fault|busy|lock|undock|dock|pages|drop|clear|password) \d|rendezvous \w+$", text)]
    assert len(commands) > 8
    told = subprocess.run([BUILD / "bin" / "pensim", "--port", "0", "--quit-at-end"], text=True, capture_output=True,
                          input="".join(text + "\n" for _, text in commands), timeout=60).stdout
    answers = [line for line in told.splitlines() if line == "ok" or line.startswith("error")]
    assert len(answers) == len(commands)
    assert [(where, text, answer) for (where, text), answer in zip(commands, answers) if answer != "ok"] == []


def test_a_test_in_a_network_of_its_own_runs(tmp_path):
    lines = [line for block in blocks("sh", "") for line in block.text.split("\n") if line.startswith("unshare ")]
    assert lines
    program = tmp_path / "my_test"
    program.write_text("#!/bin/sh\necho \"it ran with $(ls /sys/class/net)\"\n")
    program.chmod(0o755)
    for line in lines:
        assert shell(line, tmp_path).startswith("it ran with "), line


def test_who_has_the_port_is_told(pensim, tmp_path):
    lines = [line for block in blocks("sh") for line in block.text.split("\n") if line.startswith("ss ")]
    assert lines
    for line in lines:
        assert "pensim" in shell(line, tmp_path)


def link_lines(compiler):
    return sorted({text for _, _, text in code_spans() if text.startswith(compiler + " ")})


@pytest.mark.parametrize("line", link_lines("cc") + link_lines("x86_64-w64-mingw32-gcc"))
def test_the_link_line_makes_a_program(line, pensim, prefix, tmp_path):
    source = re.search(r"(\w+)\.c\b", line)[0]
    example = "fetch_pages.c" if source == "fetch_pages.c" else "list_pens.c"
    (tmp_path / source).write_bytes((ROOT / "examples" / example).read_bytes())
    if line.startswith("cc "):
        run("bash", "-c", line.replace("DIR", str(prefix)), cwd=tmp_path)
        # It starts from nothing but what the line says.
        alone = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
        run(tmp_path / "a.out", cwd=tmp_path, env=alone, stdin=subprocess.DEVNULL)
        assert example != "fetch_pages.c" or (tmp_path / "pages.zel").stat().st_size > 1_000_000
    else:  # compiled; linking it is a test of the Windows package
        run("bash", "-c", line.split(" DIR/lib")[0].replace("DIR", str(prefix)) + " -c", cwd=tmp_path)
