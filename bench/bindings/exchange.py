"""As exchange.c, through the Python package."""

import sys
import time

from zel import Library

exchanges = int(sys.argv[1])
with Library() as library, library.connect(library.wait()) as pen:
    began = time.perf_counter_ns()
    for _ in range(exchanges):
        pen.locked
    print("exchange", (time.perf_counter_ns() - began) // exchanges)
    pen.fetch()
    began = time.perf_counter_ns()
    data = pen.fetch()
    print("retrieval", time.perf_counter_ns() - began)
