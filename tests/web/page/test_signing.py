"""Signing requests."""

import unittest

import board
from browser import PageTest
from certificates import describe_request
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select


class SigningRequests(PageTest):
    def fill(self, key="TPM_ECC_NIST_P256", **fields):
        self.click("#request-button")
        self.wait_for("#signing-name")
        for name, value in fields.items():
            self.driver.find_element("css selector", f"#signing [name={name}]").send_keys(value)
        Select(self.wait_for("#signing-key")).select_by_value(key)

    def test_a_request_for_a_curve_is_made_at_once_and_its_certificate_installed(self):
        self.open_board()
        self.fill(CommonName="bmc-17.example", AlternativeNames="bmc-17.lan, 192.0.2.7",
                  Organization="Example", Country="de", key="TPM_ECC_NIST_P384")
        self.click("#signing-submit")
        self.wait_for("#signing-text")
        self.keep("signing-request")
        self.click("#signing-download")
        request = self.downloaded("bmc-17.example.csr")
        described = describe_request(request)
        for expected in ("C = DE, O = Example, CN = bmc-17.example", "NIST CURVE: P-384",
                         "DNS:bmc-17.lan, IP Address:192.0.2.7"):
            self.assertIn(expected, described)
        self.press(Keys.ESCAPE)
        self.drop(self.file_with(self.authority.certificate_for(request)))
        self.wait_text("#install-preview", "bmc-17.example")
        self.assertEqual(self.text_of("#install-note"), "")
        self.click("#install-submit")
        self.wait_subjects("bmc-17.example")

    def test_the_progress_of_an_rsa_key_is_shown_until_its_request_is_there(self):
        self.open_board()
        board.begin_rsa_requests(2)  # this one waits for them
        self.fill(CommonName="rsa.example", key="3072")
        self.click("#signing-submit")
        self.wait_text("#signing-task", "Making the key: ")
        self.keep("signing-rsa")
        self.assertFalse(self.find("#signing-submit"))
        self.wait_for("#signing-text")
        self.click("#signing-download")
        described = describe_request(self.downloaded("rsa.example.csr"))
        self.assertIn("Public-Key: (3072 bit)", described)

    def test_the_page_tells_when_a_request_is_ready_that_nobody_waited_for(self):
        self.open_board()
        board.begin_rsa_requests(1)
        self.fill(CommonName="later.example", key="2048")
        self.click("#signing-submit")
        self.wait_for("#signing-task")
        self.press(Keys.ESCAPE)
        self.wait_text("#notices", "The signing request for later.example is ready.")
        self.click("#notices button")
        self.assertIn("BEGIN CERTIFICATE REQUEST",
                      self.wait_for("#signing-text").get_property("value"))
        self.click("#signing-again")
        self.wait_for("#signing-name")


class RefusedRequests(PageTest):
    refusals_are_expected = True

    def refusal_at(self, field):
        return self.wait_for(f"[data-field~='{field}'] .field-refusal").text

    def test_each_refusal_stands_at_the_field_that_it_is_about(self):
        self.open_board()
        self.click("#request-button")
        self.click("#signing-submit")
        self.assertIn("CommonName", self.refusal_at("CommonName"))
        self.wait_for("#signing-name").send_keys("bmc-17.example")
        self.wait_gone(".field-refusal")
        self.wait_for("#signing-country").send_keys("Germany")
        self.click("#signing-submit")
        self.assertIn("Give the two letters of the country", self.refusal_at("Country"))
        focused = self.driver.switch_to.active_element
        self.assertEqual(focused.get_attribute("name"), "Country")
        self.assertEqual(focused.get_attribute("aria-invalid"), "true")
        self.keep("refusal")

    def test_a_refused_field_that_is_folded_away_is_unfolded(self):
        self.open_board()
        self.click("#request-button")
        self.wait_for("#signing-name").send_keys("bmc-17.example")
        self.click("#signing summary")
        self.wait_for("#signing-email").send_keys("nobody")
        self.click("#signing summary")
        self.wait_gone("#signing-email")
        self.click("#signing-submit")
        self.assertIn("someone@example.com", self.refusal_at("Email"))


if __name__ == "__main__":
    unittest.main()
