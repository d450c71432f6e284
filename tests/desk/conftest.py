import pytest
from service import Service


@pytest.fixture
def service(request, tmp_path):
    """A service with its desk, for one test; its pens are those of the marker `pens`."""
    marker = request.node.get_closest_marker("pens")
    running = Service(tmp_path, {"pens": marker.args[0]} if marker else None)
    yield running
    running.stop()


# The rest is for tests in the browser.


def start_browser(**features):
    from selenium import webdriver
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service as Driver

    options = Options()
    options.binary_location = "/usr/bin/chromium"
    for word in ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars", "--lang=en"]:
        options.add_argument(word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Driver("/usr/bin/chromedriver"), options=options)


@pytest.fixture(scope="session")
def chromium():
    driver = start_browser()
    yield driver
    driver.quit()


@pytest.fixture
def page(request, service, chromium, tmp_path):
    """The desk in the browser. A script that fails, or what its policy forbids, fails the test."""
    from page import Page

    size = (390, 844) if request.node.get_closest_marker("phone") else (1440, 900)
    opened = Page(chromium, service, size, tmp_path)
    yield opened
    opened.leave()
