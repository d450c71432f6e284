"""The desk in a real browser: each thing on it does what it says, and pensim and hosts see the same."""

import json
import re
import subprocess
import threading

import pytest
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from service import FIRMWARE, LOCKED, NOTEBOOK, OFFICE, PENCTL, ROOT, Host, eventually

PEN_10 = {"id": "0x1234", "brand": "Ten pages", "pages": [{"address": "1.2.3.0", "size": 100, "count": 10}]}


class Watch:
    """`penctl watch`: what a real host is told."""

    def __init__(self):
        self.process = subprocess.Popen([PENCTL, "watch"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines = []
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.strip())

    def wait_for(self, *words):
        eventually(lambda: any(all(word in line for word in words) for line in self.lines), f"{words} in {self.lines}")

    def forget(self):
        self.lines.clear()

    def stop(self):
        self.process.terminate()
        self.process.communicate(timeout=20)


@pytest.fixture
def watch(service):
    watching = Watch()
    yield watching
    watching.stop()


def penctl(*words):
    done = subprocess.run([PENCTL, *words], capture_output=True, text=True, timeout=60)
    return done.returncode, done.stdout, done.stderr


# ---- Pens on their places


def test_the_pens_lie_where_they_are(page, service):
    assert page.serials("desk") == [NOTEBOOK, OFFICE, LOCKED, FIRMWARE]
    assert page.serials("drawer") == []
    assert page.text("desk-count") == "4"
    service.command("undock", pen=OFFICE)
    page.wait(lambda: page.serials("drawer") == [OFFICE], "the pen is in the drawer")
    service.command("undock", pen=NOTEBOOK)
    service.command("dock", pen=OFFICE)
    page.wait(lambda: page.serials("desk") == [LOCKED, FIRMWARE, OFFICE], "docked again, it comes last")


def test_a_card_shows_its_pen(page):
    notebook = page.card_text(NOTEBOOK)
    assert "Notebook pen" in notebook
    assert "87 %" in notebook
    assert "6 + 2 stylo" in notebook
    assert "1.1 MiB" in notebook and "of 64 MiB" in page.card(NOTEBOOK).get_attribute("textContent")
    assert "no host connected" in notebook
    assert "locked" in page.card_text(LOCKED)
    assert "firmware upgrade" in page.card_text(FIRMWARE)
    assert "dfuIDLE, 0 bytes received" in page.card_text(FIRMWARE)


def test_a_click_docks_and_undocks(page, service, watch):
    watch.wait_for(OFFICE, "arrived")
    page.button(OFFICE, "dock").click()
    page.wait(lambda: page.place(OFFICE) == "drawer", "the card moves")
    assert page.told() == f"{OFFICE} is off its dock."
    assert service.pen(OFFICE)["docked"] is False
    watch.wait_for(OFFICE, "departed")
    watch.forget()
    page.button(OFFICE, "dock").click()
    page.wait(lambda: page.place(OFFICE) == "desk", "the card comes back")
    assert service.pen(OFFICE)["docked"] is True
    watch.wait_for(OFFICE, "arrived")


def test_dragging_docks_and_undocks(page, service, watch):
    watch.wait_for(NOTEBOOK, "arrived")
    page.drag(NOTEBOOK, "drawer")
    page.wait(lambda: page.place(NOTEBOOK) == "drawer", "the card is where it was dropped")
    assert service.pen(NOTEBOOK)["docked"] is False
    watch.wait_for(NOTEBOOK, "departed")
    page.drag(NOTEBOOK, "desk")
    page.wait(lambda: page.place(NOTEBOOK) == "desk", "the card is back")
    assert service.pen(NOTEBOOK)["docked"] is True


def test_what_is_dropped_where_it_was_stays(page, service):
    page.drag(NOTEBOOK, "desk")
    assert page.place(NOTEBOOK) == "desk"
    assert json.loads(service.get("commands")[2])["commands"] == []


def test_the_keyboard_docks_and_undocks_and_keeps_its_place(page, service):
    button = page.button(OFFICE, "dock")
    page.tab_to(button)
    page.keys(Keys.ENTER)
    page.wait(lambda: page.place(OFFICE) == "drawer", "the card moves")
    page.wait(lambda: page.focused() == button, "the focus moves along")
    page.keys(Keys.SPACE)
    page.wait(lambda: page.place(OFFICE) == "desk", "the card comes back")
    assert service.pen(OFFICE)["docked"] is True


def test_connections_and_progress_are_shown(page, service):
    service.command("dock", pen=PEN_10)
    pen = service.command("state", pen="0x1234")
    page.wait(lambda: len(page.all(".card")) == 5, "the pen is there")
    serial = pen["serial"]
    host = Host(pen["port"])
    page.wait(lambda: "#1 connected" in page.card_text(serial), "the connection is shown")
    host.ask(Host.BEGIN_SESSION, Host.BEGIN_SESSION_LENGTH)
    for number in range(4):
        host.get_page(page_address(number))
    page.wait(lambda: "#1 reads: 4 of 10 pages" in page.card_text(serial), "how far it is")
    bar = page.card(serial).find_element(By.CSS_SELECTOR, "[role=progressbar]")
    assert [bar.get_attribute(f"aria-value{what}") for what in ("now", "max", "text")] == ["4", "10", "4 of 10 pages"]
    host.close()
    page.wait(lambda: "no host connected" in page.card_text(serial), "the host is gone")
    assert not bar.is_displayed()


def page_address(number):
    """1.2.3.<number>: four fields, the first of the five is 0."""
    return 1 << 40 | 2 << 24 | 3 << 12 | number


def test_a_real_host_fetches_and_the_desk_shows_it(page, tmp_path):
    code, _, problem = penctl("fetch", NOTEBOOK, "-o", str(tmp_path / "pages.zel"))
    assert code == 0, problem
    page.wait_for_line(f"{NOTEBOOK} #1 U0PG get page (3.70.300.1.0)")
    assert page.wait_for_line("U0PI list pages").endswith("6 pages")


# ---- A new pen


def test_a_new_pen_by_form(page, service, watch):
    page.click("open-new-pen")
    form = page.find("#new-pen")
    assert form.is_displayed()
    identity = page.find("[name=id]").get_attribute("value")
    page.fill("[name=brand]", "Form pen")
    page.choose("[name=protocols]", "PSP40 PSP41")
    page.fill("[name=software_version]", "0x0601")
    page.fill("[name=memory]", "2")
    page.fill("[name=pages]", "5")
    page.fill("[name=page_size]", "1000")
    page.fill("[name=password]", "opensesame")
    page.fill("[name=hint]", "a cave")
    form.find_element(By.CSS_SELECTOR, "button[value=dock]").click()
    page.wait(lambda: not form.is_displayed(), "the form closes")
    pen = service.command("state", pen=f"0x{int(identity, 16):x}")
    told = {key: pen[key] for key in ("brand", "software_version", "protocols", "memory", "has_password", "hint", "locked", "mode", "docked")}
    assert told == {
        "brand": "Form pen", "software_version": "0x0601", "protocols": ["PSP40", "PSP41"], "memory": 2 << 20,
        "has_password": True, "hint": "a cave", "locked": True, "mode": "ordinary", "docked": True,
    }
    assert [(one["address"], one["size"]) for one in pen["pages"]] == [(f"1.2.3.{i}", 1000) for i in range(5)]
    page.wait(lambda: page.place(pen["serial"]) == "desk", "the card")
    watch.wait_for(pen["serial"], "arrived")


def test_a_new_pen_that_cannot_be_is_told(page, service):
    page.click("open-new-pen")
    page.fill("[name=id]", "0x12300abcdef")
    page.find("#new-pen button[value=dock]").click()
    page.wait(lambda: page.text("new-pen-problem") == "there is a pen 0000012300abcdef already", "the problem is told")
    assert page.find("#new-pen").is_displayed()
    page.fill("[name=id]", "no number")
    page.find("#new-pen button[value=dock]").click()
    assert page.find("#new-pen").is_displayed()
    page.keys(Keys.ESCAPE)
    assert not page.find("#new-pen").is_displayed()
    assert len(service.command("list")) == 4


def test_pens_in_firmware_upgrade_mode_and_many_at_once_by_form(page, service):
    page.click("open-new-pen")
    page.choose("[name=mode]", "firmware-upgrade")
    page.fill("[name=count]", "3")
    page.fill("[name=pages]", "0")
    page.find("#new-pen button[value=dock]").click()
    page.wait(lambda: len(page.serials("desk")) == 7, "three more pens")
    assert [pen["mode"] for pen in service.command("list")[4:]] == ["firmware-upgrade"] * 3


# ---- Faults


FAULTS = {
    "silent": {"bytes": ""},
    "close": {"bytes": "", "ending": "close"},
    "reset": {"bytes": "", "ending": "reset"},
    "type": {"value": {"byte": 7}},
    "slow": {"delay_ms": 1234},
    "cut": {"cut_after": 9, "ending": "close"},
    "status": {"status": -17},
}


@pytest.mark.parametrize("kind", FAULTS)
def test_faults_by_button(page, service, kind):
    page.open_details(NOTEBOOK)
    page.choose("#fault-trigger", "U0PG")
    page.fill("fault-occurrence", "2")
    page.fill("fault-delay", "1234")
    page.fill("fault-cut", "9")
    page.fill("fault-status", "-17")
    page.click(f"[data-fault={kind}]")
    page.wait(lambda: "1 fault" in page.card_text(NOTEBOOK), "the card tells of the fault")
    assert service.pen(NOTEBOOK)["faults"] == [{"instruction": "U0PG", "occurrence": 2, **FAULTS[kind]}]
    page.wait(lambda: page.text("fault-list").startswith("U0PG get page, number 2 from now: "), "it is listed")
    page.click("fault-clear")
    page.wait(lambda: page.text("fault-list") == "none", "it is gone")
    assert service.pen(NOTEBOOK)["faults"] == []


def test_a_fault_of_every_request_is_met_by_a_real_host(page, service):
    page.open_details(OFFICE)
    page.fill("fault-status", "-9003")
    page.click("[data-fault=status]")
    page.wait(lambda: page.text("fault-list") == "every request: status -9003", "it is listed")
    code, _, problem = penctl("pages", OFFICE)
    assert code != 0 and problem
    assert page.wait_for_line("-9003 locked")


def test_a_fault_of_new_connections(page, service):
    page.open_details(NOTEBOOK)
    page.choose("#fault-trigger", "connection")
    assert [button.is_enabled() for button in page.all("#fault-form .answer")] == [False, False]
    page.click("[data-fault=close]")
    page.wait(lambda: page.text("fault-list") == "new connections: no answer, then closed", "it is listed")
    host = Host(service.pen(NOTEBOOK)["port"])
    assert host.socket.recv(1) == b""
    host.close()


def test_a_number_that_does_not_fit_adds_no_fault(page, service):
    page.open_details(NOTEBOOK)
    page.fill("fault-cut", "-1")
    page.click("[data-fault=cut]")
    page.fill("fault-occurrence", "")
    page.click("[data-fault=silent]")
    assert service.pen(NOTEBOOK)["faults"] == []


def test_the_instructions_are_those_of_scenarios(page):
    schema = json.loads((ROOT / "apps/pensim/scenarios/scenario.schema.json").read_text())
    offered = [option.get_attribute("value") for option in page.all("#fault-trigger option")]
    assert sorted(offered) == sorted([*schema["definitions"]["instruction"]["enum"], "connection"])


def test_busy(page, service, tmp_path):
    page.open_details(NOTEBOOK)
    page.click("busy-switch")
    page.wait(lambda: "busy" in page.card_text(NOTEBOOK), "the card tells")
    assert page.find("#busy-switch").get_attribute("aria-pressed") == "true"
    assert service.pen(NOTEBOOK)["busy"] is True
    file = str(tmp_path / "pages.zel")
    assert penctl("fetch", NOTEBOOK, "-o", file)[0] == 9
    page.click("busy-switch")
    page.wait(lambda: "busy" not in page.card_text(NOTEBOOK), "the card tells")
    assert penctl("fetch", NOTEBOOK, "-o", file)[0] == 0
    assert service.pen(NOTEBOOK)["busy"] is False


# ---- The service


def test_the_service_goes_down_and_up(page, service, watch):
    watch.wait_for(NOTEBOOK, "arrived")
    page.wait(lambda: "1 host listening" in page.text("service-state"), "the host is counted")
    page.click("service-switch")
    page.wait(lambda: page.text("service-state").startswith("down"), "it is down")
    assert service.command("state")["rendezvous"]["listening"] is False
    assert penctl("list")[0] != 0
    watch.forget()
    page.click("service-switch")
    page.wait(lambda: page.text("service-state").startswith("up on port 3715"), "it is up")
    assert service.command("state")["rendezvous"]["listening"] is True
    watch.wait_for(NOTEBOOK, "arrived")
    assert NOTEBOOK in penctl("list")[1]


def test_a_service_that_ended_is_told(page, service):
    service.process.stdin.write("quit\n")
    service.process.stdin.flush()
    page.wait(lambda: page.find("#lost").is_displayed(), "the page tells")
    assert page.text("service-state") == "not reached"


# ---- One pen


def test_the_lock_the_password_and_the_hint(page, service, tmp_path):
    page.open_details(LOCKED)
    assert page.find("#lock-switch").get_attribute("aria-pressed") == "true"
    assert page.text("lock-text") == "has a password"
    page.click("lock-switch")
    page.wait(lambda: "locked" not in page.card_text(LOCKED).split("\n"), "it is unlocked")
    assert service.pen(LOCKED)["locked"] is False
    page.fill("password", "12")
    page.click("#password-form button")
    page.wait(lambda: page.told() == f"{LOCKED}: has a password.", "it is set")
    assert page.find("#password").get_attribute("value") == ""
    page.click("lock-switch")
    page.wait(lambda: service.pen(LOCKED)["locked"], "it is locked")
    (tmp_path / "password").write_text("12")
    assert penctl("unlock", LOCKED, "--password-file", str(tmp_path / "password"))[0] == 0
    page.wait(lambda: page.find("#lock-switch").get_attribute("aria-pressed") == "false", "a host unlocked it")
    page.fill("hint", "a dozen")
    page.click("#hint-form button")
    page.wait(lambda: service.pen(LOCKED)["hint"] == "a dozen", "the hint is set")
    page.fill("password", "")
    page.click("#password-form button")
    page.wait(lambda: not service.pen(LOCKED)["has_password"], "it has none")
    page.wait(lambda: page.text("lock-text") == "has no password", "the page tells")


def test_pages_are_added_and_removed(page, service):
    page.open_details(OFFICE)
    page.wait(lambda: [line.text.split()[0] for line in page.all("#page-list li")] == ["5.6.7.8", "5.6.7.9"], "they are listed")
    page.fill("page-address", "2.2.2.2")
    page.fill("page-size", "77")
    page.fill("page-count", "3")
    page.click("#page-form button")
    page.wait(lambda: len(page.all("#page-list li")) == 5, "the new ones are listed")
    assert [(one["address"], one["size"]) for one in service.pen(OFFICE)["pages"]][2:] == [("2.2.2.2", 77), ("2.2.2.3", 77), ("2.2.2.4", 77)]
    page.all("#page-list button")[3].click()
    page.wait(lambda: len(page.all("#page-list li")) == 4, "one is gone")
    assert [one["address"] for one in service.pen(OFFICE)["pages"]] == ["5.6.7.8", "5.6.7.9", "2.2.2.2", "2.2.2.4"]
    page.fill("page-size", "40000000")
    page.click("#page-form button")
    page.wait(lambda: page.text("refused").startswith("the memory is full"), "a refusal is told")


def test_connections_are_dropped(page, service):
    page.open_details(NOTEBOOK)
    assert not page.find("#drop-close").is_enabled()
    host = Host(service.pen(NOTEBOOK)["port"])
    page.wait(lambda: page.text("session-text") == "#1 connected.", "it is told")
    page.click("drop-close")
    assert host.socket.recv(1) == b""
    host.close()
    host = Host(service.pen(NOTEBOOK)["port"])
    page.wait(lambda: page.text("session-text") == "#2 connected.", "it is told")
    page.click("drop-reset")
    with pytest.raises(ConnectionResetError):
        host.socket.recv(1)
    host.close()


def test_exchanges_are_counted(page, service):
    page.open_details(NOTEBOOK)
    page.wait(lambda: page.text("exchange-list") == "none yet", "nothing yet")
    host = Host(service.pen(NOTEBOOK)["port"])
    for _ in range(3):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: page.text("exchange-list") == "R1GL lock status: 3", "they are counted")
    page.click("counts-clear")
    page.wait(lambda: page.text("exchange-list") == "none yet", "it begins anew")
    assert service.pen(NOTEBOOK)["exchanges"] == {}
    host.close()


