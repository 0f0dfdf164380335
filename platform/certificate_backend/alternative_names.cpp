// All forms are plain ASCII: an internationalised name is given in its encoded form (RFC 5890).

#include "platform/certificate_backend/alternative_names.h"

#include "platform/x509/utf8.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::size_t LONGEST_NAME = 253; // RFC 1035, 2.3.4, without the final dot
constexpr std::size_t LONGEST_LABEL = 63;
constexpr std::size_t LONGEST_URI = 1024;
constexpr std::size_t LONGEST_LOCAL_PART = 64; // RFC 5321, 4.5.3.1

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isVisible(char c) {
    return c > ' ' && c < '\x7f';
}

template <typename Test>
bool consistsOf(std::string_view text, Test test) {
    return !text.empty() && std::all_of(text.begin(), text.end(), test);
}

bool isLabel(std::string_view label) {
    return label.size() <= LONGEST_LABEL && !label.starts_with('-') && !label.ends_with('-') &&
           consistsOf(label,
                      [](char c) { return isLetter(c) || isDigit(c) || c == '-' || c == '_'; });
}

bool isHostName(std::string_view name) {
    if (name.empty() || name.size() > LONGEST_NAME) {
        return false;
    }
    while (true) {
        const std::size_t dot = name.find('.');
        if (dot == std::string_view::npos) {
            break;
        }
        if (!isLabel(name.substr(0, dot))) {
            return false;
        }
        name.remove_prefix(dot + 1);
    }
    return isLabel(name) && !consistsOf(name, isDigit); // "1.2.3" is a mistyped address
}

bool isDnsName(std::string_view name) {
    return isHostName(name.starts_with("*.") ? name.substr(2) : name);
}

bool isEmail(std::string_view text) {
    const std::size_t at = text.find('@');
    return at <= LONGEST_LOCAL_PART && // not found is above it
           consistsOf(text.substr(0, at), isVisible) && isHostName(text.substr(at + 1));
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool arePercentCodesWhole(std::string_view text) {
    for (std::size_t i = text.find('%'); i != std::string_view::npos; i = text.find('%', i + 1)) {
        if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) {
            return false;
        }
    }
    return true;
}

// What a URI has beside these only in percent codes (RFC 3986, 2).
bool isUriCharacter(char c) {
    return isVisible(c) && std::string_view("\"<>\\^`{|}").find(c) == std::string_view::npos;
}

bool isUri(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || text.size() > LONGEST_URI || !isLetter(text.front())) {
        return false;
    }
    const std::string_view rest = text.substr(colon + 1);
    const bool scheme = consistsOf(text.substr(0, colon), [](char c) {
        return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
    });
    return scheme && consistsOf(rest, isUriCharacter) && rest != "//" &&
           arePercentCodesWhole(rest) && !consistsOf(rest, isDigit); // no "host:443"
}

// In any case; the prefix is in small letters.
bool hasPrefix(std::string_view value, std::string_view prefix) {
    return value.size() > prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), value.begin(), [](char expected, char c) {
               return (isLetter(c) ? static_cast<char>(c | 0x20) : c) == expected;
           });
}

// Takes the prefix from the value; false when it is not there.
bool takePrefix(std::string_view& value, std::string_view prefix) {
    const bool there = hasPrefix(value, prefix);
    value.remove_prefix(there ? prefix.size() : 0);
    return there;
}

GeneralNameHandle makeName(int form, int stringType, const void* bytes, std::size_t length) {
    GeneralNameHandle name(GENERAL_NAME_new());
    OctetStringHandle value(ASN1_STRING_type_new(stringType));
    if (!name || !value || ASN1_STRING_set(value.get(), bytes, static_cast<int>(length)) != 1) {
        throw std::runtime_error("cannot make an alternative name");
    }
    GENERAL_NAME_set0_value(name.get(), form, value.release());
    return name;
}

GeneralNameHandle textName(int form, std::string_view text) {
    return makeName(form, V_ASN1_IA5STRING, text.data(), text.size());
}

