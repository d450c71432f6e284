"""What the tests share: a library that must be gone, with all its descriptors, when a test has ended."""

import gc
import os
import sys
import threading
import time

import pytest

import zel

from zel import Library, _core

pytest_plugins = ["zel.testing"]

# Programs that tests start find the package where the tests do.
os.environ["PYTHONPATH"] = os.pathsep.join([os.path.dirname(os.path.dirname(zel.__file__)), os.environ.get("PYTHONPATH", "")])

SERIAL = "AKZ-AQ7-APS-AC"  # the built-in pen with six pages and two stylo pages
LOCKED = "ABE-AAB-4KK-G3"
PASSWORD = "geheim"


def descriptors() -> int:
    return len(os.listdir("/proc/self/fd")) if sys.platform.startswith("linux") else 0


@pytest.fixture(autouse=True)
def nothing_is_left():
    before = descriptors()
    yield
    gc.collect()
    ends = time.monotonic() + 10
    while time.monotonic() < ends:
        if _core.ORDINARY._users == _core.UPGRADE._users == 0:
            threads = [thread.name for thread in threading.enumerate() if thread.name == "zel"]
            if not threads and descriptors() <= before:
                return
        time.sleep(0.01)
    raise AssertionError(
        f"users {_core.ORDINARY._users}, {_core.UPGRADE._users}; "
        f"threads {threading.enumerate()}; descriptors {before} -> {descriptors()}"
    )


@pytest.fixture
def library(pensim):
    with Library() as opened:
        yield opened


@pytest.fixture
def pen(library):
    with library.connect(library.wait(SERIAL)) as connected:
        yield connected
