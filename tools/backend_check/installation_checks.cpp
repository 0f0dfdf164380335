// Creation and deletion: what is good is installed and described, what is wrong is refused.

#include "platform/x509/memory_text.h"
#include "platform/x509/openssl_handles.h"
#include "tools/backend_check/checks.h"
#include "tools/backend_check/result_rules.h"

#include <openssl/pem.h>

#include <algorithm>
#include <fstream>

namespace {

using Names = std::unordered_map<std::string, std::string>;

bool isSameCertificate(const std::string& one, const std::string& other) {
    const CertificateHandle first(
        PEM_read_bio_X509(readableText(one).get(), nullptr, noPassphrase, nullptr));
    const CertificateHandle second(
        PEM_read_bio_X509(readableText(other).get(), nullptr, noPassphrase, nullptr));
    return first && second && X509_cmp(first.get(), second.get()) == 0;
}

void expectPart(const Trial& trial, const std::string& what, const Names& names,
                const Names::value_type& wanted) {
    const auto found = names.find(wanted.first);
    if (found == names.end() || found->second != wanted.second) {
        trial.fault(what + " lacks " + wanted.first + " = " + wanted.second);
    }
}

void expectNamed(const Trial& trial, const std::string& what, const Names& names,
                 const std::string& commonName) {
    expectPart(trial, what, names, {"CommonName", commonName});
    expectPart(trial, what, names, {"Organization", ORGANIZATION_NAME});
    expectPart(trial, what, names, {"Country", "AQ"});
}

void expectUsage(const Trial& trial, const std::vector<std::string>& usage) {
    for (const char* wanted : {"DigitalSignature", "ServerAuthentication"}) {
        if (std::find(usage.begin(), usage.end(), wanted) == usage.end()) {
            trial.fault(std::string("the key usage lacks ") + wanted);
        }
    }
}

// That the result describes this certificate.
void expectDescription(const Trial& trial, const CreateCertResult& result, const KeyPair& pair,
                       const std::string& commonName) {
    expectNamed(trial, "the subject", result.subject, commonName);
    expectNamed(trial, "the issuer", result.issuer, AUTHORITY_NAME);
    expectUsage(trial, result.keyUsage);
    if (!isUtcMoment(result.validNotBefore, trial.material.from) ||
        !isUtcMoment(result.validNotAfter, trial.material.until)) {
        trial.fault("the validity is another than the certificate's");
    }
    if (!isSameCertificate(result.certificateString, pair.certificate)) {
        trial.fault("the certificate's text does not begin with the certificate");
    }
    if (holdsKey(result.certificateString, pair.privateKey) ||
        holdsKey(result.privateKeyValue, pair.privateKey)) {
        trial.fault("the result holds the private key");
    }
}

void withItsKey(const Trial& trial) {
    const std::string what = "a certificate with its private key";
    const KeyPair& pair = trial.material.first;
    const CreateCertRequest request = creationOf(trial, "1", withKey(pair));
    const CreateCertResult result = create(trial, what, request);
    if (expectSuccess(trial, what, result.code, result.message)) {
        expectDescription(trial, result, pair, FIRST_NAME);
    }
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));
}

// The chain up to its authority, which Redfish calls PEMchain.
void withItsChain(const Trial& trial) {
    const std::string what = "a certificate with its chain and private key, of type PEMchain";
    const Material& material = trial.material;
    CreateCertRequest request = creationOf(
        trial, "1",
        material.first.certificate + material.authority.certificate + material.first.privateKey);
    request.certificateType = "PEMchain";
    const CreateCertResult result = create(trial, what, request);
    if (result.code != CODE_SUCCESS) {
        trial.note(what + ": was refused; collections must not list that type then");
        return;
    }
    expectDescription(trial, result, material.first, FIRST_NAME);
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));
}

void forASigningRequest(const Trial& trial) {
    const std::string what = "a certificate for a signing request, without its key";
    const CSRResult csr = generateCsr(trial, "a signing request", curveRequest(trial));
    if (!expectSuccess(trial, "a signing request", csr.code, csr.message)) {
        return;
    }
    const CreateCertRequest request =
        creationOf(trial, "1", certifyRequest(trial.material, csr.csr));
    const CreateCertResult result = create(trial, what, request);
    expectSuccess(trial, what, result.code, result.message);
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));
}

// Whether the certificate is the installed one, by a replacement that changes nothing then.
bool isInstalled(const Trial& trial, const std::string& id, const KeyPair& pair) {
    const auto result = replace(trial, "a replacement by what should be installed",
                                replacementOf(trial, id, pair.certificate));
    return result.code == CODE_SUCCESS && result.message.MessageId == "Base.1.9.NoOperation";
}

