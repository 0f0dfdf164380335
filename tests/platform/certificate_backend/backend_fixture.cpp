#include "tests/platform/certificate_backend/backend_fixture.h"

#include "platform/certificate_backend/installed_certificates.h"

#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

CreateCertResult CertificateBackend::create(const std::string& text, const std::string& type,
                                            const std::string& collection,
                                            const std::string& id) const {
    return createCertificate(surroundings, {collection, text, type, id, rootCaFile});
}

CreateCertResult CertificateBackend::replace(const std::string& text, const std::string& type,
                                             const std::string& uri) const {
    return replaceCertificate(surroundings, {uri, text, type, rootCaFile});
}

std::vector<std::string> CertificateBackend::filesIn(const std::string& folder) const {
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(surroundings.directory + "/" + folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string CertificateBackend::installedText(const std::string& uri) const {
    return readFile(installedFile(surroundings.directory, uri));
}

void expectMessage(const MessageInfo& message, const std::string& id,
                   const std::vector<std::string>& arguments,
                   const std::vector<std::string>& related) {
    EXPECT_EQ(message.MessageId, id);
    EXPECT_EQ(message.MessageArgs, arguments);
    EXPECT_EQ(message.RelatedProperties, related);
}

void expectTextRefused(const CreateCertResult& result, const std::string& phrase) {
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.PropertyValueFormatError",
                  {phrase, "CertificateString"}, {"#/CertificateString"});
    EXPECT_EQ(result.certificateString, "");
    EXPECT_EQ(result.privateKeyValue, "");
    EXPECT_TRUE(result.subject.empty());
}

CertificateHandle parseCertificate(const std::string& pem) {
    const BioHandle memory(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    CertificateHandle certificate(PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr));
    if (!certificate) {
        throw std::runtime_error("not a certificate");
    }
    return certificate;
}

KeyHandle parsePrivateKey(const std::string& pem) {
    const BioHandle memory(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    KeyHandle key(PEM_read_bio_PrivateKey(memory.get(), nullptr, nullptr, nullptr));
    if (!key) {
        throw std::runtime_error("not a private key");
    }
    return key;
}

std::string pemOf(const std::string& label, const std::string& bytes) {
    std::string base64(bytes.size() * 2, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    base64.resize(static_cast<std::size_t>(length));
    return "-----BEGIN " + label + "-----\n" + base64 + "\n-----END " + label + "-----\n";
}

std::string runCommand(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    std::string output;
    std::array<char, 4096> part{};
    while (const std::size_t count = fread(part.data(), 1, part.size(), pipe)) {
        output.append(part.data(), count);
    }
    if (pclose(pipe) != 0) {
        throw std::runtime_error(command + " failed: " + output);
    }
    return output;
}
