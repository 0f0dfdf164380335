#include "frontend/web/http/tls_identity.h"

#include "platform/x509/certificate_chain.h"
#include "platform/x509/memory_text.h"
#include "platform/x509/openssl_handles.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <stdexcept>

namespace {

// For TLS 1.2; those of TLS 1.3 are all good. Forward secrecy and authenticated encryption alone.
constexpr const char* TLS12_CIPHERS = "ECDHE+AESGCM:ECDHE+CHACHA20";

constexpr long SELF_SIGNED_SECONDS = 10L * 365 * 24 * 60 * 60;

void check(bool done, const char* what) {
    if (!done) {
        ERR_clear_error();
        throw std::runtime_error(what);
    }
}

TlsContext newContext() {
    TlsContext context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    check(context != nullptr, "OpenSSL gives no TLS context.");
    check(SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1 &&
              SSL_CTX_set_cipher_list(context.get(), TLS12_CIPHERS) == 1,
          "OpenSSL has no TLS 1.2 as it is needed.");
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION |
                                           SSL_OP_CIPHER_SERVER_PREFERENCE |
                                           SSL_OP_CLEANSE_PLAINTEXT);
    SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS);
    return context;
}

void useKey(SSL_CTX* context, X509* certificate, EVP_PKEY* key) {
    check(SSL_CTX_use_certificate(context, certificate) == 1,
          "OpenSSL cannot use the certificate.");
    check(SSL_CTX_use_PrivateKey(context, key) == 1 && SSL_CTX_check_private_key(context) == 1,
          "The private key does not belong to the certificate.");
}

CertificateChain chainOf(const std::string& text) {
    const SignedDataHandle signedData = readSignedData(text);
    return signedData ? certificatesOf(signedData.get()) : readCertificates(text);
}

void addName(X509* certificate, const std::string& commonName) {
    X509_NAME* const name = X509_get_subject_name(certificate);
    check(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char*>(commonName.c_str()), -1,
                                     -1, 0) == 1 &&
              X509_set_issuer_name(certificate, name) == 1,
          "OpenSSL makes no name.");
}

void addExtension(X509* certificate, int extension, const char* value) {
    const ExtensionHandle made(X509V3_EXT_conf_nid(nullptr, nullptr, extension, value));
    check(made && X509_add_ext(certificate, made.get(), -1) == 1, "OpenSSL makes no extension.");
}

void addSerialNumber(X509* certificate) {
    std::uint64_t number = 0;
    check(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) == 1 &&
              ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number >> 1U) == 1,
          "OpenSSL makes no serial number.");
}

CertificateHandle selfSigned(EVP_PKEY* key, const std::string& commonName) {
    CertificateHandle certificate(X509_new());
    check(certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
              X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0) != nullptr &&
              X509_gmtime_adj(X509_getm_notAfter(certificate.get()), SELF_SIGNED_SECONDS) !=
                  nullptr &&
              X509_set_pubkey(certificate.get(), key) == 1,
          "OpenSSL makes no certificate.");
    addSerialNumber(certificate.get());
    addName(certificate.get(), commonName);
    addExtension(certificate.get(), NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), NID_ext_key_usage, "serverAuth");
    check(X509_sign(certificate.get(), key, EVP_sha256()) > 0, "OpenSSL signs no certificate.");
    return certificate;
}

} // namespace

TlsContext tlsContextFor(const ListenerCertificate& certificate) {
    const CertificateChain chain = chainOf(certificate.certificates);
    const KeyHandle key(PEM_read_bio_PrivateKey(readableText(certificate.privateKey).get(), nullptr,
                                                noPassphrase, nullptr));
    ERR_clear_error();
    check(!chain.empty() && key, "The certificate or its private key cannot be read.");
    TlsContext context = newContext();
    useKey(context.get(), chain.front().get(), key.get());
    for (auto issuer = chain.begin() + 1; issuer != chain.end(); ++issuer) {
        check(SSL_CTX_add1_chain_cert(context.get(), issuer->get()) == 1,
              "OpenSSL cannot use the certificate's issuer.");
    }
    return context;
}

TlsContext selfSignedContext(const std::string& commonName) {
    const KeyHandle key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    check(key != nullptr, "OpenSSL makes no key.");
    const CertificateHandle certificate = selfSigned(key.get(), commonName);
    TlsContext context = newContext();
    useKey(context.get(), certificate.get(), key.get());
    return context;
}