void neverOverwrites(const Trial& trial) {
    const std::string what = "a second creation of the same identifier";
    const CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    static_cast<void>(create(trial, "a creation", request));
    CreateCertRequest again = request;
    again.certificateString = withKey(trial.material.second);
    if (create(trial, what, again).code == CODE_SUCCESS) {
        trial.fault(what + ": was accepted");
    }
    if (!isInstalled(trial, "1", trial.material.first)) {
        trial.fault(what + ": the first certificate is not the installed one any more");
    }
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));
}

struct Wrong {
    std::string what;
    std::string text;
    std::string type = "PEM";
    Severity ifAccepted = Severity::FAULT;
};

std::vector<Wrong> wrongCertificates(const Material& material) {
    const std::string good = withKey(material.first);
    return {
        {"an empty text", ""},
        {"a text that is no certificate", "nothing"},
        {"a key without a certificate", material.first.privateKey},
        {"half a certificate", material.first.certificate.substr(0, 300)},
        {"a certificate with another one's key",
         material.first.certificate + material.second.privateKey},
        {"a certificate type that does not exist", good, "DER5"},
        {"an empty certificate type", good, ""},
        {"an expired certificate", withKey(material.expired), "PEM", Severity::NOTE},
        {"a certificate whose key is nowhere", material.second.certificate, "PEM", Severity::NOTE},
    };
}

void wrongAreRefused(const Trial& trial) {
    for (const Wrong& wrong : wrongCertificates(trial.material)) {
        CreateCertRequest request = creationOf(trial, "1", wrong.text);
        request.certificateType = wrong.type;
        const auto result = create(trial, wrong.what, request);
        if (result.code == CODE_SUCCESS && wrong.ifAccepted == Severity::NOTE) {
            trial.note(wrong.what + ": was accepted");
        } else {
            expectRefusal(trial, wrong.what, result.code);
        }
        if (result.code == CODE_SUCCESS) {
            static_cast<void>(remove(trial, "its deletion", uriOf(request)));
        }
    }
}

CreateCertRequest rootedCreation(const Trial& trial, const KeyPair& root, const std::string& name) {
    CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    request.rootCaFile = trial.places.scratch + "/" + name;
    std::ofstream(request.rootCaFile) << root.certificate;
    return request;
}

void onlyTheRootsOwn(const Trial& trial) {
    CreateCertRequest request = rootedCreation(trial, trial.material.authority, "authority.pem");
    const std::string good = "a certificate of the root file's authority";
    const CreateCertResult result = create(trial, good, request);
    expectSuccess(trial, good, result.code, result.message);
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));

    const std::string strange = "a certificate of an authority that is not in the root file";
    request = rootedCreation(trial, trial.material.stranger, "stranger.pem");
    expectRefusal(trial, strange, create(trial, strange, request).code);

    const std::string missing = "a root file that is not there";
    request.rootCaFile = trial.places.scratch + "/missing.pem";
    if (create(trial, missing, request).code == CODE_SUCCESS) {
        trial.fault(missing + ": the certificate was accepted unchecked");
    }
}

void aDeletedOneIsGone(const Trial& trial) {
    const CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    static_cast<void>(create(trial, "a creation", request));
    const DeleteCertResult gone = remove(trial, "its deletion", uriOf(request));
    expectSuccess(trial, "its deletion", gone.code, gone.message);
    const std::string again = "its deletion once more";
    expectRefusal(trial, again, remove(trial, again, uriOf(request)).code);
    const std::string replaced = "a replacement where nothing is installed any more";
    expectRefusal(
        trial, replaced,
        replace(trial, replaced, replacementOf(trial, "1", withKey(trial.material.second))).code);
    const CreateCertResult anew = create(trial, "a creation in its place", request);
    expectSuccess(trial, "a creation in its place", anew.code, anew.message);
    static_cast<void>(remove(trial, "the last deletion", uriOf(request)));
}

} // namespace

std::vector<Check> installationChecks() {
    return {
        {"A certificate with its private key is installed and described as it is", withItsKey},
        {"A certificate with its chain is installed and described as it is", withItsChain},
        {"A certificate for a signing request is installed without its key", forASigningRequest},
        {"A creation never overwrites", neverOverwrites},
        {"Wrong certificates are refused", wrongAreRefused},
        {"With a root file only its authorities' certificates are installed", onlyTheRootsOwn},
        {"What is deleted is gone", aDeletedOneIsGone}};
}
