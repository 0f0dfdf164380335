#pragma once

// What the tests of the certificate backend share: a directory of the test's own, a clock that
// stands still, and requests and expectations in one line each.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/operations.h"
#include "platform/x509/openssl_handles.h"
#include "tests/support/certificates.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

constexpr std::time_t BUILD_DATE = 1767225600; // 2026-01-01T00:00:00Z
constexpr std::time_t NOW = 1780272000;        // 2026-06-01T00:00:00Z

constexpr const char* IDENTITIES = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
constexpr const char* TRUSTED = "/redfish/v1/AccountService/LDAP/Certificates";
const std::string IDENTITY = std::string(IDENTITIES) + "/1";

class CertificateBackend : public testing::Test {
protected:
    [[nodiscard]] CreateCertResult create(const std::string& text, const std::string& type = "PEM",
                                          const std::string& collection = IDENTITIES,
                                          const std::string& id = "1") const;

    [[nodiscard]] CreateCertResult replace(const std::string& text, const std::string& type = "PEM",
                                           const std::string& uri = IDENTITY) const;

    // The fault for which the text is refused as a new certificate; empty when it is installed.
    [[nodiscard]] std::string refusalOf(const std::string& text,
                                        const std::string& type = "PEMchain",
                                        const std::string& collection = IDENTITIES);

    // What is installed for such a text, without the private key.
    [[nodiscard]] std::string chainOf(const std::string& text, const std::string& type = "PEMchain",
                                      const std::string& collection = IDENTITIES);

    [[nodiscard]] DeleteCertResult remove(const std::string& uri) const;

    // Everything after this is judged by the root, too.
    void trustOnly(const std::string& root);

    // The names of the files in a folder of the backend's directory, temporary ones included.
    [[nodiscard]] std::vector<std::string> filesIn(const std::string& folder) const;

    // The content of the file that belongs to the certificate resource.
    [[nodiscard]] std::string installedText(const std::string& uri = IDENTITY) const;

    TempDirectory temporary;
    Surroundings surroundings = {temporary.file("kept"), {NOW, BUILD_DATE}, ""};
    std::string rootCaFile;

private:
    int lastId = 1000;
};

// The text of an identity: the private key, then the certificate.
[[nodiscard]] std::string textOf(const TestCertificate& made);

// What a fault says of the certificate at that depth, whose subject has this common name alone.
[[nodiscard]] std::string said(int depth, const std::string& commonName, const std::string& fault);

// The certificate with something changed, signed again with the key.
[[nodiscard]] std::string changed(const std::string& certificate, const std::string& signingKey,
                                  const std::function<void(X509*)>& change);

struct RefusedText {
    std::string fault;
    std::string text; // of type PEMchain
};

// Texts that are refused as identities, one for each check. No root is asked.
[[nodiscard]] std::vector<RefusedText> refusedIdentities();

void expectMessage(const MessageInfo& message, const std::string& id,
                   const std::vector<std::string>& arguments,
                   const std::vector<std::string>& related);

// The result is code 400 for the certificate text of a creation with this fault, and nothing else
// is in it.
void expectTextRefused(const CreateCertResult& result, const std::string& fault);

[[nodiscard]] CertificateHandle parseCertificate(const std::string& pem);
[[nodiscard]] KeyHandle parsePrivateKey(const std::string& pem);

// The bytes as a block of that label, all on one line.
[[nodiscard]] std::string pemOf(const std::string& label, const std::string& bytes);

// What the command prints on standard output and standard error; throws when it fails.
std::string runCommand(const std::string& command);
