"""Takes the version from the one place that states it, the CMake project of this source tree, and names the wheel after
the platform of the library that it carries."""

import re
from pathlib import Path

from setuptools import Distribution, setup
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent


class Carrier(Distribution):
    def has_ext_modules(self):
        return (HERE / "src" / "zel" / "_lib").exists()


class Wheel(bdist_wheel):
    """With the library in it, a wheel is for one platform (--plat-name), and for every Python there."""

    def get_tag(self):
        return "py3", "none", super().get_tag()[2]


cmake = HERE.parents[1] / "CMakeLists.txt"
match = re.search(r"project\(zel VERSION ([0-9.]+)", cmake.read_text(encoding="utf-8"))
assert match, "CMakeLists.txt states no version"
setup(version=match[1], distclass=Carrier, cmdclass={"bdist_wheel": Wheel})