def test_details_follow_their_pen_and_give_the_focus_back(page, service):
    button = page.button(OFFICE, "more")
    page.tab_to(button)
    page.keys(Keys.ENTER)
    page.wait(lambda: page.focused() == page.find("#details-title"), "the focus is in the details")
    assert "PSP40" in page.text("facts") and "0x0502" in page.text("facts")
    service.command("undock", pen=OFFICE)
    page.wait(lambda: "in the drawer" in page.text("facts"), "it is told")
    page.keys(Keys.ESCAPE)
    page.wait(lambda: page.focused() == button, "the focus is back")
    assert not page.find("#details").is_displayed()
    page.open_details(NOTEBOOK)
    page.click("details-close")
    page.wait(lambda: page.focused() == page.button(NOTEBOOK, "more"), "the focus is back")


def test_other_pens_take_the_place_of_these(page, service, tmp_path):
    page.open_details(NOTEBOOK)
    (tmp_path / "other.json").write_text(json.dumps({"pens": [PEN_10]}))
    service.command("load", file=str(tmp_path / "other.json"))
    page.wait(lambda: page.serials("desk") == ["AAA-AAA-FFM-KF"], "the others are gone")
    assert not page.find("#details").is_displayed()


def test_what_hosts_and_scenarios_write_is_shown_as_text(page, service):
    evil = "<img src=x onerror=alert(1)><script>alert(2)</script>"
    service.command("dock", pen={"id": "0x77", "brand": evil, "password": "x", "hint": evil})
    serial = service.command("state", pen="0x77")["serial"]
    page.wait(lambda: evil in page.card_text(serial), "the brand is a text")
    page.open_details(serial)
    assert page.text("details-brand") == evil
    assert page.find("#hint").get_attribute("value") == evil
    assert page.wait_for_line(f"pen arrived: {evil}")
    assert page.all("img") == []


