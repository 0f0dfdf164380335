"""The whole life of a certificate by a client library of Debian that knows nothing of this service."""

import unittest

import sushy
from sushy.resources.certificateservice.certificate import CertificateCollection
from sushy.taskmonitor import TaskMonitor

import board
import certificates


def connect():
    return sushy.Sushy(board.ADDRESS, username=board.USER, password=board.PASSWORD, verify=False,
                       root_prefix="/redfish/v1/")


def collection_of(root):
    return CertificateCollection(root._conn, board.HTTPS_CERTIFICATES,
                                 redfish_version=root.redfish_version, root=root)


def request_body(**more):
    return {"CertificateCollection": {"@odata.id": board.HTTPS_CERTIFICATES},
            "CommonName": "bmc.example", **more}


class Sushy(unittest.TestCase):
    def setUp(self):
        self.root = connect()
        self.authority = certificates.Authority()

    def install(self, text):
        return collection_of(self.root).create_member(text, "PEMchain").path

    def located(self):
        service = self.root.get_certificate_service()
        return {each.path: each for each in service.certificate_locations.get_members()}

    def test_reads_what_the_root_leads_to(self):
        self.assertEqual(self.root.get_manager_collection().members_identities,
                         ("/redfish/v1/Managers/1",))
        self.assertTrue(self.root.get_session_service().service_enabled)
        self.assertTrue(self.root.get_task_service().service_enabled)
        self.assertEqual(self.root.get_event_service().identity, "EventService")

    def test_a_certificate_is_installed_read_replaced_and_deleted(self):
        uri = self.install(self.authority.server("one.example"))
        certificate = self.located()[uri]
        self.assertEqual(certificate.subject.common_name, "one.example")
        self.assertIn(uri, collection_of(self.root).members_identities)

        self.root.get_certificate_service().replace_certificate(
            {"@odata.id": uri}, self.authority.server("two.example"), "PEMchain")
        certificate.refresh(force=True)
        self.assertEqual(certificate.subject.common_name, "two.example")

        certificate.delete()
        self.assertNotIn(uri, collection_of(self.root).members_identities)
        with self.assertRaises(sushy.exceptions.ResourceNotFoundError):
            certificate.refresh(force=True)

    def test_a_signing_request_is_answered_at_once_for_an_elliptic_curve(self):
        answer = self.root._conn.post(board.GENERATE_CSR, data=request_body(
            KeyPairAlgorithm="TPM_ALG_ECDH", KeyCurveId="TPM_ECC_NIST_P256"))
        uri = self.install(self.authority.certificate_for(answer.json()["CSRString"]))
        self.located()[uri].delete()

    def test_a_signing_request_with_an_rsa_key_is_followed_as_a_task(self):
        answer = self.root._conn.post(board.GENERATE_CSR, data=request_body(
            KeyPairAlgorithm="TPM_ALG_RSA", KeyBitLength=2048))
        self.assertEqual(answer.status_code, 202)
        monitor = TaskMonitor(self.root._conn, answer.headers["Location"])
        monitor.wait(board.LONGEST_WAIT)
        uri = self.install(self.authority.certificate_for(monitor.response.json()["CSRString"]))
        self.located()[uri].delete()

    def test_a_refusal_is_told_in_the_services_words(self):
        with self.assertRaises(sushy.exceptions.BadRequestError) as refused:
            self.install("no certificate")
        self.assertIn("CertificateString", str(refused.exception))


if __name__ == "__main__":
    unittest.main()
