"""The version stands in one place, project() in CMakeLists.txt; everything else is made from it or agrees with it."""

import os
import re

from conftest import BUILD, run
from markdown import ROOT

CMAKE = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
VERSION = re.search(r"project\(zel VERSION (\d+\.\d+\.\d+) ", CMAKE)[1]
API = VERSION + ".0_6"  # the release, and the revision of the interface


def read(path):
    return (ROOT / path).read_text(encoding="utf-8")


def test_the_header_tells_it():
    numbers = re.findall(r"#define ZEL_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", read("include/zel/zel.h"))
    assert ".".join(numbers) == VERSION
    assert re.search(r'#define ZEL_API_VERSION "(.*)"', read("include/zel/zel.h"))[1] == API


def test_the_library_tells_it():
    assert run(BUILD / "bin" / "penctl", "--version").splitlines()[0].endswith(API)


def test_pensim_tells_it():
    assert run(BUILD / "bin" / "pensim", "--version") == f"pensim {VERSION}\n"


def test_the_shared_library_is_named_by_it():
    major = VERSION.split(".", maxsplit=1)[0]
    dynamic = run("readelf", "-d", BUILD / "libzel.so")
    assert f"[libzel.so.{major}]" in dynamic
    assert (BUILD / f"libzel.so.{VERSION}").exists()


def test_resources_of_windows_are_made_from_it():
    assert "PROJECT_VERSION" in read("cmake/ZelResource.cmake") + read("cmake/resource.rc.in")
    assert VERSION not in read("cmake/resource.rc.in")


def test_the_cmake_package_tells_it(prefix):
    package = (prefix / "lib" / "cmake" / "zel" / "zelConfigVersion.cmake").read_text()
    assert f'set(PACKAGE_VERSION "{VERSION}")' in package


def test_the_pkg_config_package_tells_it(prefix):
    assert f"\nVersion: {VERSION}\n" in (prefix / "lib" / "pkgconfig" / "zel.pc").read_text()


def test_the_python_package_takes_it_from_there():
    assert "CMakeLists.txt" in read("bindings/python/setup.py")
    assert 'dynamic = ["version"]' in read("bindings/python/pyproject.toml")
    assert f'API_VERSION = "{API}"' in read("bindings/python/src/zel/_native.py")


def test_the_dotnet_package_takes_it_from_there():
    assert "<version>$version$</version>" in read("bindings/dotnet/Zel.nuspec")
    assert f'ApiVersion = "{API}"' in read("bindings/dotnet/src/Native.cs")


def test_the_project_for_the_dotnet_sdk_takes_it_from_there():
    project = read("bindings/dotnet/Zel.csproj")
    assert VERSION not in project + read("bindings/dotnet/Zel.nuspec")
    assert "ReadAllText('$(MSBuildThisFileDirectory)../../CMakeLists.txt')" in project
    pattern = re.search(r"<Version>\$\(\[System\.Text\.RegularExpressions\.Regex\]::Match"
                        r"\(\$\(CMakeProject\), '(.*)'\)\.Groups\[1\]\.Value\)</Version>", project)[1]
    assert re.findall(pattern, CMAKE) == [VERSION]
    assert "version=$(Version);" in project


def test_the_assembly_is_made_with_it(dotnet, tmp_path):
    source = tmp_path / "Version.cs"
    source.write_text("class Version { static void Main() {"
                      " System.Console.Write(typeof(Zel.PenManager).Assembly.GetName().Version); } }")
    run("mcs", f"-r:{dotnet}/Zel.dll", f"-out:{tmp_path}/Version.exe", source)
    assert run("mono", tmp_path / "Version.exe", env=dict(os.environ, MONO_PATH=str(dotnet))) == VERSION + ".0"


def test_the_changelog_begins_with_what_is_unreleased():
    headings = re.findall(r"^## (.*)$", read("CHANGELOG.md"), re.M)
    assert headings[0] == "Unreleased"
    released = headings[1:]
    assert all(re.fullmatch(r"\d+\.\d+\.\d+, \d{4}-\d\d-\d\d", heading) for heading in released)
    # A release is the first thing below; until there is one, the version is the one that is being made.
    assert not released or released[0].startswith(VERSION + ",")
