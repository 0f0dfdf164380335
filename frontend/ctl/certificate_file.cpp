#include "frontend/ctl/certificate_file.h"

#include "core/at_scope_end.h"
#include "core/secret.h"
#include "frontend/exchange/front_end_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>

namespace {

constexpr std::size_t MAX_FILE_SIZE = std::size_t{1024} * 1024;
constexpr std::string_view CERTIFICATE_BEGIN = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view PKCS7_BEGIN = "-----BEGIN PKCS7-----";

struct FileEnd {
    void operator()(std::FILE* file) const {
        if (file != stdin && file != stdout) {
            (void)std::fclose(file);
        }
    }
};
using File = std::unique_ptr<std::FILE, FileEnd>;

FrontEndError fileError(const std::string& path, const std::string& what) {
    return {FailureKind::LOCAL_FILE,
            (path == "-" ? std::string("standard input") : path) + ": " + what};
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

FrontEndError notACertificate(const std::string& path, const std::string& text) {
    FrontEndError error = fileError(path, "is not a certificate text.");
    error.hint = "A certificate text holds a line " + std::string(CERTIFICATE_BEGIN) + " or " +
                 std::string(PKCS7_BEGIN) + ".";
    if (contains(text, "-----BEGIN CERTIFICATE REQUEST-----")) {
        error.hint = "This is a signing request. A certificate authority makes the certificate "
                     "from it, for example `openssl x509 -req`.";
    } else if (contains(text, "PRIVATE KEY-----")) {
        error.hint = "There is a private key in it, but no certificate.";
    } else if (!text.empty() && text.front() == '\x30') {
        error.hint = "It looks like a binary (DER) certificate; "
                     "`openssl x509 -inform der -in FILE` turns it into text.";
    }
    return error;
}

File openToRead(const std::string& path) {
    if (path != "-" && std::filesystem::is_directory(path)) {
        throw fileError(path, "is a folder.");
    }
    File file(path == "-" ? stdin : std::fopen(path.c_str(), "rbe"));
    if (!file) {
        throw fileError(path, std::strerror(errno));
    }
    // Without a buffer of the library's own, no copy of a private key stays in one.
    (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

} // namespace

std::string guessCertificateType(std::string_view text) {
    if (contains(text, PKCS7_BEGIN)) {
        return "PKCS7";
    }
    const std::size_t first = text.find(CERTIFICATE_BEGIN);
    const bool isChain = first != std::string_view::npos &&
                         text.find(CERTIFICATE_BEGIN, first + 1) != std::string_view::npos;
    return isChain ? "PEMchain" : "PEM";
}

std::string readTextFile(const std::string& path) {
    const File file = openToRead(path);
    std::string text(MAX_FILE_SIZE + 1, '\0'); // never grows: that would leave copies behind
    const std::size_t length = std::fread(text.data(), 1, text.size(), file.get());
    text.resize(length);
    if (length <= MAX_FILE_SIZE && std::ferror(file.get()) == 0) {
        return text;
    }
    const int reason = errno;
    wipeText(text);
    throw fileError(path, length > MAX_FILE_SIZE ? "is longer than 1 MiB." : std::strerror(reason));
}

CertificateText readCertificate(const CertificateSource& source) {
    std::string text = readTextFile(source.file);
    const bool isText = !contains(text, std::string_view("\0", 1));
    const bool hasBlock = contains(text, CERTIFICATE_BEGIN) || contains(text, PKCS7_BEGIN);
    const bool mayBeBare = source.type == "PKCS7"; // some tools write the base64 alone
    if (!isText || (!hasBlock && !mayBeBare)) {
        const AtScopeEnd wiping([&text] { wipeText(text); });
        throw notACertificate(source.file, text);
    }
    const std::string type = source.type.empty() ? guessCertificateType(text) : source.type;
    return {std::move(text), type};
}

void writeTextFile(const std::string& path, const std::string& text) {
    const File file(path == "-" ? stdout : std::fopen(path.c_str(), "wbe"));
    if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
        std::fflush(file.get()) != 0) {
        throw fileError(path == "-" ? "standard output" : path, std::strerror(errno));
    }
}
