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

std::string CertificateBackend::refusalOf(const std::string& text, const std::string& type,
                                          const std::string& collection) {
    const CreateCertResult result = create(text, type, collection, std::to_string(++lastId));
    EXPECT_TRUE(result.code == 200 || result.code == 400) << result.code;
    return result.code == 200 ? "" : result.message.MessageArgs.at(0);
}

std::string CertificateBackend::chainOf(const std::string& text, const std::string& type,
                                        const std::string& collection) {
    const CreateCertResult result = create(text, type, collection, std::to_string(++lastId));
    EXPECT_EQ(result.code, 200) << testing::PrintToString(result.message.MessageArgs);
    return result.certificateString;
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

std::string said(int depth, const std::string& commonName, const std::string& fault) {
    return "Certificate " + std::to_string(depth) + " of the chain (CN=" + commonName + ") " +
           fault;
}

std::string changed(const std::string& certificate, const std::string& signingKey,
                    const std::function<void(X509*)>& change) {
    const CertificateHandle parsed = parseCertificate(certificate);
    const KeyHandle key = parsePrivateKey(signingKey);
    change(parsed.get());
    const bool isEdwards = EVP_PKEY_is_a(key.get(), "ED25519") == 1;
    if (X509_sign(parsed.get(), key.get(), isEdwards ? nullptr : EVP_sha256()) <= 0) {
        throw std::runtime_error("cannot sign a changed certificate");
    }
    const BioHandle memory = newMemory();
    PEM_write_bio_X509(memory.get(), parsed.get());
    return std::string(writtenText(memory));
}

std::vector<RefusedText> refusedIdentities() {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate good = makeSelfSigned();
    const std::string name = "test.example";
    const std::string unprintable =
        " has a name with control characters or that is no text. Have it issued with a printable "
        "name.";
    return {
        {"The text is empty. Send a certificate as PEM text.", ""},
        {"The text holds no PEM block. Send the certificate as a block that begins with "
         "-----BEGIN CERTIFICATE-----.",
         "hello"},
        {"The private key of the text is encrypted. Send it decrypted, as openssl pkey writes it.",
         encryptPrivateKey(good.privateKey, "secret") + good.certificate},
        {said(0, name, "expired at 2026-05-31T23:59:59Z. Send one that is valid now."),
         textOf(makeSelfSigned({.notAfter = "20260531235959Z"}))},
        {said(0, name,
              "is not valid before 2027-01-01T00:00:00Z. Send one that is valid now, or set the "
              "clock."),
         textOf(makeSelfSigned({.notBefore = "20270101000000Z"}))},
        {said(0, name, "has an RSA key of 1024 bits. Accepted are 2048 to 4096 bits."),
         textOf(makeSelfSigned({.key = KeyKind::RSA_1024}))},
        {"The private key of the text belongs to none of its certificates. Send the key of the "
         "certificate, or none when a signing request was made for it here.",
         makePrivateKey(KeyKind::EC_P256) + good.certificate},
        {said(0, name,
              "has an extended key usage without serverAuth. Have it issued with it, or without an "
              "extended key usage."),
         textOf(makeSelfSigned({.extensions = {{"extendedKeyUsage", "codeSigning"}}}))},
        {"Certificate 0 of the chain (CN=a\\0Ab)" + unprintable,
         textOf(makeSelfSigned({.subject = {{"CN", "a\nb"}}}))},
        {"Certificate 0 of the chain (CN=\\1B[31mred)" + unprintable,
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
