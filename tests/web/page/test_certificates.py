"""The table, details, and what changes certificates."""

import datetime
import unittest

import board
from browser import PageTest
from certificates import der_of, key_of
from selenium.webdriver.support.ui import Select


def seconds(number):
    return datetime.timedelta(seconds=number)


class Certificates(PageTest):
    def install_one_that_ends_soon(self, name):
        """Installs a certificate and waits for its end."""
        for lifetime in (3, 10, 30, 90):  # one that ends before it is installed is refused
            text = self.authority.server(name, seconds(lifetime))
            uri = board.try_install(text)
            if uri:
                board.wait_until(lambda: board.get(uri)["Status"]["Health"] == "Critical",
                                 f"{name} has ended")
                return
        self.fail("no certificate could be installed before its end")

    def test_the_table_shows_what_ends_first_and_in_which_state(self):
        self.install_one_that_ends_soon("old.rack4.example")
        board.install(self.authority.server("bmc-16.rack4.example", datetime.timedelta(days=12.5)))
        board.install(self.authority.server("bmc-17.rack4.example", datetime.timedelta(days=290.5)))
        self.open_board()
        self.wait_subjects("old.rack4.example", "bmc-16.rack4.example", "bmc-17.rack4.example")
        self.assertEqual(self.text_of("#summary"), "1 good, 1 near the end, 1 expired")
        ended, near, good = self.rows()
        self.assertRegex(ended[2], r"Ended \d+ \w+ ago\s+Expired")
        self.assertRegex(near[2], r"12 days left\s+Ends soon")
        self.assertRegex(good[2], r"290 days left\s+Good")
        self.assertEqual(good[1].split("\n"), ["Example Device CA 2", "Example"])
        self.assertEqual(good[3].split("\n"), ["HTTPS server", "Managers/1/NetworkProtocol/HTTPS"])
        widths = self.script("return [...document.querySelectorAll('.bar-fill')]"
                             ".map(each => each.offsetWidth / each.parentElement.offsetWidth)")
        self.assertEqual(widths[0], 0)
        self.assertAlmostEqual(widths[1], 12.5 / 365, delta=0.02)
        self.assertAlmostEqual(widths[2], 290.5 / 365, delta=0.02)
        self.show_as((1280, 640))
        self.keep("table")
        self.show_as((1280, 800), prefers_color_scheme="dark")
        self.keep("table-dark")
        self.open_details("bmc-16.rack4.example")
        self.wait_text("#details-body", "The certificate ends on ")
        self.keep("details-dark")

    def test_a_dropped_file_is_shown_and_then_installed(self):
        self.open_board()
        self.drop(self.file_with(self.authority.server("dropped.example")))
        self.wait_text("#install-preview", "Example Root CA")
        preview = self.text_of("#install-preview").split("\n")
        self.assertEqual(preview[0], "dropped.example")
        self.assertEqual(preview[1], "Example; issued by Example Device CA 2")
        self.assertIn("With a private key.", self.text_of("#install-note"))
        self.keep("install")
        self.assertEqual(board.certificates(), [])
        self.click("#install-submit")
        self.wait_subjects("dropped.example")
        self.wait_text("#notices", "dropped.example is installed.")
        self.assertEqual(board.subject_names(), ["dropped.example"])

    def test_a_binary_certificate_and_a_key_in_two_files_are_installed(self):
        text = self.authority.server("binary.example")
        self.open_board()
        self.drop(self.file_with(der_of(text), "binary.cer"),
                  self.file_with(key_of(text), "binary.key"))
        self.wait_text("#install-preview", "binary.example")
        self.click("#install-submit")
        self.wait_subjects("binary.example")

    def test_details_show_the_certificate_and_its_chain(self):
        uri = board.install(self.authority.server("detailed.example"))
        document = board.get(uri)
        self.open_board()
        self.open_details("detailed.example")
        text = self.text_of("#details-body")
        for expected in ("CN=detailed.example, O=Example", document["SerialNumber"],
                         document["Fingerprint"], "ServerAuthentication", uri, "Chain of 3"):
            self.assertIn(expected, text)
        chain = self.script("return [...document.querySelectorAll('#details .chain-name')]"
                            ".map(each => each.textContent)")
        self.assertEqual(chain, ["detailed.example", "Example Device CA 2", "Example Root CA"])
        self.click("#details-download")
        self.assertEqual(self.downloaded("detailed.example.pem"), document["CertificateString"])

    def test_a_certificate_is_replaced(self):
        uri = board.install(self.authority.server("before.example"))
        self.open_board()
        self.open_details("before.example")
        self.click("#details-replace")
        self.wait_text("#install-text", "takes the place of before.example")
        self.wait_for("#install .drop")
        self.driver.find_element("id", "install-file").send_keys(
            self.file_with(self.authority.server("after.example")))
        self.wait_text("#install-preview", "after.example")
        self.click("#install-submit")
        self.wait_subjects("after.example")
        self.wait_text("#details-title", "after.example")
        self.assertEqual(board.certificates(), [uri])

    def test_a_certificate_is_deleted_after_a_question(self):
        board.install(self.authority.server("doomed.example"))
        self.open_board()
        self.open_details("doomed.example")
        self.click("#details-delete")
        self.wait_text("#question-text", "doomed.example is removed from the board")
        self.keep("question")
        self.click("#question [data-close]")
        self.wait_gone("#question")
        self.assertEqual(board.subject_names(), ["doomed.example"])
        self.click("#details-delete")
        self.click("#question-yes")
        self.wait_for("#empty")
        self.assertFalse(self.find("dialog"))
        self.assertEqual(board.certificates(), [])

    def test_certificates_of_every_collection_are_there_and_another_can_be_chosen(self):
        board.install(self.authority.server("bmc-17.example"))
        board.install(self.authority.root(), board.LDAP_CERTIFICATES)
        self.open_board()
        self.wait_subjects("bmc-17.example", "Example Root CA")
        self.assertEqual(self.rows()[1][3].split("\n"),
                         ["Trust in LDAP servers", "AccountService/LDAP"])
        self.drop(self.file_with(self.authority.issuing()))
        Select(self.wait_for("#install-collection")).select_by_value(board.LDAP_CERTIFICATES)
        self.wait_text("#install-preview", "Example Device CA 2")
        self.click("#install-submit")
        self.wait_subjects("bmc-17.example", "Example Device CA 2", "Example Root CA")

    def test_texts_of_a_certificate_are_never_markup(self):
        name = "<img src=x onerror=document.title=1>"
        board.install(self.authority.server(name, organization="<b>bold</b>&amp;"))
        self.open_board()
        self.wait_subjects(name)
        self.open_details(name)
        self.assertIn("O=<b>bold</b>&amp;", self.text_of("#details-body"))
        self.assertEqual(self.script("return document.querySelectorAll('main img, main b, "
                                     "dialog img, dialog b').length"), 0)


class RefusedFiles(PageTest):
    refusals_are_expected = True

    def test_a_file_without_a_certificate_is_refused_at_the_file(self):
        self.open_board()
        self.drop(self.file_with("no certificate\n"))
        self.wait_text("#install-note", "No certificate can be seen in this file")
        self.click("#install-submit")
        refusal = self.wait_for("[data-field='CertificateString'] .field-refusal").text
        _, document = board.send("POST", board.HTTPS_CERTIFICATES, {
            "CertificateString": "no certificate\n", "CertificateType": "PEM"})
        self.assertEqual(refusal, document["error"]["@Message.ExtendedInfo"][0]["Message"])
        described = self.script("return document.getElementById('install-file')"
                                ".getAttribute('aria-describedby')")
        self.assertEqual(self.text_of(f"#{described}"), refusal)
        self.assertEqual(board.certificates(), [])


if __name__ == "__main__":
    unittest.main()
