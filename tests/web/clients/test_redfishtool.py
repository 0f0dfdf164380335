"""The whole life of a certificate by a command of Debian that knows nothing of this service."""

import json
import subprocess
import unittest

import board
import certificates

REPLACE_CERTIFICATE = (
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate")


def redfishtool(*words):
    """Status and document, as the command tells them."""
    host = board.ADDRESS.removeprefix("https://")
    done = subprocess.run(
        ["redfishtool", "-r", host, "-u", board.USER, "-p", board.PASSWORD, "-S", "Always",
         "-A", "Basic", *words],
        capture_output=True, text=True, timeout=board.LONGEST_WAIT, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{words}: {done.stdout}{done.stderr}")
    return json.loads(done.stdout) if done.stdout.strip() else None


class Redfishtool(unittest.TestCase):
    def test_a_certificate_is_installed_read_replaced_and_deleted(self):
        authority = certificates.Authority()
        created = redfishtool("raw", "POST", board.HTTPS_CERTIFICATES, "-d", json.dumps(
            {"CertificateString": authority.server("one.example"), "CertificateType": "PEMchain"}))
        uri = created["@odata.id"]
        self.assertEqual(redfishtool("raw", "GET", uri)["Subject"]["CommonName"], "one.example")

        redfishtool("raw", "POST", REPLACE_CERTIFICATE, "-d", json.dumps(
            {"CertificateUri": {"@odata.id": uri}, "CertificateType": "PEMchain",
             "CertificateString": authority.server("two.example")}))
        self.assertEqual(redfishtool("raw", "GET", uri)["Subject"]["CommonName"], "two.example")

        redfishtool("raw", "DELETE", uri)
        members = redfishtool("raw", "GET", board.HTTPS_CERTIFICATES)["Members"]
        self.assertNotIn({"@odata.id": uri}, members)

    def test_managers_are_listed(self):
        self.assertEqual(redfishtool("Managers")["Members"],
                         [{"@odata.id": "/redfish/v1/Managers/1"}])


if __name__ == "__main__":
    unittest.main()
