#include "platform/certificate_backend/trusted_roots.h"

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/certificate_naming.h"
#include "platform/certificate_backend/key_rules.h"
#include "platform/certificate_backend/pem_blocks.h"
#include "platform/posix/file_descriptor.h"

#include <cerrno>
#include <system_error>

namespace {

constexpr std::size_t LONGEST_FILE = std::size_t{1} << 20;

[[noreturn]] void unusable(const std::string& file, const std::string& reason) {
    throw UnusableRoots("the root CA file " + file + " cannot be used: " + reason);
}

[[noreturn]] void unreadable(const std::string& file) {
    unusable(file, std::generic_category().message(errno));
}

std::string readRoots(const std::string& file) {
    const FileDescriptor opened = openForReading(file);
    if (opened.get() < 0) {
        unreadable(file);
    }
    if (!isRegularFile(opened)) {
        unusable(file, "it is no regular file");
    }
    std::optional<std::string> text = readContent(opened, LONGEST_FILE);
    if (!text) {
        unreadable(file);
    }
    if (text->size() > LONGEST_FILE) {
        unusable(file, "it has more than " + std::to_string(LONGEST_FILE) + " bytes");
    }
    return std::move(*text);
}

// Null for a block of another kind.
using Decoder = X509* (*)(X509**, const unsigned char**, long);
Decoder decoderOf(const std::string& label) {
    if (label == "TRUSTED CERTIFICATE") {
        return d2i_X509_AUX;
    }
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE" ? d2i_X509 : nullptr;
}

CertificateHandle decodeRoot(const PemBlock& block, Decoder decode) {
    const unsigned char* position = block.content.data();
    CertificateHandle root(decode(nullptr, &position, static_cast<long>(block.content.size())));
    return position == block.content.data() + block.content.size() ? std::move(root) : nullptr;
}

Fault rootFault(X509* root) {
    if (Fault fault = extensionCountFault(root)) {
        return fault;
    }
    Fault fault = extensionsFault(root);
    return fault ? fault : keyFault(X509_get0_pubkey(root), ROOT_KEY_RULES);
}

void addRoot(const RootsHandle& roots, const std::string& file, const PemBlock& block) {
    const CertificateHandle root = decodeRoot(block, decoderOf(block.label));
    if (!root) {
        unusable(file, "a certificate in it cannot be decoded");
    }
    if (const Fault fault = rootFault(root.get())) {
        unusable(file, "the certificate of " + subjectNaming(root.get()) + " " + *fault);
    }
    if (X509_STORE_add_cert(roots.get(), root.get()) != 1) {
        throw std::runtime_error("cannot collect trusted roots");
    }
}

} // namespace

RootsHandle loadRoots(const std::string& file) {
    if (file.empty()) {
        return nullptr;
    }
    std::vector<PemBlock> blocks;
    if (const Fault fault = splitPemBlocks(readRoots(file), blocks)) {
        unusable(file, *fault);
    }
    RootsHandle roots(X509_STORE_new());
    if (!roots) {
        throw std::runtime_error("cannot collect trusted roots");
    }
    std::size_t count = 0;
    for (const PemBlock& block : blocks) {
        if (decoderOf(block.label) != nullptr) {
            addRoot(roots, file, block);
            ++count;
        }
    }
    if (count == 0) {
        unusable(file, "it holds no certificate");
    }
    return roots;
}