# ---- Firmware upgrade


def test_a_firmware_upgrade_in_its_phases(page, service, tmp_path):
    page.open_details(FIRMWARE)

    def phase():
        return [item.text for item in page.all("#phases [aria-current=step]")]

    assert phase() == ["Ready"]
    assert not page.find("#image-link").is_displayed()
    host = Host(service.pen(FIRMWARE)["port"])
    image = bytes(range(200))
    block = b"\x00\x00\xc8\x00" + image
    host.ask(b"V003\x01\x00\x07" + len(block).to_bytes(4, "big") + block, 8)
    page.wait(lambda: phase() == ["Download"], "it downloads")
    page.wait(lambda: "200 bytes received, not installed" in page.text("firmware-text"), "how much came")
    assert "200 bytes received" in page.card_text(FIRMWARE)
    page.click("image-link")
    received = page.downloads / f"{FIRMWARE}.img"
    eventually(received.exists, "the image is downloaded")
    assert received.read_bytes() == image
    host.ask(b"V009\x00", 8)  # reset while the image is not whole: dfuERROR, and the pen comes back
    page.wait(lambda: phase() == ["Error"], "it failed")
    host.close()


def test_a_real_host_upgrades_a_pen(page, service, tmp_path):
    page.open_details(FIRMWARE)
    image = tmp_path / "image"
    image.write_bytes(b"\x5a" * 30000)
    code, _, problem = penctl("dfu", "download", "--yes", FIRMWARE, str(image))
    assert code == 0, problem
    page.wait(lambda: "30,000 bytes received, installed" in page.text("firmware-text"), "it is installed")
    page.click("image-link")
    received = page.downloads / f"{FIRMWARE}.img"
    eventually(lambda: received.exists() and received.stat().st_size == 30000, "the image is downloaded")


