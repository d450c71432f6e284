"""What the tests of the documents share: the programs of the native build, and an installation of it."""

import os
import subprocess

import pytest
from markdown import ROOT

pytest_plugins = ["zel.testing"]

BUILD = ROOT / "build" / "native"

os.environ["PYTHONPATH"] = os.pathsep.join([str(ROOT / "bindings" / "python" / "src"), os.environ.get("PYTHONPATH", "")])
os.environ["LD_LIBRARY_PATH"] = os.pathsep.join([str(BUILD), os.environ.get("LD_LIBRARY_PATH", "")])


def run(*words, cwd=ROOT, **more):
    """A command that must succeed; what it printed."""
    done = subprocess.run([str(word) for word in words], cwd=cwd, capture_output=True, text=True, timeout=120, **more)
    assert done.returncode == 0, f"{' '.join(map(str, words))}\n{done.stdout}{done.stderr}"
    return done.stdout


@pytest.fixture(scope="session")
def prefix(tmp_path_factory):
    """The native build, installed."""
    folder = tmp_path_factory.mktemp("installed")
    run("cmake", "--install", BUILD, "--prefix", folder)
    return folder


@pytest.fixture
def desk(tmp_path):
    """A folder as an archive has it, with bin/ beside what the documents write."""
    (tmp_path / "bin").symlink_to(BUILD / "bin")
    return tmp_path


@pytest.fixture(scope="session")
def dotnet():
    """Zel.dll, as the bindings' build leaves it."""
    run(ROOT / "bindings" / "dotnet" / "build", "tests")
    return ROOT / "build" / "dotnet"


def environment(**more):
    words = dict(os.environ, LC_ALL="C.UTF-8", TERM="dumb", PATH=f"{BUILD / 'bin'}{os.pathsep}{os.environ['PATH']}", **more)
    words.pop("NO_COLOR", None)
    return words
