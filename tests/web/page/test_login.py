"""Logging in and out."""

import unittest

import board
from browser import PageTest


class Login(PageTest):
    def test_the_right_password_leads_to_the_board(self):
        self.log_in()
        self.wait_for("#empty")
        self.assertEqual(self.text_of("#user"), board.USER)
        self.assertFalse(self.find("#login"))

    def test_loading_the_page_anew_needs_no_login(self):
        self.open_board()
        self.driver.refresh()
        self.wait_for("#empty")

    def test_the_token_stands_in_no_address(self):
        self.open_board()
        token = self.script("return JSON.parse(sessionStorage.getItem('session')).token")
        addresses = self.script(
            "return [location.href, ...performance.getEntriesByType('resource')"
            ".map(each => each.name)]")
        self.assertGreaterEqual(len(token), 16)
        self.assertFalse([each for each in addresses if token in each])
        self.assertEqual(self.script("return document.cookie"), "")

    def test_logging_out_ends_the_session(self):
        self.open_board()
        self.click("#logout")
        self.wait_text("#login-notice", "logged out")
        board.wait_until(lambda: not board.get(board.SESSIONS)["Members"], "no session is left")
        self.assertIsNone(self.script("return sessionStorage.getItem('session')"))


class RefusedLogin(PageTest):
    refusals_are_expected = True

    def test_a_wrong_password_is_refused_in_the_services_words(self):
        self.log_in("wrong")
        self.wait_text("#login-form", "There is no such user, or the password is wrong.")
        self.assertFalse(self.find("#board"))
        self.log_in()
        self.wait_for("#empty")

    def test_a_session_that_is_ended_elsewhere_leads_back_to_the_login(self):
        board.install(self.authority.server("secret.example"))
        self.open_board()
        self.wait_subjects("secret.example")
        board.end_sessions()
        self.wait_text("#login-notice", "Your session has ended.")
        self.assertEqual(self.subjects(), [])


if __name__ == "__main__":
    unittest.main()
