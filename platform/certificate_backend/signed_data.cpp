// Only the outline is read, so that what a text costs is known before the first certificate in it
// is decoded.

#include "platform/certificate_backend/signed_data.h"

#include "platform/x509/openssl_handles.h"

#include <openssl/objects.h>

#include <string>

namespace {

constexpr unsigned char SEQUENCE = 0x30;
constexpr unsigned char FIRST_TAGGED = 0xa0; // [0], constructed

struct ReleaseElements {
    void operator()(ASN1_SEQUENCE_ANY* elements) const {
        sk_ASN1_TYPE_pop_free(elements, ASN1_TYPE_free);
    }
};
using ElementsHandle = std::unique_ptr<ASN1_SEQUENCE_ANY, ReleaseElements>;

// Null when the bytes are not exactly one SEQUENCE.
ElementsHandle elementsOf(const SecretBytes& encoding) {
    const unsigned char* position = encoding.data();
    ElementsHandle elements(
        d2i_ASN1_SEQUENCE_ANY(nullptr, &position, static_cast<long>(encoding.size())));
    return position == encoding.data() + encoding.size() ? std::move(elements) : nullptr;
}

const ASN1_TYPE* elementAt(const ElementsHandle& elements, int index) {
    return index < sk_ASN1_TYPE_num(elements.get()) ? sk_ASN1_TYPE_value(elements.get(), index)
                                                    : nullptr;
}

// The whole encoding of a SEQUENCE or a tagged element; empty for an element of another kind.
SecretBytes encodingOf(const ASN1_TYPE* element) {
    if (element == nullptr || (element->type != V_ASN1_SEQUENCE && element->type != V_ASN1_OTHER)) {
        return {};
    }
    const ASN1_STRING* bytes = element->value.asn1_string;
    const unsigned char* begin = ASN1_STRING_get0_data(bytes);
    return {begin, begin + ASN1_STRING_length(bytes)};
}

bool isSignedDataNumber(const ASN1_TYPE* element) {
    return element != nullptr && element->type == V_ASN1_OBJECT &&
           OBJ_obj2nid(element->value.object) == NID_pkcs7_signed;
}

// The elements of a list that is tagged [0] in place of its own tag; null for anything else.
ElementsHandle taggedList(const ASN1_TYPE* element) {
    SecretBytes encoding = encodingOf(element);
    if (encoding.empty() || encoding.front() != FIRST_TAGGED) {
        return nullptr;
    }
    encoding.front() = SEQUENCE;
    return elementsOf(encoding);
}

// The SignedData within the ContentInfo; null when the content is of another type.
ElementsHandle signedDataIn(const SecretBytes& content) {
    const ElementsHandle outer = elementsOf(content);
    if (!outer || !isSignedDataNumber(elementAt(outer, 0))) {
        return nullptr;
    }
    const ElementsHandle explicitContent = taggedList(elementAt(outer, 1));
    return explicitContent ? elementsOf(encodingOf(elementAt(explicitContent, 0))) : nullptr;
}

} // namespace

Fault takeSignedCertificates(const SecretBytes& content, std::size_t most,
                             std::vector<SecretBytes>& certificates) {
    constexpr int PLACE_OF_CERTIFICATES = 3; // after version, digest algorithms and content
    const ElementsHandle data = signedDataIn(content);
    if (!data) {
        return "The PKCS7 block of the text is not signed data. Send what openssl crl2pkcs7 makes "
               "of the certificates.";
    }
    const ElementsHandle list = taggedList(elementAt(data, PLACE_OF_CERTIFICATES));
    const int count = list ? sk_ASN1_TYPE_num(list.get()) : 0;
    if (static_cast<std::size_t>(count) > most) {
        return "The text holds more than " + std::to_string(most) +
               " certificates. Send the certificate and its chain alone.";
    }
    for (int i = 0; i < count; ++i) {
        certificates.push_back(encodingOf(elementAt(list, i)));
    }
    return std::nullopt;
}
