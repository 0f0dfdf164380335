#include "bench/bare_checks.h"

#include "tests/support/temp_files.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace {

template <auto FREE>
struct Release {
    template <typename Object>
    void operator()(Object* object) const {
        FREE(object);
    }
};
using Bio = std::unique_ptr<BIO, Release<BIO_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using Digest = std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX_free>>;
using Roots = std::unique_ptr<X509_STORE, Release<X509_STORE_free>>;
using Validation = std::unique_ptr<X509_STORE_CTX, Release<X509_STORE_CTX_free>>;
using Request = std::unique_ptr<X509_REQ, Release<X509_REQ_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION_free>>;

void require(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("a bare call fails");
    }
}

struct Descriptor {
    explicit Descriptor(int number) : descriptor(number) {
        require(number >= 0);
    }
    ~Descriptor() {
        close(descriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int descriptor;
};

struct Pair {
    Key key;
    Certificate certificate;
};

Pair readPair(const std::string& text) {
    const Bio memory(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    Key key(PEM_read_bio_PrivateKey(memory.get(), nullptr, nullptr, nullptr));
    Certificate certificate(PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr));
    require(key && certificate);
    return {std::move(key), std::move(certificate)};
}

void checkPair(const Pair& pair) {
    constexpr std::array<unsigned char, 32> PROBE = {};
    EVP_PKEY* const publicKey = X509_get0_pubkey(pair.certificate.get());
    require(EVP_PKEY_eq(pair.key.get(), publicKey) == 1);
    std::array<unsigned char, 512> signature{};
    std::size_t length = signature.size();
    const Digest signing(EVP_MD_CTX_new());
    require(EVP_DigestSignInit(signing.get(), nullptr, EVP_sha256(), nullptr, pair.key.get()) == 1);
    require(EVP_DigestSign(signing.get(), signature.data(), &length, PROBE.data(), PROBE.size()) ==
            1);
    const Digest verifying(EVP_MD_CTX_new());
    require(EVP_DigestVerifyInit(verifying.get(), nullptr, EVP_sha256(), nullptr, publicKey) == 1);
    require(EVP_DigestVerify(verifying.get(), signature.data(), length, PROBE.data(),
                             PROBE.size()) == 1);
}

void checkCertificate(X509* certificate) {
    int bits = 0;
    require(X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0);
    require(X509_cmp_current_time(X509_get0_notAfter(certificate)) > 0);
    require(X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1);
    require((X509_get_extension_flags(certificate) & EXFLAG_CA) == 0);
    require(EVP_PKEY_get_bits(X509_get0_pubkey(certificate)) >= 256);
}

void checkChain(X509* certificate, const std::string& rootCaFile) {
    const Roots roots(X509_STORE_new());
    require(X509_STORE_load_file(roots.get(), rootCaFile.c_str()) == 1);
    const Validation validation(X509_STORE_CTX_new());
    require(X509_STORE_CTX_init(validation.get(), roots.get(), certificate, nullptr) == 1);
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(validation.get());
    X509_VERIFY_PARAM_set_auth_level(parameters, 2);
    X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_SSL_SERVER);
    require(X509_verify_cert(validation.get()) == 1);
}

void takeName(const X509_NAME* name) {
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        unsigned char* text = nullptr;
        const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
        require(ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(entry)) >= 0);
        OPENSSL_free(text);
    }
}

void takeProperties(X509* certificate) {
    std::tm time{};
    takeName(X509_get_subject_name(certificate));
    takeName(X509_get_issuer_name(certificate));
    require(ASN1_TIME_to_tm(X509_get0_notBefore(certificate), &time) == 1);
    require(ASN1_TIME_to_tm(X509_get0_notAfter(certificate), &time) == 1);
    (void)X509_get_key_usage(certificate);
    (void)X509_get_extended_key_usage(certificate);
}

// The file replaces its predecessor once it is safely on disk.
void writeSafely(const std::string& directory, const BIO* content) {
    const Descriptor folder(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    char* text = nullptr;
    const auto length =
        static_cast<std::size_t>(BIO_get_mem_data(const_cast<BIO*>(content), &text));
    const Descriptor file(
        openat(folder.descriptor, ".new", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    require(write(file.descriptor, text, length) == static_cast<ssize_t>(length));
    require(fsync(file.descriptor) == 0);
    require(renameat(folder.descriptor, ".new", folder.descriptor, BARE_CERTIFICATE_FILE) == 0);
    require(fsync(folder.descriptor) == 0);
}

void writePair(const std::string& directory, EVP_PKEY* key, X509* certificate) {
    const Bio memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PKCS8PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr,
                                          nullptr) == 1);
    require(certificate == nullptr || PEM_write_bio_X509(memory.get(), certificate) == 1);
    writeSafely(directory, memory.get());
}

struct StoreLock {
    explicit StoreLock(const std::string& directory)
        : folder(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        require(flock(folder.descriptor, LOCK_EX) == 0);
    }
    Descriptor folder;
};

void install(const BareInput& input) {
    const Pair pair = readPair(input.certificateText);
    checkCertificate(pair.certificate.get());
    checkPair(pair);
    checkChain(pair.certificate.get(), input.rootCaFile);
    takeProperties(pair.certificate.get());
    const Bio answer(BIO_new(BIO_s_mem())); // the text that goes back into the resource
    require(PEM_write_bio_X509(answer.get(), pair.certificate.get()) == 1);
    writePair(input.directory, pair.key.get(), pair.certificate.get());
}

void addExtension(X509_REQ* request, int type, const char* value) {
    STACK_OF(X509_EXTENSION)* extensions = nullptr;
    const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, type, value));
    require(extension != nullptr);
    require(X509v3_add_ext(&extensions, extension.get(), -1) != nullptr);
    const bool added = X509_REQ_add_extensions(request, extensions) == 1;
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
    require(added);
}

} // namespace

void bareCreate(const BareInput& input) {
    const StoreLock lock(input.directory);
    install(input);
}

void bareReplace(const BareInput& input) {
    const StoreLock lock(input.directory);
    const Pair installed = readPair(readFile(input.directory + "/" + BARE_CERTIFICATE_FILE));
    install(input);
}

void bareDelete(const BareInput& input) {
    const StoreLock lock(input.directory);
    require(unlinkat(lock.folder.descriptor, BARE_CERTIFICATE_FILE, 0) == 0);
    require(fsync(lock.folder.descriptor) == 0);
}

void bareSigningRequest(const BareInput& input) {
    const Key key(EVP_EC_gen("P-256"));
    const Request request(X509_REQ_new());
    require(key && request && X509_REQ_set_pubkey(request.get(), key.get()) == 1);
    X509_NAME* name = X509_REQ_get_subject_name(request.get());
    for (const char* field : {"CN", "O", "C"}) {
        const char* value = field[0] == 'C' && field[1] == '\0' ? "US" : "bmc.example";
        require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>(value), -1, -1,
                                           0) == 1);
    }
    addExtension(request.get(), NID_subject_alt_name, "DNS:bmc.example");
    require(X509_REQ_sign(request.get(), key.get(), EVP_sha256()) > 0);
    const Bio answer(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509_REQ(answer.get(), request.get()) == 1);
    const StoreLock lock(input.directory);
    writePair(input.directory, key.get(), nullptr);
}
