"""The desk as somebody sees it who uses it: places and cards, buttons by their names, what is told."""

from pathlib import Path

from selenium.common.exceptions import NoSuchElementException, StaleElementReferenceException
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select
from service import eventually


class Page:
    def __init__(self, driver, service, size, downloads):
        self.driver = driver
        self.service = service
        self.downloads = Path(downloads, "downloads")
        self.downloads.mkdir()
        driver.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(self.downloads)})
        self.look("light", size)
        driver.get(service.address)
        self.wait(lambda: self.text("service-state").startswith("up"), "the page knows the service")

    def look(self, scheme, size):
        metrics = {"width": size[0], "height": size[1], "deviceScaleFactor": 1, "mobile": size[0] < 500}
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", metrics)
        self.driver.execute_cdp_cmd(
            "Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]}
        )

    def leave(self):
        complaints = [entry["message"] for entry in self.driver.get_log("browser") if "ERR_" not in entry["message"]]
        self.driver.get("about:blank")
        assert complaints == []

    def wait(self, condition, what):
        def steady():
            try:
                return condition()
            except (NoSuchElementException, StaleElementReferenceException):
                return None  # it is not drawn yet, or was drawn anew meanwhile

        return eventually(steady, what)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def text(self, name):
        return self.find(f"#{name}").text

    def fill(self, name, text):
        field = self.find(name if name.startswith(("[", "#")) else f"#{name}")
        field.clear()
        field.send_keys(text)

    def choose(self, selector, value):
        Select(self.find(selector)).select_by_value(value)

    def click(self, name):
        self.find(name if name.startswith(("[", "#")) else f"#{name}").click()

    def card(self, serial):
        return self.driver.find_element(By.XPATH, f"//li[.//h3='{serial}']")

    def card_text(self, serial):
        return self.card(serial).text

    def place(self, serial):
        return self.card(serial).find_element(By.XPATH, "ancestor::section").get_attribute("id")

    def serials(self, place):
        return self.driver.execute_script(f"return [...document.querySelectorAll('#{place} .serial')].map(one => one.textContent)")

    def button(self, serial, kind):
        return self.card(serial).find_element(By.CLASS_NAME, kind)

    def open_details(self, serial):
        self.button(serial, "more").click()
        self.wait(lambda: self.text("details-title") == serial, f"the details of {serial}")

    def drag(self, serial, place):
        card = self.card(serial).find_element(By.CLASS_NAME, "serial")
        ActionChains(self.driver, duration=50).click_and_hold(card).move_to_element(self.find(f"#{place} h2")).release().perform()

    def keys(self, *keys):
        ActionChains(self.driver).send_keys(*keys).perform()

    def focused(self):
        return self.driver.switch_to.active_element

    def tab_to(self, element, most=80):
        for _ in range(most):
            self.keys(Keys.TAB)
            if self.focused() == element:
                return
        raise AssertionError("the focus does not get there")

    def lines(self):
        script = "[...line.children].map(part => part.textContent.trim()).filter(Boolean).join(' ')"
        return self.driver.execute_script(f"return [...document.querySelectorAll('#log .line')].map(line => {script})")

    def wait_for_line(self, text):
        return self.wait(lambda: next((line for line in self.lines() if text in line), None), f"a line with {text}")

    def told(self):
        return self.text("told") or self.text("refused")