# ---- The log


def test_the_log_is_live_and_decoded(page, service):
    host = Host(service.pen(NOTEBOOK)["port"])
    host.ask(b"R1GP\x01\x00\x03\x00\x24", 8)  # property 0x0024
    assert page.wait_for_line("R1GP").endswith(f'{NOTEBOOK} #1 R1GP get property (0x0024 brand) "Notebook pen"')
    host.ask(b"XXXX\x00", 8)
    assert page.wait_for_line("XXXX").endswith("XXXX unknown -9001 unknown instruction")
    host.ask(b"R1UL\x01\x00\x07\x00\x00\x00\x02\xab\xcd", 8)
    assert "unlock ((secret))" in page.wait_for_line("R1UL")
    host.close()
    page.wait_for_line("disconnected")
    service.command("undock", pen=OFFICE)
    page.wait_for_line("pen left: Office pen, 0000000100000001, port ")


def test_the_log_tells_of_faults(page, service):
    service.command("fault", pen=1, fault={"instruction": "R1GL", "cut_after": 5, "ending": "close"})
    host = Host(service.pen(NOTEBOOK)["port"])
    host.ask(Host.LOCK_STATUS, 5)
    assert page.wait_for_line("cut after 5 bytes, then closed")
    host.close()


def test_the_log_is_filtered(page, service):
    notebook = Host(service.pen(NOTEBOOK)["port"])
    office = Host(service.pen(OFFICE)["port"])
    for host in (notebook, office):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
        host.ask(b"XXXX\x00", 8)
    page.wait(lambda: sum("XXXX" in line for line in page.lines()) == 2, "both")
    page.fill("log-filter", f"{OFFICE} -9001")
    page.wait(lambda: len(page.lines()) == 1 and OFFICE in page.lines()[0], "one of them")
    assert re.fullmatch(r"1 line of \d+", page.text("log-count"))
    office.ask(b"XXXX\x00", 8)
    page.wait(lambda: len(page.lines()) == 2, "another that fits")
    notebook.ask(b"XXXX\x00", 8)
    page.fill("log-filter", "")
    page.keys(" ")
    page.wait(lambda: sum("XXXX" in line for line in page.lines()) == 4, "all again")
    for host in (notebook, office):
        host.close()


