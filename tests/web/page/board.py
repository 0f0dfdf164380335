"""The board behind the page, as another client of the same service sees it."""

import base64
import json
import os
import re
import signal
import ssl
import subprocess
import time
import urllib.error
import urllib.request

ADDRESS = os.environ["WEB_ADDRESS"]
USER = os.environ["WEB_USER"]
PASSWORD = os.environ["WEB_PASSWORD"]

LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations"
HTTPS_CERTIFICATES = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates"
LDAP_CERTIFICATES = "/redfish/v1/AccountService/LDAP/Certificates"
SESSIONS = "/redfish/v1/SessionService/Sessions"
SUBSCRIPTIONS = "/redfish/v1/EventService/Subscriptions"
GENERATE_CSR = "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR"

LONGEST_WAIT = 120  # seconds, on the slowest machine


def wait_until(condition, what):
    """What the condition returns once that is true."""
    end = time.monotonic() + LONGEST_WAIT
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.05)
    raise AssertionError(f"in vain: {what}")


def trusting():
    """The service's certificate changes with what the tests install."""
    context = ssl.create_default_context()
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    return context


def login_header():
    pair = base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
    return {"Authorization": f"Basic {pair}"}


def send(method, uri, body=None):
    """Status and document of the answer."""
    data = None if body is None else json.dumps(body).encode()
    headers = {"Content-Type": "application/json", **login_header()}
    request = urllib.request.Request(ADDRESS + uri, data, headers, method=method)
    try:
        with urllib.request.urlopen(request, context=trusting(), timeout=LONGEST_WAIT) as answer:
            text = answer.read()
            return answer.status, json.loads(text) if text else None
    except urllib.error.HTTPError as refused:
        return refused.code, json.loads(refused.read() or "null")


def get(uri):
    status, document = send("GET", uri)
    if status != 200:
        raise AssertionError(f"GET {uri}: {status} {document}")
    return document


def uris(references):
    return [reference["@odata.id"] for reference in references]


def certificates():
    return uris(get(LOCATIONS)["Links"]["Certificates"])


def subject_names():
    return sorted(get(uri)["Subject"]["CommonName"] for uri in certificates())


def try_install(text, collection=HTTPS_CERTIFICATES):
    """The new certificate's URI; None when it is refused."""
    kind = "PEMchain" if text.count("BEGIN CERTIFICATE") > 1 else "PEM"
    status, document = send("POST", collection,
                            {"CertificateString": text, "CertificateType": kind})
    return document["@odata.id"] if status == 201 else None


def install(text, collection=HTTPS_CERTIFICATES):
    uri = try_install(text, collection)
    if uri is None:
        raise AssertionError("the certificate is refused")
    return uri


def streams():
    """The event streams that are open."""
    return uris(get(SUBSCRIPTIONS)["Members"])


def clear():
    for uri in certificates():
        send("DELETE", uri)


def end_sessions():
    for uri in uris(get(SESSIONS)["Members"]):
        send("DELETE", uri)


class StandingRedis:
    """Redis answers nothing while this lasts."""

    def __init__(self):
        facts = subprocess.run(["redis-cli", "-s", "/run/redis.sock", "info", "server"],
                               capture_output=True, text=True, check=True).stdout
        self.process = int(re.search(r"process_id:(\d+)", facts)[1])

    def __enter__(self):
        os.kill(self.process, signal.SIGSTOP)

    def __exit__(self, *_):
        os.kill(self.process, signal.SIGCONT)


def begin_rsa_requests(count):
    """Signing requests that the daemon carries out before any that comes later."""
    for number in range(count):
        status, _ = send("POST", GENERATE_CSR, {
            "CertificateCollection": {"@odata.id": HTTPS_CERTIFICATES},
            "CommonName": f"other-{number}.example",
            "KeyPairAlgorithm": "TPM_ALG_RSA",
            "KeyBitLength": 4096,
        })
        if status != 202:
            raise AssertionError(f"no task: {status}")
