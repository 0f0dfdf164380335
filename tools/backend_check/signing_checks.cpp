// Signing requests: what is asked for is made, and what is wrong is refused.

#include "platform/x509/memory_text.h"
#include "platform/x509/names.h"
#include "platform/x509/openssl_handles.h"
#include "tools/backend_check/checks.h"

#include <openssl/pem.h>

#include <utility>

namespace {

constexpr const char* PASSWORD = "Correct-Horse-Battery-57";

// Null for a text that is none.
RequestHandle readRequest(const std::string& text) {
    return RequestHandle(
        PEM_read_bio_X509_REQ(readableText(text).get(), nullptr, noPassphrase, nullptr));
}

void expectName(const Trial& trial, const std::string& what, const X509_REQ* request) {
    for (const auto& [property, value] : namePartsOf(X509_REQ_get_subject_name(request))) {
        const bool isWanted = property == "CommonName"     ? value == FIRST_NAME
                              : property == "Organization" ? value == ORGANIZATION_NAME
                              : property == "Country"      ? value == "AQ"
                                                           : false;
        if (!isWanted) {
            trial.fault(what + ": its subject's " + std::string(property) +
                        " is not what was asked for");
        }
    }
    if (namePartsOf(X509_REQ_get_subject_name(request)).size() < 3) {
        trial.fault(what + ": its subject lacks a part that was asked for");
    }
}

void expectKey(const Trial& trial, const std::string& what, EVP_PKEY* key, int bits) {
    if (key == nullptr || EVP_PKEY_get_bits(key) != bits) {
        trial.fault(what + ": its key has not " + std::to_string(bits) + " bits");
    }
}

void expectRequest(const Trial& trial, const std::string& what, const CSRResult& result, int bits) {
    if (!expectSuccess(trial, what, result.code, result.message)) {
        return;
    }
    const RequestHandle request = readRequest(result.csr);
    if (!request) {
        trial.fault(what + ": the result is no PEM text of a PKCS #10 request");
        return;
    }
    EVP_PKEY* key = X509_REQ_get0_pubkey(request.get());
    expectKey(trial, what, key, bits);
    expectName(trial, what, request.get());
    if (key == nullptr || X509_REQ_verify(request.get(), key) != 1) {
        trial.fault(what + ": it is not signed with its own key");
    }
}

void aRequestOnACurve(const Trial& trial) {
    const std::string what = "a request for a P-256 key";
    CSRRequest request = curveRequest(trial);
    request.arrayParameters = {{"AlternativeNames", {FIRST_NAME}}};
    expectRequest(trial, what, generateCsr(trial, what, request), 256);
}

void aRequestForRsa(const Trial& trial) {
    const std::string what = "a request for an RSA key of 2048 bits";
    CSRRequest request = curveRequest(trial);
    request.stringParameters.erase("KeyCurveId");
    request.stringParameters["KeyPairAlgorithm"] = "TPM_ALG_RSA";
    request.keyBitLength = 2048;
    expectRequest(trial, what, generateCsr(trial, what, request), 2048);
}

void twoRequestsHaveTwoKeys(const Trial& trial) {
    const CSRResult one = generateCsr(trial, "a request", curveRequest(trial));
    const CSRResult other = generateCsr(trial, "another request", curveRequest(trial));
    const RequestHandle first = readRequest(one.csr);
    const RequestHandle second = readRequest(other.csr);
    if (first && second &&
        EVP_PKEY_eq(X509_REQ_get0_pubkey(first.get()), X509_REQ_get0_pubkey(second.get())) == 1) {
        trial.fault("two requests have the same key");
    }
}

CSRRequest withText(CSRRequest request, const std::string& name, const std::string& value) {
    request.stringParameters[name] = value;
    return request;
}

CSRRequest rsaRequest(const Trial& trial, std::int32_t bits) {
    CSRRequest request = withText(curveRequest(trial), "KeyPairAlgorithm", "TPM_ALG_RSA");
    request.stringParameters.erase("KeyCurveId");
    request.keyBitLength = bits;
    return request;
}

void wrongParameters(const Trial& trial) {
    const CSRRequest good = curveRequest(trial);
    const std::vector<std::pair<std::string, CSRRequest>> rows = {
        {"a curve that does not exist", withText(good, "KeyCurveId", "TPM_ECC_NO_SUCH_CURVE")},
        {"an algorithm that does not exist", withText(good, "KeyPairAlgorithm", "TPM_ALG_NONE")},
        {"an RSA key of 512 bits", rsaRequest(trial, 512)},
        {"an RSA key of -2048 bits", rsaRequest(trial, -2048)},
        {"an RSA key of 2147483647 bits", rsaRequest(trial, 2147483647)},
        {"a country of nine letters", withText(good, "Country", "Antarctis")},
    };
    for (const auto& [what, request] : rows) {
        expectRefusal(trial, what, generateCsr(trial, what, request).code);
    }
}

bool tells(const MessageInfo& message, const std::string& secret) {
    for (const auto* texts : {&message.MessageArgs, &message.RelatedProperties}) {
        for (const std::string& text : *texts) {
            if (text.find(secret) != std::string::npos) {
                return true;
            }
        }
    }
    return false;
}

void aRefusalKeepsThePassword(const Trial& trial) {
    const std::string what = "a challenge password and a wrong curve";
    const CSRRequest request =
        withText(withText(curveRequest(trial), "ChallengePassword", PASSWORD), "KeyCurveId", "no");
    if (tells(generateCsr(trial, what, request).message, PASSWORD)) {
        trial.fault(what + ": the message tells the password");
    }
}

} // namespace

std::vector<Check> signingChecks() {
    return {{"A signing request for a P-256 key is made as it was asked for", aRequestOnACurve},
            {"A signing request for an RSA key is made as it was asked for", aRequestForRsa},
            {"Every signing request has a key of its own", twoRequestsHaveTwoKeys},
            {"Wrong parameters of a signing request are refused", wrongParameters},
            {"A refusal does not tell the challenge password", aRefusalKeepsThePassword}};
}
