"""The page in headless Chromium, and what all tests of it share."""

import atexit
import functools
import glob
import os
import tempfile
import unittest

from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import board
from certificates import Authority

DRIVER = "/usr/bin/chromedriver"
FLAGS = [
    "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-quic",
    "--no-first-run", "--disable-background-networking", "--disable-component-update",
    "--disable-sync", "--disable-extensions", "--lang=en-GB",
]
DESKTOP = (1280, 800)
PHONE = (360, 740)


@functools.cache
def authority():
    return Authority()


@functools.cache
def downloads():
    """The folder in which the browser keeps files."""
    return tempfile.mkdtemp()


@functools.cache
def browser():
    """The one browser of all tests, which ends with the program."""
    options = webdriver.ChromeOptions()
    for flag in FLAGS:
        options.add_argument(flag)
    options.add_experimental_option("prefs", {
        "download.default_directory": downloads(),
        "download.prompt_for_download": False,
    })
    options.set_capability("acceptInsecureCerts", True)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(options=options, service=Service(DRIVER))
    atexit.register(driver.quit)
    return driver


class PageTest(unittest.TestCase):
    """Each test begins with an empty board and a page that nobody has logged in to."""

    refusals_are_expected = False  # the browser itself logs every answer of 400 and above

    @classmethod
    def setUpClass(cls):
        cls.authority = authority()
        cls.driver = browser()

    def setUp(self):
        board.clear()
        board.end_sessions()
        self.show_as(DESKTOP)
        self.driver.get(board.ADDRESS)
        self.driver.execute_script("sessionStorage.clear()")
        self.driver.get(board.ADDRESS)
        self.wait_for("#login-form")
        self.driver.get_log("browser")

    def tearDown(self):
        entries = [entry["message"] for entry in self.driver.get_log("browser")
                   if not (self.refusals_are_expected and entry["source"] == "network")]
        self.assertEqual(entries, [], "the console has errors")

    # --- looking -----------------------------------------------------------------------------

    def show_as(self, size, **media):
        width, height = size
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": size == PHONE})
        features = [{"name": name.replace("_", "-"), "value": value}
                    for name, value in media.items()]
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})

    def find(self, selector):
        """The first element that is shown; None when there is none."""
        return self.script("return [...document.querySelectorAll(arguments[0])]"
                           ".find(each => each.checkVisibility())", selector)

    def wait_for(self, selector):
        return board.wait_until(lambda: self.find(selector), f"{selector} is shown")

    def wait_gone(self, selector):
        board.wait_until(lambda: not self.find(selector), f"{selector} is gone")

    def text_of(self, selector):
        """The text of the first element that is shown; empty when there is none."""
        return self.script("return [...document.querySelectorAll(arguments[0])]"
                           ".find(each => each.checkVisibility())?.innerText ?? ''", selector)

    def wait_text(self, selector, text):
        board.wait_until(lambda: text in self.text_of(selector), f"{selector} says {text}")

    def script(self, text, *words):
        return self.driver.execute_script(text, *words)

    def subjects(self):
        """The names in the table, from the top."""
        return self.script("return [...document.querySelectorAll('#certificates tbody button')]"
                           ".map(each => each.textContent)")

    def wait_subjects(self, *names):
        board.wait_until(lambda: self.subjects() == list(names), f"the table shows {names}")

    def rows(self):
        """The text of each row's cells."""
        return self.script("return [...document.querySelectorAll('#certificates tbody tr')]"
                           ".map(row => [...row.cells].map(cell => cell.innerText))")

    def keep(self, name):
        """Keeps what is shown as a picture."""
        self.driver.save_screenshot(os.path.join(os.environ["SCREENSHOTS"], f"{name}.png"))

    # --- doing -------------------------------------------------------------------------------

    def click(self, selector):
        self.wait_for(selector).click()

    def press(self, *keys):
        ActionChains(self.driver).send_keys(*keys).perform()

    def log_in(self, password=board.PASSWORD):
        self.wait_for("#login-user").clear()
        self.wait_for("#login-user").send_keys(board.USER)
        self.wait_for("#login-password").clear()
        self.wait_for("#login-password").send_keys(password, Keys.ENTER)

    def open_board(self):
        self.log_in()
        self.wait_text("#live", "Live")

    def open_details(self, name):
        self.click_while_drawn(f"//*[@id='certificates']//button[.='{name}']")
        self.wait_text("#details-title", name)

    def click_while_drawn(self, path):
        """Presses what the table may be drawing anew."""
        def pressed():
            try:
                found = self.driver.find_elements(By.XPATH, path)
                if found:
                    found[0].click()
                return bool(found)
            except StaleElementReferenceException:
                return False
        board.wait_until(pressed, f"{path} can be pressed")

    def drop(self, *paths):
        """Drags files from outside to the middle of the page and lets go of them."""
        data = {"items": [], "files": list(paths), "dragOperationsMask": 1}
        place = {"x": 200, "y": 300, "data": data}
        for step in ("dragEnter", "dragOver", "drop"):
            self.driver.execute_cdp_cmd("Input.dispatchDragEvent", {"type": step, **place})

    def file_with(self, content, name="certificate.pem"):
        path = os.path.join(tempfile.mkdtemp(), name)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def downloaded(self, pattern):
        """The text of the file that the browser kept."""
        pattern = os.path.join(downloads(), pattern)
        path = board.wait_until(lambda: glob.glob(pattern), f"{pattern} is kept")[0]
        with open(path, encoding="ascii") as file:
            text = file.read()
        os.remove(path)
        return text
