#include "platform/x509/shown_alternative_names.h"

#include "platform/x509/utf8.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::string_view DIGITS = "0123456789";
constexpr std::string_view HOST_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.*";

std::string_view bytesOf(const ASN1_STRING* value) {
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
            static_cast<std::size_t>(ASN1_STRING_length(value))};
}

bool looksLikeHost(std::string_view name) {
    const std::string_view lastLabel = name.substr(std::min(name.rfind('.') + 1, name.size()));
    return name.find_first_not_of(HOST_CHARACTERS) == std::string_view::npos &&
           lastLabel.find_first_not_of(DIGITS) != std::string_view::npos;
}

bool looksLikeEmail(std::string_view name) {
    return name.find('@') != std::string_view::npos && name.find(':') == std::string_view::npos;
}

bool looksLikeUri(std::string_view name) {
    const std::size_t scheme = name.find("://");
    return scheme != 0 && scheme != std::string_view::npos && scheme == name.find(':') &&
           name.substr(0, scheme).find('@') == std::string_view::npos;
}

std::string shownText(std::string_view name, std::string_view form, bool isPlain) {
    return std::string(isPlain ? "" : form) + withUnprintableEscaped(name);
}

// Empty for bytes that are no address.
std::string shownAddress(std::string_view bytes) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const bool isAddress = bytes.size() == 4 || bytes.size() == 16;
    const char* shown = isAddress ? inet_ntop(bytes.size() == 4 ? AF_INET : AF_INET6, bytes.data(),
                                              text.data(), text.size())
                                  : nullptr;
    return shown == nullptr ? std::string() : shown;
}

// Empty for a name that is not shown.
std::string shownName(const GENERAL_NAME* name) {
    int form = 0;
    const auto* value = static_cast<const ASN1_STRING*>(GENERAL_NAME_get0_value(name, &form));
    switch (form) {
    case GEN_DNS:
        return shownText(bytesOf(value), "DNS:", looksLikeHost(bytesOf(value)));
    case GEN_EMAIL:
        return shownText(bytesOf(value), "email:", looksLikeEmail(bytesOf(value)));
    case GEN_URI:
        return shownText(bytesOf(value), "URI:", looksLikeUri(bytesOf(value)));
    case GEN_IPADD:
        return shownAddress(bytesOf(value));
    default:
        return {};
    }
}

std::vector<std::string> shownNames(const X509* certificate, int extension) {
    const GeneralNamesHandle names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, extension, nullptr, nullptr)));
    std::vector<std::string> shown;
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        std::string name = shownName(sk_GENERAL_NAME_value(names.get(), i));
        if (!name.empty()) {
            shown.push_back(std::move(name));
        }
    }
    return shown;
}

} // namespace

std::vector<std::string> alternativeNamesOf(const X509* certificate) {
    return shownNames(certificate, NID_subject_alt_name);
}

std::vector<std::string> issuerAlternativeNamesOf(const X509* certificate) {
    return shownNames(certificate, NID_issuer_alt_name);
}
