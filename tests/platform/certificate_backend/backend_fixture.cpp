#include "tests/platform/certificate_backend/backend_fixture.h"

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/x509/memory_text.h"

#include <openssl/pem.h>

#include <array>
#include <cstdio>
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

DeleteCertResult CertificateBackend::remove(const std::string& uri) const {
    return deleteCertificate(surroundings, uri);
}

void CertificateBackend::trustOnly(const std::string& root) {
    rootCaFile = temporary.file("root.pem");
    writeFile(rootCaFile, root);
}

std::vector<std::string> CertificateBackend::filesIn(const std::string& folder) const {
    return listDirectory(surroundings.directory + "/" + folder);
}

std::string CertificateBackend::installedText(const std::string& uri) const {
    return readFile(installedFile(surroundings.directory, uri));
}

std::string textOf(const TestCertificate& made) {
    return made.privateKey + made.certificate;
}

std::vector<RefusedText> refusedIdentities() {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate good = makeSelfSigned();
    return {
        {"the text is empty", ""},
        {"the text holds something that is not a PEM block", "hello"},
        {"the private key of the text is encrypted",
         encryptPrivateKey(good.privateKey, "secret") + good.certificate},
        {"the certificate expired at 2026-05-31T23:59:59Z",
         textOf(makeSelfSigned({.notAfter = "20260531235959Z"}))},
        {"the certificate is not valid before 2027-01-01T00:00:00Z",
         textOf(makeSelfSigned({.notBefore = "20270101000000Z"}))},
        {"the certificate's RSA key has 1024 bits, not 2048 to 8192",
         textOf(makeSelfSigned({.key = KeyKind::RSA_1024}))},
        {"the private key of the text does not belong to the certificate",
         makePrivateKey(KeyKind::EC_P256) + good.certificate},
        {"the private key of the text does not belong to the certificate",
         root.privateKey + makeSigned(root).certificate + root.certificate},
        {"the certificate's extended key usage lacks server authentication",
         textOf(makeSelfSigned({.extensions = {{"extendedKeyUsage", "codeSigning"}}}))},
        {"a name in the certificate is not printable text",
         textOf(makeSelfSigned({.subject = {{"CN", "a\nb"}}}))},
        {"a name in the certificate is not printable text",
         textOf(makeSelfSigned({.subject = {{"CN", "\x1b[31mred"}}}))},
    };
}

void expectMessage(const MessageInfo& message, const std::string& id,
                   const std::vector<std::string>& arguments,
                   const std::vector<std::string>& related) {
    EXPECT_EQ(message.MessageId, id);
    EXPECT_EQ(message.MessageArgs, arguments);
    EXPECT_EQ(message.RelatedProperties, related);
}

void expectTextRefused(const CreateCertResult& result, const std::string& fault) {
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.PropertyValueFormatError", {fault, "CertificateString"},
                  {"#/CertificateString"});
    EXPECT_EQ(result.certificateString, "");
    EXPECT_EQ(result.privateKeyValue, "");
    EXPECT_TRUE(result.subject.empty());
}

CertificateHandle parseCertificate(const std::string& pem) {
    CertificateHandle certificate(
        PEM_read_bio_X509(readableText(pem).get(), nullptr, noPassphrase, nullptr));
    if (!certificate) {
        throw std::runtime_error("not a certificate");
    }
    return certificate;
}

KeyHandle parsePrivateKey(const std::string& pem) {
    KeyHandle key(PEM_read_bio_PrivateKey(readableText(pem).get(), nullptr, noPassphrase, nullptr));
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
