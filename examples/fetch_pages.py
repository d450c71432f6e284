"""Fetches the pages of the first pen that is there and saves them: fetch_pages.py FILE"""

import sys

from zel import Library


def report(done, total):
    print(f"\r{done} of {total} bytes", end="", flush=True)


with Library() as library:
    info = library.wait(timeout=30)
    with library.connect(info) as pen:
        data = pen.fetch(progress=report)
    data.save(sys.argv[1])

print(f"\n{info.serial}: {len(data)} pages saved")
for page in data:
    print(page.address, len(page.strokes), "bytes")
