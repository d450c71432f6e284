"""Every example builds from an installation and does its work against pensim."""

import subprocess

import pytest
from conftest import environment, run
from markdown import ROOT

FLAGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
COMPILERS = {".c": ["gcc", "-std=c99"], ".cpp": ["g++", "-std=c++17"]}
EXAMPLES = sorted(path.name for path in (ROOT / "examples").iterdir())


@pytest.fixture
def build(prefix, tmp_path):
    def build(name):
        source = ROOT / "examples" / name
        program = tmp_path / source.stem
        run(*COMPILERS[source.suffix], *FLAGS, source, f"-I{prefix}/include", f"-L{prefix}/lib", f"-Wl,-rpath,{prefix}/lib",
            "-lzel", "-pthread", "-o", program)
        return program
    return build


def test_each_example_has_a_test():
    """Those in Python and C# are run by the tests of their packages."""
    assert EXAMPLES == ["FetchPages.cs", "fetch_pages.c", "fetch_pages.cpp", "fetch_pages.py", "list_pens.c",
                        "upgrade_firmware.cpp"]


def test_list_pens_announces_the_pens(build, pensim):
    program = subprocess.Popen(["stdbuf", "-oL", build("list_pens.c")], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    told = [program.stdout.readline() for _ in range(3)]
    program.communicate("\n", timeout=30)
    assert told == ["AKZ-AQ7-APS-AC arrived\n", "AAB-AAA-AAB-D7 arrived\n", "ABE-AAB-4KK-G3 arrived\n"]
    assert program.returncode == 0


@pytest.mark.parametrize("name", ["fetch_pages.c", "fetch_pages.cpp"])
def test_fetch_pages_saves_the_pages_of_a_pen(name, build, pensim, tmp_path):
    done = subprocess.run([build(name), tmp_path / "pages.zel"], capture_output=True, text=True, timeout=60)
    assert done.returncode == 0, done.stderr
    assert "1205444 of 1205444 bytes" in done.stderr
    assert run("penctl", "show", tmp_path / "pages.zel", env=environment()).startswith("page data of version 1.0")


@pytest.mark.pensim(pens=[])
def test_fetch_pages_of_a_locked_pen_tells_why(build, pensim, tmp_path):
    pensim.command('dock {"id": "0x1", "locked": true, "password": "x", "software_version": "0x0601"}')
    done = subprocess.run([build("fetch_pages.c"), tmp_path / "pages.zel"], capture_output=True, text=True, timeout=60)
    assert done.returncode == 1
    assert done.stderr == "The pages cannot be fetched: The pen is locked by its password. (ZEL_ERR_PEN_LOCKED)\n"
    assert not (tmp_path / "pages.zel").exists()


def test_upgrade_firmware_sends_the_image(build, pensim, tmp_path):
    image = bytes(range(256)) * 40
    (tmp_path / "image").write_bytes(image)
    done = subprocess.run([build("upgrade_firmware.cpp"), tmp_path / "image"], capture_output=True, text=True, timeout=60)
    assert (done.returncode, done.stdout) == (0, "ABZ-ASW-Q4M-D3 has taken the image\n"), done.stderr
    pensim.command(f"image ABZ-ASW-Q4M-D3 {tmp_path}/received")
    assert (tmp_path / "received").read_bytes() == image


def test_upgrade_firmware_tells_what_the_pen_says(build, tmp_path, pensim):
    (tmp_path / "image").write_bytes(b"x" * 10000)
    pensim.fault("ABZ-ASW-Q4M-D3", instruction="V003", occurrence=2, status=-4004)
    done = subprocess.run([build("upgrade_firmware.cpp"), tmp_path / "image"], capture_output=True, text=True, timeout=60)
    assert done.returncode == 1 and done.stdout == ""
    assert done.stderr.splitlines()[-1].endswith(": The pen did not take the firmware.")