GeneralNameHandle dnsName(std::string_view text) {
    return isDnsName(text) ? textName(GEN_DNS, text) : nullptr;
}

GeneralNameHandle uriName(std::string_view text) {
    return isUri(text) ? textName(GEN_URI, text) : nullptr;
}

// Without "URI:" before it: "a:b" alone is more likely a mistyped address.
GeneralNameHandle plainUriName(std::string_view text) {
    const bool plain = text.find("://") == std::min(text.find(':'), text.size()) ||
                       hasPrefix(text, "urn:") || hasPrefix(text, "mailto:");
    return plain ? uriName(text) : nullptr;
}

GeneralNameHandle emailName(std::string_view text) {
    return isEmail(text) ? textName(GEN_EMAIL, text) : nullptr;
}

GeneralNameHandle addressName(std::string_view text) {
    if (text.starts_with('[') && text.ends_with(']')) {
        text = text.substr(1, text.size() - 2);
    }
    const std::string address(text);
    std::array<unsigned char, 16> bytes{};
    if (address.find('\0') != std::string::npos) {
        return nullptr;
    }
    if (inet_pton(AF_INET, address.c_str(), bytes.data()) == 1) {
        return makeName(GEN_IPADD, V_ASN1_OCTET_STRING, bytes.data(), 4);
    }
    return inet_pton(AF_INET6, address.c_str(), bytes.data()) == 1
               ? makeName(GEN_IPADD, V_ASN1_OCTET_STRING, bytes.data(), bytes.size())
               : nullptr;
}

// How to make a name of one form; null when the text has another.
using Maker = GeneralNameHandle (*)(std::string_view text);
struct Form {
    std::string_view prefix;
    Maker make;      // after the prefix
    Maker makePlain; // without it
};

// In the order in which a value without a prefix is tried.
constexpr std::array<Form, 4> FORMS = {{{"ip:", addressName, addressName},
                                        {"dns:", dnsName, dnsName},
                                        {"uri:", uriName, plainUriName},
                                        {"email:", emailName, emailName}}};

constexpr std::array<std::string_view, 3> OTHER_FORMS = {"RID:", "dirName:", "otherName:"};

constexpr const char* ACCEPTED =
    "Give a DNS name, an address, an e-mail address or a URI, where it "
    "helps with DNS:, IP:, email: or URI: before it.";

// "fe80::1%eth0": the zone names an interface of the machine on which the address was read.
bool isAddressWithZone(std::string_view text) {
    takePrefix(text, "ip:");
    text.remove_prefix(text.starts_with('[') ? 1 : 0);
    const std::size_t zone = text.find('%');
    return zone != std::string_view::npos && addressName(text.substr(0, zone)) != nullptr;
}

} // namespace

GeneralNameHandle alternativeName(const std::string& value) {
    std::string_view text = value;
    for (const Form& form : FORMS) {
        if (takePrefix(text, form.prefix)) {
            return form.make(text);
        }
    }
    for (const Form& form : FORMS) {
        if (GeneralNameHandle name = form.makePlain(text)) {
            return name;
        }
    }
    return nullptr;
}

std::string alternativeNameRefusal(const std::string& value) {
    const std::string shown = "'" + shownInMessage(value) + "'";
    if (isAddressWithZone(value)) {
        return shown + " has a zone, which means nothing to others. Give the address without it.";
    }
    for (const std::string_view form : OTHER_FORMS) {
        std::string small(form);
        std::transform(small.begin(), small.end(), small.begin(),
                       [](char c) { return isLetter(c) ? static_cast<char>(c | 0x20) : c; });
        if (hasPrefix(value, small)) {
            return "Names of the form " + std::string(form) + " are not made here. " + ACCEPTED;
        }
    }
    return shown + " is no alternative name. " + ACCEPTED;
}

GeneralNameHandle nameOfHost(std::string_view commonName) {
    GeneralNameHandle address = addressName(commonName);
    return address || !isHostName(commonName) ? std::move(address) : dnsName(commonName);
}