def test_the_log_pauses_and_goes_on(page, service):
    host = Host(service.pen(NOTEBOOK)["port"])
    page.wait_for_line("connected")
    page.click("log-pause")
    before = page.lines()
    for _ in range(5):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: page.text("log-count").endswith(", 5 new"), "what waits is counted")
    assert page.lines() == before
    page.click("log-pause")
    page.wait(lambda: len(page.lines()) == len(before) + 5, "it goes on with what came")
    page.click("log-clear")
    page.wait(lambda: page.lines() == [], "it is empty")
    host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: len(page.lines()) == 1, "what comes is shown")
    host.close()


def test_the_newest_line_stays_in_sight_unless_somebody_reads(page, service):
    host = Host(service.pen(NOTEBOOK)["port"])
    rest = "const log = document.getElementById('log'); return log.scrollHeight - log.scrollTop - log.clientHeight"
    for _ in range(60):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: len(page.lines()) > 60 and page.driver.execute_script(rest) < 40, "it follows")
    page.driver.execute_script("document.getElementById('log').scrollTop = 0")
    page.wait(lambda: page.driver.execute_script(rest) > 100, "somebody reads")
    for _ in range(20):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: len(page.lines()) > 80, "more came")
    assert page.driver.execute_script("return document.getElementById('log').scrollTop") < 20
    host.close()


