// Making certificates with OpenSSL's own functions.

#include "tests/support/certificates.h"

#include "platform/x509/openssl_handles.h"
#include "tests/support/temp_files.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <stdexcept>

namespace {

void require(bool good, const char* step) {
    if (!good) {
        throw std::runtime_error(std::string("OpenSSL: ") + step);
    }
}

template <typename Handle>
Handle own(typename Handle::pointer object, const char* step) {
    require(object != nullptr, step);
    return Handle(object);
}

BioHandle reader(const std::string& text) {
    return own<BioHandle>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), "memory");
}

// The text that write puts into a BIO.
template <typename Write>
std::string written(Write write, const char* step) {
    const auto memory = own<BioHandle>(BIO_new(BIO_s_mem()), "memory");
    require(write(memory.get()) == 1, step);
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

KeyHandle readKey(const std::string& pem) {
    return own<KeyHandle>(PEM_read_bio_PrivateKey(reader(pem).get(), nullptr, nullptr, nullptr),
                          "read key");
}

CertificateHandle readCertificate(const std::string& pem) {
    return own<CertificateHandle>(PEM_read_bio_X509(reader(pem).get(), nullptr, nullptr, nullptr),
                                  "read certificate");
}

std::string keyText(EVP_PKEY* key) {
    return written(
        [key](BIO* bio) {
            return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
        },
        "write key");
}

KeyHandle newCurveKey(std::string curve) {
    return own<KeyHandle>(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", curve.data()), "make key");
}

KeyHandle newKey(KeyKind kind) {
    switch (kind) {
    case KeyKind::RSA_1024:
        return own<KeyHandle>(EVP_RSA_gen(1024), "make key");
    case KeyKind::RSA_2048:
        return own<KeyHandle>(EVP_RSA_gen(2048), "make key");
    case KeyKind::RSA_3072:
        return own<KeyHandle>(EVP_RSA_gen(3072), "make key");
    case KeyKind::RSA_4096:
        return own<KeyHandle>(EVP_RSA_gen(4096), "make key");
    case KeyKind::EC_P256:
        return newCurveKey("P-256");
    case KeyKind::EC_P384:
        return newCurveKey("P-384");
    case KeyKind::EC_P521:
        return newCurveKey("P-521");
    case KeyKind::ED25519:
        break;
    }
    return own<KeyHandle>(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), "make key");
}

const EVP_MD* digestFor(const EVP_PKEY* key) {
    return EVP_PKEY_is_a(key, "ED25519") == 1 ? nullptr : EVP_sha256();
}

NameHandle nameOf(const CertificateOptions& options) {
    auto name = own<NameHandle>(X509_NAME_new(), "make name");
    for (const auto& [field, value] : options.subject) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(value.data());
        require(X509_NAME_add_entry_by_txt(name.get(), field.c_str(), MBSTRING_UTF8, bytes,
                                           static_cast<int>(value.size()), -1, 0) == 1,
                "add name entry");
    }
    return name;
}

ExtensionHandle makeExtension(X509V3_CTX* context, const std::string& name,
                              const std::string& value) {
    return own<ExtensionHandle>(X509V3_EXT_conf(nullptr, context, name.c_str(), value.c_str()),
                                "make extension");
}

void addExtension(X509* certificate, X509V3_CTX* context, const std::string& name,
                  const std::string& value) {
    const auto extension = makeExtension(context, name, value);
    require(X509_add_ext(certificate, extension.get(), -1) == 1, "add extension");
}

void setRandomSerial(X509* certificate) {
    std::uint64_t number = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1, "random");
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number | 1U);
}

void addExtensions(X509* certificate, X509* issuer, const CertificateOptions& options) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    addExtension(certificate, &context, "basicConstraints",
                 options.ca ? "critical,CA:TRUE" : "critical,CA:FALSE");
    addExtension(certificate, &context, "subjectKeyIdentifier", "hash");
    addExtension(certificate, &context, "authorityKeyIdentifier", "keyid:always");
    for (const auto& [name, value] : options.extensions) {
        addExtension(certificate, &context, name, value);
    }
}

// A certificate for the key under the subject. Without an issuer it is its own.
std::string certify(EVP_PKEY* subjectKey, const X509_NAME* subject, X509* issuer,
                    EVP_PKEY* issuerKey, const CertificateOptions& options) {
    const auto owned = own<CertificateHandle>(X509_new(), "make certificate");
    X509* certificate = owned.get();
    setRandomSerial(certificate);
    const X509_NAME* issuerName = issuer == nullptr ? subject : X509_get_subject_name(issuer);
    require(X509_set_version(certificate, X509_VERSION_3) == 1 &&
                X509_set_subject_name(certificate, subject) == 1 &&
                X509_set_issuer_name(certificate, issuerName) == 1 &&
                X509_set_pubkey(certificate, subjectKey) == 1,
            "fill certificate");
    require(ASN1_TIME_set_string_X509(X509_getm_notBefore(certificate),
                                      options.notBefore.c_str()) == 1 &&
                ASN1_TIME_set_string_X509(X509_getm_notAfter(certificate),
                                          options.notAfter.c_str()) == 1,
            "set dates");
    addExtensions(certificate, issuer == nullptr ? certificate : issuer, options);
    require(X509_sign(certificate, issuerKey, digestFor(issuerKey)) > 0, "sign certificate");
    return written([certificate](BIO* bio) { return PEM_write_bio_X509(bio, certificate); },
                   "write certificate");
}

} // namespace

