"""Takes the version from the one place that states it, the CMake project of this source tree."""

import re
from pathlib import Path

from setuptools import setup

cmake = Path(__file__).resolve().parents[2] / "CMakeLists.txt"
match = re.search(r"project\(zel VERSION ([0-9.]+)", cmake.read_text(encoding="utf-8"))
assert match, "CMakeLists.txt states no version"
setup(version=match[1])
