#include "bench/bare_checks.h"

#include "platform/posix/file_descriptor.h"
#include "platform/x509/openssl_handles.h"
#include "tests/support/temp_files.h"

#include <fcntl.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <stdexcept>

namespace {

constexpr const char* BARE_REPLACED_FILE = "replaced.pem";

void require(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("a bare call fails");
    }
}

FileDescriptor opened(int descriptor) {
    require(descriptor >= 0);
    return FileDescriptor(descriptor);
}

struct Pair {
    KeyHandle key;
    CertificateHandle certificate;
};

BioHandle memoryOf(const std::string& text) {
    return BioHandle(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

// With its type named: left to find it out, OpenSSL tries one decoder after the other.
KeyHandle readEcKey(const std::string& text) {
    unsigned char* encoded = nullptr;
    long length = 0;
    require(PEM_bytes_read_bio(&encoded, &length, nullptr, PEM_STRING_PKCS8INF,
                               memoryOf(text).get(), nullptr, nullptr) == 1);
    const unsigned char* position = encoded;
    KeyHandle key(d2i_PrivateKey(EVP_PKEY_EC, nullptr, &position, length));
    OPENSSL_free(encoded);
    require(key != nullptr);
    return key;
}

CertificateHandle readCertificate(const std::string& text) {
    CertificateHandle certificate(
        PEM_read_bio_X509(memoryOf(text).get(), nullptr, nullptr, nullptr));
    require(certificate != nullptr);
    return certificate;
}

void checkPair(const Pair& pair) {
    constexpr std::array<unsigned char, 32> PROBE = {};
    EVP_PKEY* const publicKey = X509_get0_pubkey(pair.certificate.get());
    require(EVP_PKEY_eq(pair.key.get(), publicKey) == 1);
    std::array<unsigned char, 512> signature{};
    std::size_t length = signature.size();
    const DigestContextHandle signing(EVP_MD_CTX_new());
    require(EVP_DigestSignInit(signing.get(), nullptr, EVP_sha256(), nullptr, pair.key.get()) == 1);
    require(EVP_DigestSign(signing.get(), signature.data(), &length, PROBE.data(), PROBE.size()) ==
            1);
    const DigestContextHandle verifying(EVP_MD_CTX_new());
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
    const RootsHandle roots(X509_STORE_new());
    require(X509_STORE_load_file(roots.get(), rootCaFile.c_str()) == 1);
    const ValidationHandle validation(X509_STORE_CTX_new());
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
    const FileDescriptor folder =
        opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    char* text = nullptr;
    const auto length =
        static_cast<std::size_t>(BIO_get_mem_data(const_cast<BIO*>(content), &text));
    const FileDescriptor file =
        opened(openat(folder.get(), ".new", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    require(write(file.get(), text, length) == static_cast<ssize_t>(length));
    require(fsync(file.get()) == 0);
    require(renameat(folder.get(), ".new", folder.get(), BARE_CERTIFICATE_FILE) == 0);
    require(fsync(folder.get()) == 0);
}

void writePair(const std::string& directory, EVP_PKEY* key, X509* certificate) {
    const BioHandle memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PKCS8PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr,
                                          nullptr) == 1);
    require(certificate == nullptr || PEM_write_bio_X509(memory.get(), certificate) == 1);
    writeSafely(directory, memory.get());
}

// The private key in the file is overwritten before it goes.
void eraseFile(const FileDescriptor& folder, const char* name) {
    const FileDescriptor file = opened(openat(folder.get(), name, O_WRONLY | O_CLOEXEC));
    struct stat status = {};
    require(fstat(file.get(), &status) == 0);
    const std::string zeros(static_cast<std::size_t>(status.st_size), '\0');
    require(write(file.get(), zeros.data(), zeros.size()) == status.st_size);
    require(fsync(file.get()) == 0);
    require(unlinkat(folder.get(), name, 0) == 0);
    require(fsync(folder.get()) == 0);
}

// What is replaced stays under a second name, in place of what was replaced before.
void keepInstalled(const FileDescriptor& folder) {
    if (faccessat(folder.get(), BARE_REPLACED_FILE, F_OK, 0) == 0) {
        eraseFile(folder, BARE_REPLACED_FILE);
    }
    require(linkat(folder.get(), BARE_CERTIFICATE_FILE, folder.get(), BARE_REPLACED_FILE, 0) == 0);
    require(fsync(folder.get()) == 0);
}

FileDescriptor locked(const std::string& directory) {
    FileDescriptor folder = opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    require(flock(folder.get(), LOCK_EX) == 0);
    return folder;
}

void install(const BareInput& input) {
    const Pair pair = {readEcKey(input.certificateText), readCertificate(input.certificateText)};
    checkCertificate(pair.certificate.get());
    checkPair(pair);
    checkChain(pair.certificate.get(), input.rootCaFile);
    takeProperties(pair.certificate.get());
    const BioHandle answer(BIO_new(BIO_s_mem())); // the text that goes back into the resource
    require(PEM_write_bio_X509(answer.get(), pair.certificate.get()) == 1);
    writePair(input.directory, pair.key.get(), pair.certificate.get());
}

void addExtension(X509_REQ* request, int type, const char* value) {
    STACK_OF(X509_EXTENSION)* extensions = nullptr;
    const ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, nullptr, type, value));
    require(extension != nullptr);
    require(X509v3_add_ext(&extensions, extension.get(), -1) != nullptr);
    const bool added = X509_REQ_add_extensions(request, extensions) == 1;
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
    require(added);
}

} // namespace

void bareCreate(const BareInput& input) {
    const FileDescriptor lock = locked(input.directory);
    install(input);
}

void bareReplace(const BareInput& input) {
    const FileDescriptor lock = locked(input.directory);
    const CertificateHandle installed =
        readCertificate(readFile(input.directory + "/" + BARE_CERTIFICATE_FILE));
    keepInstalled(lock);
    install(input);
}

void bareDelete(const BareInput& input) {
    const FileDescriptor lock = locked(input.directory);
    eraseFile(lock, BARE_CERTIFICATE_FILE);
}

void bareSigningRequest(const BareInput& input) {
    const KeyHandle key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const RequestHandle request(X509_REQ_new());
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
    const BioHandle answer(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509_REQ(answer.get(), request.get()) == 1);
    const FileDescriptor lock = locked(input.directory);
    writePair(input.directory, key.get(), nullptr);
}
