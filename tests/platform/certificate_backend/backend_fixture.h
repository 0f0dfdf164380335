#pragma once

// What the tests of the certificate backend share: a store of the test's own, a clock that stands
// still, and requests and expectations in one line each.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/operations.h"
#include "platform/x509/openssl_handles.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <string>

constexpr std::time_t BUILD_DATE = 1767225600; // 2026-01-01T00:00:00Z
constexpr std::time_t NOW = 1780272000;        // 2026-06-01T00:00:00Z

constexpr const char* IDENTITIES = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
constexpr const char* TRUSTED = "/redfish/v1/AccountService/LDAP/TrustedCertificates";

class CertificateBackend : public testing::Test {
protected:
    [[nodiscard]] CreateCertResult create(const std::string& text, const std::string& type = "PEM",
                                          const std::string& collection = IDENTITIES,
                                          const std::string& id = "1") const;

    [[nodiscard]] CreateCertResult replace(const std::string& text, const std::string& type = "PEM",
                                           const std::string& uri = std::string(IDENTITIES) +
                                                                    "/1") const;

    // The names of the files in a folder of the store, temporary ones included.
    [[nodiscard]] std::vector<std::string> filesIn(const std::string& folder) const;

    // The content of the file that belongs to the certificate resource.
    [[nodiscard]] std::string installedText(const std::string& uri) const;

    TempDirectory temporary;
    Surroundings surroundings = {temporary.file("store"), {NOW, BUILD_DATE}};
    std::string rootCaFile;
};

// The result is code 400 for the certificate text with this phrase, and nothing else is in it.
void expectTextRefused(const CreateCertResult& result, const std::string& phrase);

void expectMessage(const MessageInfo& message, const std::string& id,
                   const std::vector<std::string>& arguments,
                   const std::vector<std::string>& related);

[[nodiscard]] CertificateHandle parseCertificate(const std::string& pem);
[[nodiscard]] KeyHandle parsePrivateKey(const std::string& pem);

// The bytes as a block of that label, all on one line.
[[nodiscard]] std::string pemOf(const std::string& label, const std::string& bytes);

// What the command prints on standard output and standard error; throws when it fails.
std::string runCommand(const std::string& command);
