#include "tools/backend_check/material.h"

#include "platform/x509/memory_text.h"
#include "platform/x509/openssl_handles.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::time_t DAY = std::time_t{24} * 60 * 60;
constexpr std::time_t VALIDITY = 30 * DAY;
constexpr std::size_t SERIAL_BYTES = 8;

using NumberHandle = std::unique_ptr<BIGNUM, OpenSSLRelease<BN_clear_free>>;

void require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string("OpenSSL cannot make the material: ") + what);
    }
}

std::string certificateText(X509* certificate) {
    const BioHandle memory = newMemory();
    require(PEM_write_bio_X509(memory.get(), certificate) == 1, "certificate text");
    return std::string(writtenText(memory));
}

std::string keyText(EVP_PKEY* key) {
    const BioHandle memory = newMemory();
    require(PEM_write_bio_PKCS8PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr,
                                          nullptr) == 1,
            "key text");
    return std::string(writtenText(memory));
}

CertificateHandle readCertificate(const std::string& text) {
    CertificateHandle certificate(
        PEM_read_bio_X509(readableText(text).get(), nullptr, noPassphrase, nullptr));
    require(certificate != nullptr, "certificate");
    return certificate;
}

KeyHandle readKey(const std::string& text) {
    KeyHandle key(
        PEM_read_bio_PrivateKey(readableText(text).get(), nullptr, noPassphrase, nullptr));
    require(key != nullptr, "key");
    return key;
}

KeyHandle makeKey() {
    std::string curve = "P-256"; // handed over without const
    KeyHandle key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", curve.data()));
    require(key != nullptr, "key pair");
    return key;
}

struct Span {
    std::time_t from;
    std::time_t until;
};

// What is to be certified, and how.
struct Order {
    std::string commonName;
    EVP_PKEY* key;
    Span span;
    bool isAuthority = false;
};

void addName(X509_NAME* name, const char* part, const std::string& value) {
    require(X509_NAME_add_entry_by_txt(name, part, MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(value.c_str()), -1,
                                       -1, 0) == 1,
            "name");
}

void addExtension(X509* certificate, int kind, const std::string& value) {
    const ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

void addExtensions(X509* certificate, const Order& order) {
    if (order.isAuthority) {
        addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
        addExtension(certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
        return;
    }
    addExtension(certificate, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate, NID_key_usage, "critical,digitalSignature");
    addExtension(certificate, NID_ext_key_usage, "serverAuth");
    addExtension(certificate, NID_subject_alt_name, "DNS:" + order.commonName);
}

void setSerial(X509* certificate) {
    std::array<unsigned char, SERIAL_BYTES> bytes{};
    require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1, "random numbers");
    bytes[0] = static_cast<unsigned char>((bytes[0] & 0x3fU) | 0x40U); // positive, without zeros
    const NumberHandle number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)),
            "serial number");
}

std::string certify(const Order& order, const X509_NAME* issuer, EVP_PKEY* issuerKey) {
    const CertificateHandle certificate(X509_new());
    require(certificate != nullptr, "certificate");
    X509* made = certificate.get();
    X509_NAME* name = X509_get_subject_name(made);
    addName(name, "C", "AQ");
    addName(name, "O", ORGANIZATION_NAME);
    addName(name, "CN", order.commonName);
    setSerial(made);
    require(X509_set_version(made, X509_VERSION_3) == 1 &&
                X509_set_issuer_name(made, issuer != nullptr ? issuer : name) == 1 &&
                X509_set_pubkey(made, order.key) == 1 &&
                ASN1_TIME_set(X509_getm_notBefore(made), order.span.from) != nullptr &&
                ASN1_TIME_set(X509_getm_notAfter(made), order.span.until) != nullptr,
            "certificate");
    addExtensions(made, order);
    require(X509_sign(made, issuerKey, EVP_sha256()) > 0, "signature");
    return certificateText(made);
}

KeyPair makeAuthority(const std::string& commonName, Span span) {
    const KeyHandle key = makeKey();
    return {certify({commonName, key.get(), span, true}, nullptr, key.get()), keyText(key.get())};
}

std::string certifyBy(const KeyPair& authority, const Order& order) {
    const CertificateHandle issuer = readCertificate(authority.certificate);
    const KeyHandle key = readKey(authority.privateKey);
    return certify(order, X509_get_subject_name(issuer.get()), key.get());
}

KeyPair makePair(const KeyPair& authority, const std::string& commonName, Span span) {
    const KeyHandle key = makeKey();
    return {certifyBy(authority, {commonName, key.get(), span}), keyText(key.get())};
}

// Base64 of the bytes from that one on, as far as it does not depend on what follows.
std::string base64From(const std::string& bytes, std::size_t start) {
    std::string text(bytes.size() * 2 + 4, '\0');
    const std::size_t count = (bytes.size() - start) / 3 * 3;
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()) + start,
                                       static_cast<int>(count));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string hexOf(const std::string& bytes, const char* digits) {
    std::string text;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        text += digits[code >> 4U];
        text += digits[code & 0xfU];
    }
    return text;
}

// The private number of a key on a curve, as big-endian bytes.
std::string privateNumber(EVP_PKEY* key) {
    BIGNUM* found = nullptr;
    require(EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_PRIV_KEY, &found) == 1, "private number");
    const NumberHandle number(found);
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(found)), '\0');
    static_cast<void>(BN_bn2bin(found, reinterpret_cast<unsigned char*>(bytes.data())));
    return bytes;
}

} // namespace

Material makeMaterial() {
    const std::time_t now = std::time(nullptr);
    Material material;
    material.from = now - 2 * DAY;
    material.until = now + VALIDITY;
    const Span span = {material.from, material.until};
    material.authority = makeAuthority(AUTHORITY_NAME, span);
    material.stranger = makeAuthority("Backend Check Stranger", span);
    material.first = makeServer(material, FIRST_NAME);
    material.second = makeServer(material, SECOND_NAME);
    material.expired = makePair(material.authority, FIRST_NAME, {now - 2 * DAY, now - DAY});
    return material;
}

KeyPair makeServer(const Material& material, const std::string& commonName) {
    return makePair(material.authority, commonName, {material.from, material.until});
}

std::string certifyRequest(const Material& material, const std::string& request) {
    const RequestHandle read(
        PEM_read_bio_X509_REQ(readableText(request).get(), nullptr, noPassphrase, nullptr));
    if (!read) {
        throw std::runtime_error("the signing request is no PEM text of a PKCS #10 request");
    }
    EVP_PKEY* key = X509_REQ_get0_pubkey(read.get());
    if (key == nullptr || X509_REQ_verify(read.get(), key) != 1) {
        throw std::runtime_error("the signing request is not signed with its own key");
    }
    return certifyBy(material.authority, {FIRST_NAME, key, {material.from, material.until}});
}

std::string withKey(const KeyPair& pair) {
    return pair.certificate + pair.privateKey;
}

bool holdsKey(const std::string& text, const std::string& privateKey) {
    const std::string number = privateNumber(readKey(privateKey).get());
    std::string joined = text;
    std::erase_if(joined, [](char character) { return character == '\n' || character == '\r'; });
    const auto isIn = [](const std::string& whole, const std::string& part) {
        return whole.find(part) != std::string::npos;
    };
    return isIn(text, number) || isIn(text, hexOf(number, "0123456789abcdef")) ||
           isIn(text, hexOf(number, "0123456789ABCDEF")) || isIn(joined, base64From(number, 0)) ||
           isIn(joined, base64From(number, 1)) || isIn(joined, base64From(number, 2));
}