def test_the_log_holds_so_many_lines(page, service):
    host = Host(service.pen(NOTEBOOK)["port"])
    for _ in range(1000):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    page.wait(lambda: page.text("log-count") == "1,005 lines", "all are kept")
    page.wait(lambda: len(page.all("#log .line")) == 400, "the last ones are drawn")
    host.close()


def test_of_a_rush_of_lines_the_last_ones_are_drawn_and_the_others_when_somebody_reads(page, service):
    host = Host(service.pen(NOTEBOOK)["port"])
    log = "const log = document.getElementById('log');"
    is_over = threading.Event()

    def rush():
        while not is_over.wait(0.02):
            host.ask(Host.LOCK_STATUS * 20, Host.LOCK_STATUS_LENGTH * 20)

    thread = threading.Thread(target=rush)
    thread.start()
    try:
        page.wait(lambda: int(page.text("log-count").split()[0].replace(",", "")) > 600, "there are many")
        page.wait(lambda: len(page.lines()) == 40, "the last ones are drawn")
        page.driver.execute_script(f"{log} log.scrollTop = 0")
    finally:
        is_over.set()
        thread.join()
    page.wait(lambda: len(page.all("#log .line")) == 400, "the others are there too")
    assert page.driver.execute_script(f"{log} return log.scrollHeight - log.scrollTop - log.clientHeight") > 100
    host.close()


