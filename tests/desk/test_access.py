"""Whether everybody can use the desk: axe-core looks for barriers in each of its states, and nothing is wider than a
phone."""

import time

import pytest
from selenium.webdriver.common.by import By
from service import FIRMWARE, LOCKED, NOTEBOOK, OFFICE, ROOT, Host

AXE = ROOT / "build/axe-core-4.14.1/axe.min.js"
SIZES = {"desk": (1440, 900), "tablet": (820, 1180), "phone": (390, 844), "narrow": (320, 640)}


def barriers(page):
    """What axe-core finds: rules, with the elements that break them."""
    page.driver.execute_script(AXE.read_text(encoding="utf-8"))
    found = page.driver.execute_async_script(
        "const done = arguments[0]; axe.run(document, {resultTypes: ['violations']}).then(done, e => done({violations: [String(e)], passes: []}))"
    )
    assert len(found["passes"]) > 10  # it has looked
    return [(one["id"], [node["html"][:150] for node in one["nodes"]]) for one in found["violations"]]


def rich_state(page, service):
    """Every kind of thing that a page can show, and a host that reads."""
    service.command("undock", pen=OFFICE)
    service.command("busy", pen=LOCKED, state="on")
    service.command("fault", pen=NOTEBOOK, fault={"instruction": "R1GT", "status": -17})
    host = Host(service.pen(NOTEBOOK)["port"])
    host.ask(Host.BEGIN_SESSION, Host.BEGIN_SESSION_LENGTH)
    host.ask(b"R1GT\x00", 8)
    host.ask(b"XXXX\x00", 8)
    page.wait_for_line("XXXX")
    return host


def states(page):
    yield "cards"
    page.open_details(NOTEBOOK)
    page.wait(lambda: page.all("#page-list button"), "the pages are listed")
    yield "details"
    page.click("details-close")
    page.open_details(FIRMWARE)
    yield "firmware"
    page.click("details-close")
    page.click("open-new-pen")
    yield "new pen"
    page.click("#new-pen [data-close]")
    page.click("open-test")
    yield "copy as test"
    page.click("#test [data-close]")
    page.click("service-switch")
    page.wait(lambda: page.text("service-state").startswith("down"), "it is down")
    yield "down"


@pytest.mark.parametrize("scheme", ["light", "dark"])
@pytest.mark.parametrize("size", SIZES)
def test_there_are_no_barriers(page, service, scheme, size):
    page.look(scheme, SIZES[size])
    host = rich_state(page, service)
    for state in states(page):
        time.sleep(0.3)  # in which the colours change
        assert barriers(page) == [], state
        assert page.driver.execute_script("return document.documentElement.scrollWidth <= innerWidth"), f"{state} is too wide"
    host.close()


def test_axe_finds_a_barrier_that_is_there(page):
    page.driver.execute_script("document.getElementById('log-filter').closest('label').querySelector('span').remove(); document.getElementById('log-filter').placeholder = ''")
    assert [rule for rule, _ in barriers(page)] == ["label"]


def test_everything_is_reached_by_the_keyboard_in_the_order_of_reading(page):
    from selenium.webdriver.common.keys import Keys

    page.open_details(NOTEBOOK)
    page.wait(lambda: page.all("#page-list button"), "the pages are listed")
    reachable = """return [...document.querySelectorAll('button, a[href], input, select, textarea, [tabindex="0"]')]
        .filter(one => !one.disabled && one.checkVisibility() && !one.closest('dialog'))"""
    wanted = page.driver.execute_script(reachable)
    page.driver.execute_script("arguments[0].focus()", wanted[0])
    reached = [page.focused()]
    for _ in wanted[1:]:
        page.keys(Keys.TAB)
        reached.append(page.focused())
    assert reached == wanted


def test_what_happens_is_told_to_screen_readers(page):
    assert page.find("#told").get_attribute("role") == "status"
    assert page.find("#refused").get_attribute("role") == "alert"
    names = [button.accessible_name for button in page.all(".card button")]
    assert names[:2] == [f"Take off {NOTEBOOK}", f"Details of {NOTEBOOK}"]
    assert len(set(names)) == len(names)
    assert page.find("#log").get_attribute("aria-live") == "off"  # hundreds of lines a second are not to be read out


@pytest.mark.phone
def test_everything_works_at_the_width_of_a_phone(page, service):
    page.open_details(OFFICE)
    page.click("[data-fault=silent]")
    page.wait(lambda: service.pen(OFFICE)["faults"], "a fault")
    page.click("details-close")
    page.button(OFFICE, "dock").click()
    page.wait(lambda: page.place(OFFICE) == "drawer", "it is in the drawer")
    smallest = min(button.size["height"] for button in page.all(".card button"))
    assert smallest >= 24
    page.find("#log-filter").send_keys("left")
    page.wait(lambda: len(page.lines()) == 1, "the log is filtered")


def test_motion_is_left_out_on_wish(page):
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-reduced-motion", "value": "reduce"}]})
    assert page.find(".card").value_of_css_property("transition-duration") in ("0s", "")
    assert page.find(".card").find_element(By.TAG_NAME, "button").value_of_css_property("transition-duration") == "0s"