std::string makePrivateKey(KeyKind kind) {
    return keyText(newKey(kind).get());
}

std::vector<std::string> secretLines(const std::string& privateKey) {
    std::vector<std::string> lines = splitLines(privateKey);
    lines.pop_back();
    lines.erase(lines.begin());
    std::erase_if(lines, [](const auto& line) { return line.size() < 32; });
    return lines;
}

TestCertificate makeSelfSigned(const CertificateOptions& options) {
    const auto key = newKey(options.key);
    return {certify(key.get(), nameOf(options).get(), nullptr, key.get(), options),
            keyText(key.get())};
}

TestCertificate makeAuthority(const std::string& commonName) {
    CertificateOptions options;
    options.subject = {{"CN", commonName}};
    options.ca = true;
    options.extensions = {{"keyUsage", "critical,keyCertSign,cRLSign"}};
    return makeSelfSigned(options);
}

TestCertificate makeSigned(const TestCertificate& issuer, const CertificateOptions& options) {
    const std::string key = makePrivateKey(options.key);
    return {certifyKey(key, issuer, options), key};
}

std::string certifyKey(const std::string& privateKey, const TestCertificate& issuer,
                       const CertificateOptions& options) {
    return certify(readKey(privateKey).get(), nameOf(options).get(),
                   readCertificate(issuer.certificate).get(), readKey(issuer.privateKey).get(),
                   options);
}

std::string makeSigningRequest(const std::string& privateKey, const CertificateOptions& options) {
    const auto key = readKey(privateKey);
    const auto request = own<RequestHandle>(X509_REQ_new(), "make request");
    require(X509_REQ_set_subject_name(request.get(), nameOf(options).get()) == 1 &&
                X509_REQ_set_pubkey(request.get(), key.get()) == 1,
            "fill request");
    const auto extensions = own<ExtensionsHandle>(sk_X509_EXTENSION_new_null(), "make list");
    X509V3_CTX context;
    X509V3_set_ctx(&context, nullptr, nullptr, request.get(), nullptr, 0);
    for (const auto& [name, value] : options.extensions) {
        auto extension = makeExtension(&context, name, value);
        sk_X509_EXTENSION_push(extensions.get(), extension.release());
    }
    if (!options.extensions.empty()) {
        require(X509_REQ_add_extensions(request.get(), extensions.get()) == 1, "add extensions");
    }
    require(X509_REQ_sign(request.get(), key.get(), digestFor(key.get())) > 0, "sign request");
    return written([&](BIO* bio) { return PEM_write_bio_X509_REQ(bio, request.get()); },
                   "write request");
}

std::string signRequest(const std::string& request, const TestCertificate& issuer,
                        const CertificateOptions& options) {
    const auto parsed = own<RequestHandle>(
        PEM_read_bio_X509_REQ(reader(request).get(), nullptr, nullptr, nullptr), "read request");
    EVP_PKEY* key = X509_REQ_get0_pubkey(parsed.get());
    require(key != nullptr && X509_REQ_verify(parsed.get(), key) == 1, "check request");
    return certify(key, X509_REQ_get_subject_name(parsed.get()),
                   readCertificate(issuer.certificate).get(), readKey(issuer.privateKey).get(),
                   options);
}

std::string makePkcs7(const std::vector<std::string>& certificates) {
    const auto bundle = own<SignedDataHandle>(PKCS7_new(), "make PKCS #7");
    require(PKCS7_set_type(bundle.get(), NID_pkcs7_signed) == 1 &&
                PKCS7_content_new(bundle.get(), NID_pkcs7_data) == 1 &&
                PKCS7_set_detached(bundle.get(), 1) == 1,
            "fill PKCS #7");
    for (const auto& certificate : certificates) {
        require(PKCS7_add_certificate(bundle.get(), readCertificate(certificate).get()) == 1,
                "add certificate");
    }
    return written([&](BIO* bio) { return PEM_write_bio_PKCS7(bio, bundle.get()); },
                   "write PKCS #7");
}

std::string encryptPrivateKey(const std::string& privateKey, const std::string& password) {
    const auto key = readKey(privateKey);
    return written(
        [&](BIO* bio) {
            return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), EVP_aes_256_cbc(), password.data(),
                                                 static_cast<int>(password.size()), nullptr,
                                                 nullptr);
        },
        "encrypt key");
}