# ---- Save and copy


def test_save_as_scenario(page, service, tmp_path):
    page.button(OFFICE, "dock").click()
    page.wait(lambda: page.place(OFFICE) == "drawer", "something changed")
    page.click("save-scenario")
    saved = page.downloads / "scenario.json"
    eventually(saved.exists, "the scenario is downloaded")
    pens = json.loads(saved.read_text())["pens"]
    assert [(pen["id"], pen.get("docked", True)) for pen in pens][1] == ("0x0000000100000001", False)
    service.command("save", file=str(tmp_path / "by_command.json"))
    assert json.loads((tmp_path / "by_command.json").read_text()) == json.loads(saved.read_text())
    service.command("load", file=str(saved))


def led_here(page, form):
    page.click("open-test")
    page.choose("#test-format", form)
    return page.find("#test-text").get_attribute("value")


def test_copy_as_test(page, service, tmp_path):
    """The test that is copied leads a new service to the same state."""
    page.button(OFFICE, "dock").click()
    page.wait(lambda: page.place(OFFICE) == "drawer", "a command by the page")
    service.command("fault", pen=1, fault={"instruction": "U0PG", "occurrence": 2, "cut_after": 7})
    service.command("password", pen=1, text="two words")
    service.command("set", pen=1, key="0x2203", value={"string": "47\"11"})
    service.command("pages", pen=1, action="remove", page="1.2.3.4")
    service.command("dock", pen={"id": "0x99", "brand": "a 'quoted' pen"})
    state = {key: service.pen(1)[key] for key in ("faults", "has_password", "locked", "pages", "properties")}
    text = led_here(page, "pytest")
    assert page.text("test-note").startswith("6 commands led here")
    assert text.count("pensim.command(") == 6
    page.click("#test [data-close]")

    service.process.stdin.write("quit\n")  # the port is wanted
    service.process.stdin.flush()
    service.process.wait(20)
    (tmp_path / "test_copied.py").write_text(
        text + "    import json\n    state = json.loads(''.join(pensim.command('state 1')))\n"
        f"    expected = json.loads({json.dumps(json.dumps(state))})\n"
        "    for clock in ('0x001f', '0x0021', '0x2021'):\n        expected['properties'].pop(clock, 0), state['properties'].pop(clock, 0)\n"
        "    assert {key: state[key] for key in expected} == expected\n"
        f"    assert json.loads(''.join(pensim.command('state {OFFICE}')))['docked'] is False\n"
    )
    done = subprocess.run(
        ["/usr/bin/python3", "-m", "pytest", "-q", "-p", "no:cacheprovider", str(tmp_path / "test_copied.py")],
        env={"PATH": "/usr/bin:/bin", "PYTHONDONTWRITEBYTECODE": "1", "PYTHONPATH": str(ROOT / "bindings/python/src")}, cwd=tmp_path, capture_output=True, text=True, timeout=120,
    )
    assert "1 passed" in done.stdout, done.stdout


def test_copy_as_lines(page, service):
    service.command("undock", pen=2)
    service.command("set", pen=NOTEBOOK, key="locked", value=True)
    assert led_here(page, "words") == f"undock 2\nset {NOTEBOOK} locked true\n"
    page.choose("#test-format", "json")
    lines = page.find("#test-text").get_attribute("value").splitlines()
    assert [json.loads(line) for line in lines] == [
        {"command": "undock", "pen": 2},
        {"command": "set", "pen": NOTEBOOK, "key": "locked", "value": True},
    ]


def test_copying(page, service):
    page.driver.execute_cdp_cmd("Browser.grantPermissions", {"permissions": ["clipboardReadWrite", "clipboardSanitizedWrite"]})
    service.command("undock", pen=3)
    text = led_here(page, "words")
    page.click("test-copy")
    page.wait(lambda: page.text("test-copied") == "copied", "it says so")
    assert page.driver.execute_async_script("navigator.clipboard.readText().then(arguments[0])") == text == "undock 3\n"


@pytest.mark.pens([PEN_10])
def test_a_service_that_began_with_a_scenario_says_so(page, service, tmp_path):
    assert led_here(page, "words") == f"load {tmp_path}/scenario.json\n"
