#!/usr/bin/env python3
"""Takes the pictures of the desk in docs/images. Runs where the rendezvous port is free."""

import subprocess
import tempfile
import time
from pathlib import Path

from conftest import start_browser
from page import Page
from service import LOCKED, NOTEBOOK, OFFICE, PENCTL, ROOT, Host, Service

IMAGES = ROOT / "docs" / "images"


def prepare(service):
    """A host reads the pages of one pen, another is away, a third has faults."""
    service.command("dock", pen={"id": "0x2200d00d", "brand": "Meeting room pen", "software_version": "0x0601",
                                 "pages": [{"address": "4.1.1.0", "size": 9000, "count": 42}]})
    service.command("undock", pen=OFFICE)
    service.command("fault", pen=NOTEBOOK, fault={"instruction": "U0PG", "occurrence": 3, "cut_after": 5, "ending": "close"})
    service.command("fault", pen=NOTEBOOK, fault={"instruction": "R1GP", "delay_ms": 2000})
    host = Host(service.command("state", pen="0x2200d00d")["port"])
    host.ask(Host.BEGIN_SESSION, Host.BEGIN_SESSION_LENGTH)
    for number in range(27):
        host.get_page(4 << 40 | 1 << 24 | 1 << 12 | number)
    for words in (["pages", NOTEBOOK], ["info", LOCKED]):
        subprocess.run([PENCTL, *words], capture_output=True)
    return host


def take(page, name, scheme, size):
    page.look(scheme, size)
    time.sleep(1)
    page.driver.save_screenshot(str(IMAGES / name))


def main():
    driver = start_browser()
    with tempfile.TemporaryDirectory() as folder:
        service = Service(folder)
        try:
            host = prepare(service)
            page = Page(driver, service, (1240, 800), Path(folder))
            take(page, "desk.png", "light", (1240, 800))
            page.look("light", (390, 760))
            take(page, "desk-phone.png", "light", (390, 760))
            page.look("dark", (1240, 800))
            page.open_details(NOTEBOOK)
            take(page, "desk-dark.png", "dark", (1240, 800))
            host.close()
        finally:
            service.stop()
    driver.quit()


if __name__ == "__main__":
    main()
