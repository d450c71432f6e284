"""Packs a NuGet package: a zip archive of the nuspec file, the files that it lists, and two files that say what is what.

nupkg.py NUSPEC FOLDER NAME=VALUE...

The values stand for $NAME$ in the nuspec file. The same files give the same bytes, which NuGet's own tools do not promise.
"""

import os
import pathlib
import sys
import time
import xml.etree.ElementTree as xml
import zipfile

NUSPEC = "http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd"
TYPES = "http://schemas.openxmlformats.org/package/2006/content-types"
RELATIONS = "http://schemas.openxmlformats.org/package/2006/relationships"
HEAD = '<?xml version="1.0" encoding="utf-8"?>\n'
MANIFEST = "http://schemas.microsoft.com/packaging/2010/07/manifest"


def content_types(names):
    extensions = sorted({pathlib.PurePath(name).suffix[1:] for name in names} - {""})
    rows = [f'  <Default Extension="{one}" ContentType="application/octet-stream" />' for one in extensions]
    rows.append('  <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml" />')
    rows += [f'  <Override PartName="/{name}" ContentType="application/octet-stream" />'
             for name in names if not pathlib.PurePath(name).suffix]
    return "\n".join([f'{HEAD}<Types xmlns="{TYPES}">', *rows, "</Types>\n"])


def relations(nuspec):
    return (f'{HEAD}<Relationships xmlns="{RELATIONS}">\n'
            f'  <Relationship Id="nuspec" Type="{MANIFEST}" Target="/{nuspec}" />\n</Relationships>\n')


def main(nuspec, folder, *settings):
    nuspec = pathlib.Path(nuspec)
    text = nuspec.read_text(encoding="utf-8")
    for setting in settings:
        name, value = setting.split("=", 1)
        text = text.replace(f"${name}$", value)
    if "$" in text:
        sys.exit(f"{nuspec} has a value that was not given")
    xml.register_namespace("", NUSPEC)
    root = xml.fromstring(text)
    files = root.find(f"{{{NUSPEC}}}files")
    content = {one.get("target"): (nuspec.parent / one.get("src")).read_bytes() for one in files}
    root.remove(files)
    xml.indent(root)
    content[nuspec.name] = (HEAD + xml.tostring(root, encoding="unicode") + "\n").encode()
    metadata = root.find(f"{{{NUSPEC}}}metadata")
    parts = {
        "[Content_Types].xml": content_types(sorted(content)).encode(),
        "_rels/.rels": relations(nuspec.name).encode(),
        **dict(sorted(content.items())),
    }
    moment = time.gmtime(int(os.environ.get("SOURCE_DATE_EPOCH", time.time())))[:6]
    name = ".".join(metadata.find(f"{{{NUSPEC}}}{key}").text for key in ("id", "version")) + ".nupkg"
    with zipfile.ZipFile(pathlib.Path(folder, name), "w") as package:
        for part, data in parts.items():
            entry = zipfile.ZipInfo(part, moment)
            entry.external_attr = 0o644 << 16
            package.writestr(entry, data, zipfile.ZIP_DEFLATED, 9)


main(*sys.argv[1:])
