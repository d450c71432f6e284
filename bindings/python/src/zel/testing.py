"""A pytest plugin for programs that use pens: the fixture ``pensim`` runs a simulated pen service.

::

    def test_fetches(pensim):
        with Library() as lib, lib.connect(lib.wait()) as pen:
            assert len(pen.fetch()) == 8

    @pytest.mark.pensim(pens=[{"id": "0x1", "pages": [{"address": "1.2.3.4", "size": 100}]}])
    def test_one_page(pensim): ...

The service listens on the rendezvous port 3715, the only one that the library knows, so tests that use it take turns.
The program ``pensim`` is found through the environment variable ``ZEL_PENSIM``, in a source tree's build, or on the
path.
"""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, Sequence

import pytest

Scenario = Dict[str, Any]


def find_pensim() -> str:
    """Where the program is.

    :raises FileNotFoundError: nowhere
    """
    chosen = os.environ.get("ZEL_PENSIM")
    if chosen:
        return chosen
    windows = sys.platform == "win32"
    name = "pensim.exe" if windows else "pensim"
    here = Path(__file__).resolve()
    if len(here.parents) > 4:
        built = here.parents[4] / "build" / ("windows" if windows else "native") / "bin" / name
        if built.exists():
            return str(built)
    found = shutil.which(name)
    if found is None:
        raise FileNotFoundError("pensim was not found; set ZEL_PENSIM to where it is")
    return found


class Pensim:
    """A simulated pen service that runs. Its commands are told by ``pensim --help`` and its ``help`` command."""

    def __init__(self, scenario: Optional[Scenario] = None, wait: float = 20) -> None:
        """Starts it and waits until its pens can be reached.

        :param scenario: the pens; those that are built in when left out
        """
        self._folder = tempfile.TemporaryDirectory(prefix="pensim-")
        ready = Path(self._folder.name, "ready.json")
        words = [find_pensim(), "--quit-at-end", "--ready-file", str(ready)]
        if scenario is not None:
            file = Path(self._folder.name, "scenario.json")
            file.write_text(json.dumps(scenario), encoding="utf-8")
            words += ["--scenario", str(file)]
        self._log = open(Path(self._folder.name, "log"), "w+b")
        self._process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._log)
        try:
            self.ready: Dict[str, Any] = self._wait_until_ready(ready, wait)
            """What the service wrote about itself: ports and pens."""
            self._skip_greeting()
        except BaseException:
            self.stop()
            raise

    def _wait_until_ready(self, ready: Path, wait: float) -> Dict[str, Any]:
        ends = time.monotonic() + wait
        while not ready.exists():
            if self._process.poll() is not None:
                self._log.seek(0)
                raise RuntimeError("pensim ended: " + self._log.read().decode(errors="replace"))
            if time.monotonic() > ends:
                raise RuntimeError(f"pensim was not ready within {wait} s")
            time.sleep(0.01)
        content: Dict[str, Any] = json.loads(ready.read_text(encoding="utf-8"))
        return content

    @property
    def pid(self) -> int:
        """The number of the service's process."""
        return self._process.pid

    def _line(self) -> str:
        assert self._process.stdout is not None
        line = self._process.stdout.readline()
        if not line:
            raise RuntimeError("pensim ended")
        return line.decode("utf-8").rstrip("\r\n")

    def _skip_greeting(self) -> None:
        while not self._line().startswith("ready on port"):
            pass

    def command(self, text: str) -> List[str]:
        """Gives the service a command and returns the lines of its answer.

        :raises ValueError: the service refused it, and why
        """
        assert self._process.stdin is not None
        self._process.stdin.write(text.encode("utf-8") + b"\n")
        self._process.stdin.flush()
        answer: List[str] = []
        while True:
            line = self._line()
            if line == "ok":
                return answer
            if line.startswith("error: "):
                raise ValueError(f"pensim: {text}: {line[len('error: '):]}")
            answer.append(line)

    def fault(self, pen: str, **fault: Any) -> None:
        """Adds a fault to a pen: ``fault(serial, instruction="U0PG", cut_after=3)``."""
        self.command(f"fault {pen} {json.dumps(fault)}")

    def stop(self) -> None:
        """Ends the service."""
        if self._process.stdin is not None:
            self._process.stdin.close()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        if self._process.stdout is not None:
            self._process.stdout.close()
        self._log.close()
        self._folder.cleanup()

    def __enter__(self) -> "Pensim":
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()


def pytest_configure(config: pytest.Config) -> None:
    """Makes the marker known."""
    config.addinivalue_line(
        "markers", "pensim(pens=[...], **scenario): the pens, and further keys of the scenario, of the pensim fixture"
    )


def _scenario(arguments: Sequence[Any], keys: Dict[str, Any]) -> Scenario:
    if arguments:
        keys = {"pens": arguments[0], **keys}
    return keys


@pytest.fixture
def pensim(request: pytest.FixtureRequest) -> Iterator[Pensim]:
    """A simulated pen service, for one test. Its pens are the built-in ones, or those of the ``pensim`` marker."""
    marker = request.node.get_closest_marker("pensim")
    with Pensim(_scenario(marker.args, dict(marker.kwargs)) if marker else None) as service:
        yield service
