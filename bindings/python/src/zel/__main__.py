"""``python -m zel``: lists the pens present, fetches pages, or shows a file of page data."""

from __future__ import annotations

import argparse
import sys
import time
from typing import List, Optional

from . import Library, PageDataError, ZelError, read


def _list(arguments: argparse.Namespace) -> int:
    with Library() as library:
        library.wait(timeout=arguments.wait)
        time.sleep(0.2)  # the other pens follow in one go
        for pen in library.pens:
            print(f"{pen.serial}  {pen.vendor_id:04x}:{pen.product_id:04x}")
    return 0


def _fetch(arguments: argparse.Namespace) -> int:
    with Library() as library, library.connect(library.wait(arguments.pen, arguments.wait)) as pen:
        data = pen.fetch()
        data.save(arguments.output)
    print(f"{len(data)} page{'' if len(data) == 1 else 's'} of {pen.info.serial} in {arguments.output}")
    return 0


def _show(arguments: argparse.Namespace) -> int:
    for page in read(arguments.file):
        print(f"{page.address}  {len(page.strokes)} byte{'' if len(page.strokes) == 1 else 's'}{'  stylo' if page.stylo else ''}")
    return 0


def main(words: Optional[List[str]] = None) -> int:
    """Runs the command line and returns its exit code."""
    parser = argparse.ArgumentParser(prog="python -m zel", description=__doc__)
    commands = parser.add_subparsers(required=True, metavar="list | fetch | show")
    command = commands.add_parser("list", help="list the pens present")
    command.add_argument("--wait", type=float, default=5, metavar="SECONDS", help="for the first pen")
    command.set_defaults(run=_list)
    command = commands.add_parser("fetch", help="fetch all pages of a pen into a file")
    command.add_argument("output")
    command.add_argument("--pen", metavar="SERIAL")
    command.add_argument("--wait", type=float, default=10, metavar="SECONDS", help="for the pen")
    command.set_defaults(run=_fetch)
    command = commands.add_parser("show", help="show a file of page data")
    command.add_argument("file")
    command.set_defaults(run=_show)
    arguments = parser.parse_args(words)
    try:
        return int(arguments.run(arguments))
    except (ZelError, PageDataError, OSError) as failure:  # TimeoutError is an OSError
        print(f"zel: {failure}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
