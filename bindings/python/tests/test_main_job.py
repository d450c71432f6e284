"""The main job, from finding a pen to a file that reads back."""

import subprocess
import sys

import pytest
from conftest import SERIAL

import zel
from zel import Library


def test_a_pen_is_found_and_its_pages_are_fetched_and_saved(library, tmp_path):
    info = library.wait(SERIAL.lower())
    assert info.serial == SERIAL
    assert info.pen_id == 0x12300ABCDEF
    reports = []
    with library.connect(info) as pen:
        data = pen.fetch(progress=lambda done, total: reports.append((done, total)))
    assert [page.address for page in data][:3] == ["1.2.3.100", "1.2.3.101", "1.2.3.4"]
    assert [len(page.strokes) for page in data][:3] == [64, 512, 200]
    assert reports[0][0] == 0 and reports[-1][0] == reports[-1][1]
    assert len(reports) == 7
    assert data.pen_id == info.pen_id
    data.save(tmp_path / "pages.zel")
    again = zel.read(tmp_path / "pages.zel")
    assert [(page.address, bytes(page.strokes)) for page in again] == [
        (page.address, bytes(page.strokes)) for page in data
    ]
    assert [entry.name for entry in tmp_path.iterdir()] == ["pages.zel"]


def test_the_first_pen_is_any_pen(library):
    assert library.wait() in library.pens


def test_a_pen_that_does_not_come_is_a_timeout(library):
    with pytest.raises(TimeoutError, match="no pen AAA-AAA-AAA-AA within 0.2 s"):
        library.wait("AAA-AAA-AAA-AA", timeout=0.2)


def test_no_service_is_a_timeout():
    with Library() as library:
        with pytest.raises(TimeoutError, match="no pen within 0.2 s"):
            library.wait(timeout=0.2)
        assert library.pens == []


def command_line(*words):
    return subprocess.run([sys.executable, "-m", "zel", *words], capture_output=True, text=True, timeout=60)


def test_the_command_line_lists_fetches_and_shows(pensim, tmp_path):
    listed = command_line("list")
    assert listed.returncode == 0, listed.stderr
    assert f"{SERIAL}  1209:0001" in listed.stdout.splitlines()
    file = str(tmp_path / "a.zel")
    fetched = command_line("fetch", file, "--pen", SERIAL)
    assert (fetched.returncode, fetched.stdout) == (0, f"8 pages of {SERIAL} in {file}\n")
    shown = command_line("show", file)
    assert len(shown.stdout.splitlines()) == 8


def test_the_command_line_says_what_failed(pensim, tmp_path):
    (tmp_path / "text").write_text("no page data")
    shown = command_line("show", str(tmp_path / "text"))
    assert (shown.returncode, shown.stdout) == (1, "")
    assert shown.stderr == "zel: byte 0: the major version is 110, not 1\n"
