"""The site is made without a warning, whole, with every link leading somewhere; what goes wrong is said in one line."""

import os
import re
import shutil
import subprocess
from pathlib import Path
from urllib.parse import unquote, urldefrag

import lxml.html
import pytest
import zel_header
from markdown import ROOT


def make(*words, **more):
    return subprocess.run([str(word) for word in (ROOT / "script" / "docs", *words)], capture_output=True, text=True,
                          timeout=280, **more)


@pytest.fixture(scope="session")
def site(tmp_path_factory):
    folder = tmp_path_factory.mktemp("site") / "html"
    done = make(folder)
    assert done.returncode == 0, done.stdout + done.stderr
    return folder


@pytest.fixture(scope="session")
def pages(site):
    return {path: lxml.html.parse(str(path)).getroot() for path in sorted(site.rglob("*.html"))}


def linked(page):
    """Whatever a page points to or loads."""
    for element, attribute, link, _ in page.iterlinks():
        if attribute in ("href", "src"):
            yield element, link


def test_every_link_leads_somewhere(site, pages):
    anchors = {path: set(page.xpath("//@id")) | set(page.xpath("//a/@name")) for path, page in pages.items()}
    broken = set()
    for path, page in pages.items():
        for _, link in linked(page):
            if re.match(r"(https?|mailto|data|javascript):", link):
                continue
            file, anchor = urldefrag(link)
            goal = Path(os.path.normpath(path.parent / unquote(file.split("?")[0]))) if file else path
            if not goal.is_file():
                broken.add(f"{path.relative_to(site)}: {link}")
            elif anchor and goal in anchors and unquote(anchor) not in anchors[goal] and goal.name != "search.html":
                broken.add(f"{path.relative_to(site)}: {link}: no such place in the page")
    assert sorted(broken) == []


def test_style_sheets_find_what_they_load(site):
    broken = [f"{sheet.name}: {name}" for sheet in site.rglob("*.css")
              for name in re.findall(r"(?:url\(|@import (?!url))[\"']?([^\"')]+)", sheet.read_text(encoding="utf-8"))
              if not name.startswith(("data:", "#")) and not (sheet.parent / name.split("?")[0]).is_file()]
    assert broken == []


def test_nothing_is_loaded_from_elsewhere(pages):
    """The site works without a network: only what a reader clicks may lead out."""
    foreign = [link for page in pages.values() for element, link in linked(page)
               if element.tag not in ("a",) and re.match(r"(https?:)?//", link)]
    assert foreign == []


def test_each_function_has_its_page_with_every_code(site, pages):
    for function in zel_header.read().functions():
        text = pages[site / "reference" / f"{function.name}.html"].text_content()
        assert function.summary.split()[0] in text
        assert [result.code for result in function.results if result.code not in text] == []


def test_the_start_page_leads_to_the_main_ones(site, pages):
    links = {link for _, link in linked(pages[site / "index.html"])}
    for goal in ("start.html", "guide/index.html", "reference/index.html", "troubleshooting.html", "page_data.html",
                 "protocols.html", "speed.html", "goals.html", "cpp.html", "python.html", "csharp.html"):
        assert goal in links


def test_the_charts_are_there_in_both_colours(site):
    text = (site / "speed.html").read_text(encoding="utf-8")
    for name in ("whole", "pieces", "growth"):
        for theme in ("light", "dark"):
            assert f"{name}-{theme}.svg" in text
            assert (site / "_images" / f"{name}-{theme}.svg").stat().st_size > 5000


def one_line(done):
    assert done.returncode == 1
    assert len(done.stderr.strip().splitlines()) == 1 and done.stdout == "", done.stdout + done.stderr
    return done.stderr


def test_a_folder_that_cannot_be_written_is_told(tmp_path):
    assert "cannot be written to" in one_line(make("/proc/zel/html"))


def test_a_place_that_is_no_site_is_left_alone(tmp_path):
    (tmp_path / "mine").write_text("precious")
    assert "is not replaced" in one_line(make(tmp_path))
    assert [path.name for path in tmp_path.iterdir()] == ["mine"]


def test_a_missing_tool_is_told(tmp_path):
    python = tmp_path / "python"
    python.write_text("#!/bin/sh\nexec /usr/bin/python3 -S \"$@\"\n")  # without the distribution's packages
    python.chmod(0o755)
    folder = tmp_path / "site"
    assert "is missing" in one_line(make(folder, env=dict(os.environ, PYTHON=str(python))))
    assert not folder.exists() and [path.name for path in tmp_path.iterdir()] == ["python"]


def on_small_disk(place, script, *words):
    """What a shell says there, where a file system is mounted that a site does not fit on."""
    unshare = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
    if subprocess.run([*unshare, "true"], capture_output=True).returncode != 0:
        pytest.skip("no mount namespace to be had")
    place.mkdir()
    return subprocess.run([*unshare, "sh", "-c", 'mount -t tmpfs -o size=300k none "$1" && ' + script, "sh", place, *words],
                          capture_output=True, text=True, timeout=200)


def test_a_full_disk_is_told_and_leaves_nothing(tmp_path):
    """A site that is there stays."""
    done = on_small_disk(tmp_path / "disk",
                         'mkdir "$1/html" && touch "$1/html/objects.inv" && '
                         '"$2" "$1/html"; code=$?; ls -A "$1" "$1/html" >"$3"; exit $code',
                         ROOT / "script" / "docs", tmp_path / "left")
    assert "no space left" in one_line(done)
    assert (tmp_path / "left").read_text().split() == [f"{tmp_path}/disk:", "html", f"{tmp_path}/disk/html:", "objects.inv"]


@pytest.fixture
def tree(tmp_path):
    """A copy of all that the site is made from."""
    copy = tmp_path / "tree"
    for file in subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout.split("\n"):
        if re.match(r"(docs|include|examples|bindings|script|apps/pensim|tests/data/page_data/README|[A-Z])", file):
            (copy / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / file, copy / file)
    return copy


def test_a_full_disk_is_told_where_the_log_is_on_it_too(tree, tmp_path):
    done = on_small_disk(tree / "build", '"$2"; code=$?; ls -A "$1/docs" >"$3"; exit $code',
                         tree / "script" / "docs", tmp_path / "left")
    assert "no space left" in one_line(done)
    assert (tmp_path / "left").read_text() == ""


def test_a_document_with_a_broken_link_is_told(tree):
    """The whole tree, but for one word."""
    page = tree / "docs" / "goals.md"
    page.write_text(page.read_text(encoding="utf-8") + "\n[a page that is not there](nowhere.md)\n", encoding="utf-8")
    done = subprocess.run([tree / "script" / "docs"], capture_output=True, text=True, timeout=200)
    assert "docs/goals.md: the link \"nowhere.md\" leads nowhere" in one_line(done)
    assert [path.name for path in (tree / "build").iterdir()] in (["logs"], ["docs", "logs"], ["logs", "docs"])
    assert not (tree / "build" / "docs" / "html").exists()
