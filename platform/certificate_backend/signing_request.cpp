// The parameters have been checked: whatever fails here is a fault of the machine.

#include "platform/certificate_backend/signing_request.h"

#include "platform/x509/memory_text.h"

#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace {

void require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string("cannot make a signing request: ") + what);
    }
}

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void setSubject(X509_REQ* request, const CsrParameters& parameters) {
    const NameHandle name(X509_NAME_new());
    require(name != nullptr, "subject");
    for (const SubjectAttribute& attribute : parameters.subject) {
        require(X509_NAME_add_entry_by_NID(name.get(), attribute.attribute, MBSTRING_UTF8,
                                           bytesOf(attribute.value),
                                           static_cast<int>(attribute.value.size()), -1, 0) == 1,
                "subject");
    }
    require(X509_REQ_set_subject_name(request, name.get()) == 1, "subject");
}

void addExtension(const ExtensionsHandle& extensions, int number, bool critical, void* value) {
    ExtensionHandle extension(X509V3_EXT_i2d(number, critical ? 1 : 0, value));
    require(extension && sk_X509_EXTENSION_push(extensions.get(), extension.get()) > 0,
            "extension");
    static_cast<void>(extension.release()); // the stack's now
}

void addAlternativeNames(const ExtensionsHandle& extensions, const CsrParameters& parameters) {
    const GeneralNamesHandle names(GENERAL_NAMES_new());
    require(names != nullptr, "alternative names");
    for (const GeneralNameHandle& name : parameters.alternativeNames) {
        GeneralNameHandle copy(GENERAL_NAME_dup(name.get()));
        require(copy && sk_GENERAL_NAME_push(names.get(), copy.get()) > 0, "alternative names");
        static_cast<void>(copy.release()); // the stack's now
    }
    if (!parameters.alternativeNames.empty()) {
        addExtension(extensions, NID_subject_alt_name, false, names.get());
    }
}

void addKeyUsage(const ExtensionsHandle& extensions, const CsrParameters& parameters) {
    const BitStringHandle bits(ASN1_BIT_STRING_new());
    bool given = false;
    for (const KeyUsageValue& usage : parameters.keyUsage) {
        if (usage.bit >= 0) {
            require(bits && ASN1_BIT_STRING_set_bit(bits.get(), usage.bit, 1) == 1, "key usage");
            given = true;
        }
    }
    if (given) {
        addExtension(extensions, NID_key_usage, true, bits.get());
    }
}

void addExtendedKeyUsage(const ExtensionsHandle& extensions, const CsrParameters& parameters) {
    const ExtendedKeyUsageHandle purposes(EXTENDED_KEY_USAGE_new());
    require(purposes != nullptr, "extended key usage");
    for (const KeyUsageValue& usage : parameters.keyUsage) {
        if (usage.bit < 0 && !holdsPurpose(purposes.get(), usage.purpose)) {
            require(sk_ASN1_OBJECT_push(purposes.get(), OBJ_nid2obj(usage.purpose)) > 0,
                    "extended key usage");
        }
    }
    if (sk_ASN1_OBJECT_num(purposes.get()) > 0) {
        addExtension(extensions, NID_ext_key_usage, false, purposes.get());
    }
}

void addExtensions(X509_REQ* request, const CsrParameters& parameters) {
    const ExtensionsHandle extensions(sk_X509_EXTENSION_new_null());
    require(extensions != nullptr, "extensions");
    addAlternativeNames(extensions, parameters);
    addKeyUsage(extensions, parameters);
    addExtendedKeyUsage(extensions, parameters);
    require(sk_X509_EXTENSION_num(extensions.get()) == 0 ||
                X509_REQ_add_extensions(request, extensions.get()) == 1,
            "extensions");
}

void addAttribute(X509_REQ* request, int attribute, std::string_view value) {
    require(value.empty() ||
                X509_REQ_add1_attr_by_NID(request, attribute, MBSTRING_UTF8, bytesOf(value),
                                          static_cast<int>(value.size())) == 1,
            "attribute");
}

const EVP_MD* digestFor(const CsrParameters& parameters) {
    if (parameters.curve == "P-384") {
        return EVP_sha384();
    }
    return parameters.curve == "P-521" ? EVP_sha512() : EVP_sha256();
}

} // namespace

RequestHandle makeSigningRequest(const CsrParameters& parameters, EVP_PKEY* key) {
    RequestHandle request(X509_REQ_new());
    require(request && X509_REQ_set_version(request.get(), X509_REQ_VERSION_1) == 1, "version");
    setSubject(request.get(), parameters);
    require(X509_REQ_set_pubkey(request.get(), key) == 1, "public key");
    addExtensions(request.get(), parameters);
    addAttribute(request.get(), NID_pkcs9_challengePassword, parameters.challengePassword);
    addAttribute(request.get(), NID_pkcs9_unstructuredName, parameters.unstructuredName);
    require(X509_REQ_sign(request.get(), key, digestFor(parameters)) > 0, "signature");
    return request;
}

std::string requestText(X509_REQ* request) {
    const BioHandle memory = newMemory();
    require(PEM_write_bio_X509_REQ(memory.get(), request) == 1, "text");
    return std::string(writtenText(memory));
}
