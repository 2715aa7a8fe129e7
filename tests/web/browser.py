"""A browser without a window, and what tests ask it."""
import json

from selenium import webdriver
from selenium.common.exceptions import NoAlertPresentException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

PATIENCE_S = 60


class Browser:
    def __init__(self):
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--hide-scrollbars", "--disable-background-networking", "--no-first-run"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.show(1280, 1600, "light")

    def show(self, width, height, scheme, motion="no-preference"):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": "prefers-color-scheme", "value": scheme},
            {"name": "prefers-reduced-motion", "value": motion}]})

    def open(self, url):
        self.complaints()
        self.requests()
        self.driver.get(url)

    def wait(self, done, what):
        WebDriverWait(self.driver, PATIENCE_S, poll_frequency=0.1).until(lambda _: done(), what)

    def text(self, selector):
        return self.driver.execute_script(
            "return document.querySelector(arguments[0])?.textContent ?? null", selector)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def numbers(self):
        """The numbers of each card: {title: {name: "61 °C"}}."""
        return self.run("""
            return Object.fromEntries([...document.querySelectorAll(".card")].map((card) => [
              card.querySelector("h2").textContent,
              Object.fromEntries([...card.querySelectorAll(".tile")].map((tile) => [
                tile.querySelector("dt").textContent, tile.querySelector(".now").textContent.trim()]))]))""")

    def happened(self):
        return self.run("""
            return [...document.querySelectorAll("#happened-list li")].map((item) => item.textContent)""")

    def is_asked(self):
        """Whether a script of the page has opened a dialog."""
        try:
            self.driver.switch_to.alert.dismiss()
            return True
        except NoAlertPresentException:
            return False

    def complaints(self):
        """Errors in the console since the last call."""
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] == "SEVERE"]

    def requests(self):
        """Addresses that were asked for since the last call."""
        urls = []
        for entry in self.driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                urls.append(message["params"]["request"]["url"])
        return urls

    def accessible_names(self):
        """Role and name of everything in the accessibility tree."""
        nodes = self.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        return {(node["role"]["value"], node.get("name", {}).get("value", ""))
                for node in nodes if not node["ignored"]}

    def save_screenshot(self, path):
        self.driver.save_screenshot(str(path))

    def close(self):
        self.driver.quit()
