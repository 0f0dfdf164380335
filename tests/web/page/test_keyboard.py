"""Everything by keyboard alone, with the focus seen at every step."""

import unittest

import board
from browser import PageTest
from selenium.webdriver.common.keys import Keys

FOCUS_IS_SEEN = """
const focused = document.activeElement;
const place = focused.closest('.drop') ?? focused;
return getComputedStyle(place).outlineStyle !== 'none' && place.getClientRects().length > 0;
"""


class Keyboard(PageTest):
    def focused(self):
        """The id of what has the focus, or else its text."""
        return self.script("const focused = document.activeElement;"
                           "return focused.id || focused.innerText")

    def wait_focused(self, wanted):
        board.wait_until(lambda: self.focused() == wanted, f"{wanted} has the focus")

    def tab_to(self, wanted):
        """Presses Tab until the element with that id, or that text, has the focus."""
        seen = []
        for _ in range(40):
            self.press(Keys.TAB)
            if self.script("return document.activeElement === document.body"):
                continue  # the browser's own controls come between the end and the beginning
            self.assertTrue(self.script(FOCUS_IS_SEEN), f"the focus is not seen: {self.focused()}")
            name = self.focused()
            if name == wanted:
                return
            seen.append(name)
        self.fail(f"Tab does not lead to {wanted}, only to {seen}")

    def log_in_by_keyboard(self):
        self.wait_focused("login-user")
        self.press(board.USER, Keys.TAB, board.PASSWORD, Keys.ENTER)
        self.wait_text("#live", "Live")

    def test_a_certificate_is_installed_looked_at_and_deleted(self):
        self.log_in_by_keyboard()
        self.tab_to("install-button")
        self.press(Keys.ENTER)
        self.wait_for("#install")
        self.tab_to("install-file")
        # The chooser is the system's own; the driver plays it.
        self.driver.switch_to.active_element.send_keys(
            self.file_with(self.authority.server("typed.example")))
        self.wait_text("#install-preview", "typed.example")
        self.wait_focused("install-submit")
        self.press(Keys.ENTER)
        self.wait_subjects("typed.example")
        self.wait_gone("#install")
        self.wait_focused("install-button")
        self.tab_to("typed.example")
        self.press(Keys.ENTER)
        self.wait_for("#details")
        self.tab_to("details-delete")
        self.press(Keys.ENTER)
        self.wait_for("#question")
        self.wait_focused("Keep it")
        self.press(Keys.ESCAPE)
        self.wait_gone("#question")
        self.wait_focused("details-delete")
        self.press(Keys.ENTER)
        self.wait_for("#question")
        self.tab_to("question-yes")
        self.press(Keys.ENTER)
        self.wait_for("#empty")
        self.wait_focused("board-title")

    def test_a_signing_request_is_made(self):
        self.log_in_by_keyboard()
        self.tab_to("request-button")
        self.press(Keys.ENTER)
        self.wait_for("#signing")
        self.wait_focused("signing-name")
        self.press("typed.example", Keys.ENTER)
        self.wait_for("#signing-text")
        self.tab_to("signing-download")
        self.press(Keys.ENTER)
        self.assertIn("BEGIN CERTIFICATE REQUEST", self.downloaded("typed.example.csr"))
        self.press(Keys.ESCAPE)
        self.wait_gone("#signing")
        self.wait_focused("request-button")

    def test_the_first_step_skips_to_the_certificates(self):
        self.log_in_by_keyboard()
        self.driver.refresh()
        self.wait_for("#empty")
        self.script("document.activeElement.blur()")
        self.tab_to("To the certificates")
        self.press(Keys.ENTER)
        self.wait_focused("main")


if __name__ == "__main__":
    unittest.main()
