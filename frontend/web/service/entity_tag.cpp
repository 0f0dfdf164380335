#include "frontend/web/service/entity_tag.h"

#include "core/protocol/redfish_names.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include <array>

namespace {

constexpr std::size_t TAG_BYTES = 12; // of the digest; enough to tell documents apart

std::string digestOf(std::string_view body) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    (void)EVP_Digest(body.data(), body.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    std::string text;
    for (std::size_t i = 0; i < TAG_BYTES; ++i) {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        text += DIGITS[digest[i] >> 4U];
        text += DIGITS[digest[i] & 0xfU];
    }
    return text;
}

// A stored tag may hold what a header may not.
bool fitsHeader(std::string_view tag) {
    for (const char each : tag) {
        if (each <= ' ' || each > '~' || each == '"') {
            return false;
        }
    }
    return !tag.empty();
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, last - first + 1);
}

std::string_view withoutQuotes(std::string_view tag) {
    const bool isQuoted = tag.size() >= 2 && tag.starts_with('"') && tag.ends_with('"');
    return isQuoted ? tag.substr(1, tag.size() - 2) : tag;
}

} // namespace

std::string entityTagOf(const nlohmann::json& document, std::string_view body) {
    std::string stored;
    if (document.is_object() && document.contains(ODATA_ETAG) && document[ODATA_ETAG].is_string()) {
        stored = withoutQuotes(document[ODATA_ETAG].get_ref<const std::string&>());
    }
    return '"' + (fitsHeader(stored) ? stored : digestOf(body)) + '"';
}

bool isNamedBy(std::string_view ifNoneMatch, std::string_view entityTag) {
    while (!ifNoneMatch.empty()) {
        const std::size_t comma = ifNoneMatch.find(',');
        std::string_view each = trimmed(ifNoneMatch.substr(0, comma));
        if (each.starts_with("W/")) {
            each.remove_prefix(2);
        }
        if (each == "*" || each == entityTag) {
            return true;
        }
        ifNoneMatch = comma == std::string_view::npos ? "" : ifNoneMatch.substr(comma + 1);
    }
    return false;
}
