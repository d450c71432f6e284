#!/usr/bin/env python3
"""Measures whether the desk stays fluid: 100 pens, and hosts that ask 1,000 times a second for 10 seconds.

    tests/desk/fluidity.py [PENS [LINES A SECOND [SECONDS]]]

Prints how long the frames of the page took, how much it computed and which of its tasks held it up. No test: figures
depend on the machine, and those of frames on what else runs there.
Runs where the rendezvous port is free.
"""

import sys
import tempfile
import threading
import time
from pathlib import Path

from conftest import start_browser
from page import Page
from service import Host, Service, eventually

WATCH = """
window.seen = {frames: [], tasks: [], last: performance.now()};
const frame = now => { seen.frames.push(now - seen.last); seen.last = now; seen.handle = requestAnimationFrame(frame); };
requestAnimationFrame(frame);
new PerformanceObserver(list => seen.tasks.push(...list.getEntries().map(entry => entry.duration))).observe({type: 'longtask'});
"""


def asked_for(host, a_second, seconds):
    """Asks evenly, a hundredth of a second's share at a time."""
    begin = time.monotonic()
    share = max(1, round(a_second / 100))
    sent = 0
    while sent < a_second * seconds:
        host.ask(Host.LOCK_STATUS * share, Host.LOCK_STATUS_LENGTH * share)
        sent += share
        time.sleep(max(0, begin + sent / a_second - time.monotonic()))
    return sent


def processor_time(page):
    """Seconds that the page's main thread has computed so far, whatever else ran on the machine."""
    told = page.driver.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]
    return next(one["value"] for one in told if one["name"] == "TaskDuration")


def measure(page, service, a_second, seconds):
    ports = [pen["port"] for pen in service.command("list")]
    hosts = [Host(port) for port in ports[:10]]
    page.driver.execute_script(WATCH)
    page.driver.execute_cdp_cmd("Performance.enable", {"timeDomain": "threadTicks"})
    computed = processor_time(page)
    threads = [threading.Thread(target=asked_for, args=(host, a_second / len(hosts), seconds)) for host in hosts]
    begin = time.monotonic()
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    took = time.monotonic() - begin
    computed = (processor_time(page) - computed) / took
    wanted = page.driver.execute_script("return window.seen")
    latest = sum(service.pen(pen["serial"])["exchanges"].get("R1GL", 0) for pen in service.command("list")[:10])
    last = f"{latest + 100 + len(hosts):,} lines"
    begin = time.monotonic()
    eventually(lambda: page.text("log-count") in (last, "10,000 lines"), last)
    return wanted["frames"][2:], wanted["tasks"], latest / took, time.monotonic() - begin, computed


def main(pens=100, a_second=1000, seconds=10):
    scenario = {"pens": [{"id": "0x1000", "count": int(pens), "pages": [{"address": "1.2.3.0", "size": 1000, "count": 10}]}]}
    driver = start_browser()
    with tempfile.TemporaryDirectory() as folder:
        service = Service(folder, scenario)
        try:
            page = Page(driver, service, (1440, 900), Path(folder))
            frames, tasks, rate, behind, computed = measure(page, service, float(a_second), float(seconds))
        finally:
            service.stop()
    version = driver.capabilities["browserVersion"]
    driver.quit()
    frames.sort()
    print(f"Chromium {version}, {pens} pens, {rate:.0f} lines a second, {len(frames)} frames")
    print(f"frame: median {frames[len(frames) // 2]:.1f} ms, 99 of 100 within {frames[len(frames) * 99 // 100]:.1f} ms, longest {frames[-1]:.1f} ms")
    print(f"the page's main thread computed {computed:.0%} of the time, {computed * 100:.0f} ms for each of ten updates a second")
    print(f"tasks over 50 ms: {len(tasks)}, longest {max(tasks, default=0):.0f} ms; the last line came {behind:.2f} s after its exchange")


if __name__ == "__main__":
    main(*sys.argv[1:])
