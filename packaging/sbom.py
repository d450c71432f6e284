"""Tells what is linked into a build, as a CycloneDX bill of materials, and collects the licences of it.

sbom.py --build FOLDER --version VERSION --licences FOLDER

What the sources include is read from Ninja's dependencies, what the compiler adds from the compiler; which package of the
distribution a file belongs to, and its version, from dpkg.
"""

import argparse
import functools
import json
import os
import pathlib
import re
import shutil
import subprocess
import urllib.parse
import uuid

# The compiler's own libraries, where they are linked statically (Windows). Linux programs find them in the system.
RUNTIME = ["libstdc++.a", "libgcc.a", "libgcc_eh.a", "libpthread.a", "libmingw32.a", "libmingwex.a"]

LICENCES = {
    "libasio-dev": "BSL-1.0",
    "libboost1.74-dev": "BSL-1.0",
    "libcli11-dev": "BSD-3-Clause",
    "libfmt-dev": "MIT",
    "nlohmann-json3-dev": "MIT",
    "g++-mingw-w64-x86-64-posix": "GPL-3.0-or-later WITH GCC-exception-3.1",
    "mingw-w64-x86-64-dev": "ZPL-2.1",
}

PROGRAMS = {"penctl": "apps/penctl/", "pensim": "apps/pensim/"}


def said(*command, cwd=None):
    return subprocess.run(command, check=True, capture_output=True, text=True, cwd=cwd).stdout


def included(build):
    """Object file -> the files of header-only libraries that it was made from."""
    headers = {}
    # The compiler names a header by the link in there or by where that leads, whichever is shorter.
    libraries = [os.path.realpath(link) for link in (build / "host_headers").iterdir()]
    real = functools.lru_cache(maxsize=None)(os.path.realpath)
    for line in said("ninja", "-t", "deps", cwd=build).splitlines():
        if line and not line[0].isspace():
            headers[current := line.split(":")[0]] = set()
        elif line and any((real(build / line.strip()) + "/").startswith(library + "/") for library in libraries):
            headers[current].add(line.strip())
    return headers


def package_of(file, known={}):
    """The package that a file belongs to. One question for all files of a folder."""
    path = os.path.realpath(file)
    folder = os.path.dirname(path)
    if folder not in known:
        known[folder] = said("dpkg", "-S", path).split(":")[0]
    return known[folder]


def compiler_of(build):
    (found,) = build.glob("CMakeFiles/*/CMakeCXXCompiler.cmake")
    return re.search(r'^set\(CMAKE_CXX_COMPILER "(.*)"\)$', found.read_text(), re.M)[1]


def linked(build):
    """Package -> the names of what it is linked into."""
    users = {}
    for target, headers in included(build).items():
        for program, folder in PROGRAMS.items():
            if target.startswith(folder):
                for header in headers:
                    users.setdefault(package_of(build / header), set()).add(program)
    compiler = compiler_of(build)
    if "mingw" in compiler:
        for library in RUNTIME:
            file = said(compiler, "-print-file-name=" + library).strip()
            if not os.path.isabs(file):
                raise SystemExit(f"{compiler} has no {library}")
            users.setdefault(package_of(file), set()).update(["zel", *PROGRAMS])
    return users


def quoted(text):
    return urllib.parse.quote(text, safe="")


def component(package, users, distribution):
    if package not in LICENCES:
        raise SystemExit(f"The licence of {package}, which is linked in, has to be entered in {__file__}")
    version = said("dpkg-query", "-W", "-f=${Version}", package)
    reference = f"pkg:deb/debian/{quoted(package)}@{quoted(version)}?distro={distribution}"
    return {
        "type": "library",
        "bom-ref": reference,
        "name": package,
        "version": version,
        "licenses": [{"expression": LICENCES[package]}],
        "purl": reference,
        "properties": [{"name": "zel:linked-into", "value": user} for user in sorted(users)],
    }


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--build", type=pathlib.Path, required=True)
    options.add_argument("--version", required=True)
    options.add_argument("--licences", type=pathlib.Path, required=True)
    chosen = options.parse_args()

    system = dict(line.split("=", 1) for line in pathlib.Path("/etc/os-release").read_text().splitlines() if "=" in line)
    distribution = (system["ID"] + "-" + system.get("VERSION_ID", "")).replace('"', "")
    users = linked(chosen.build)
    components = [component(package, users[package], distribution) for package in sorted(users)]
    chosen.licences.mkdir(parents=True, exist_ok=True)
    for package in users:
        shutil.copyfile(f"/usr/share/doc/{package}/copyright", chosen.licences / f"{package}.txt")

    own = f"pkg:generic/zel@{quoted(chosen.version)}"
    bill = {
        "bomFormat": "CycloneDX",
        "specVersion": "1.5",
        "version": 1,
        "metadata": {
            "component": {
                "type": "library",
                "bom-ref": own,
                "name": "zel",
                "version": chosen.version,
                "licenses": [{"license": {"id": "MIT"}}],
                "purl": own,
            },
        },
        "components": components,
        "dependencies": [{"ref": own, "dependsOn": [one["bom-ref"] for one in components]}],
    }
    bill["serialNumber"] = "urn:uuid:" + str(uuid.uuid5(uuid.NAMESPACE_URL, json.dumps(bill, sort_keys=True)))
    print(json.dumps(bill, indent=2))


main()
