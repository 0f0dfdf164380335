#include "actions/certificate_type.h"

#include <algorithm>

namespace {

// The dot of the pattern: anything but a line end.
bool takeAnyCharacter(std::string_view& text) {
    if (text.empty() || text.front() == '\n' || text.front() == '\r') {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool takeText(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

bool takeDigits(std::string_view& text) {
    const std::size_t start = text.size();
    text.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
    return text.size() < start;
}

// The end of the pattern: the dot and what follows it.
bool takeLastPart(std::string_view& text) {
    constexpr std::string_view LAST_PART = "Certificate\"";
    if (!text.ends_with(LAST_PART)) {
        return false;
    }
    text.remove_suffix(LAST_PART.size());
    if (text.empty()) {
        return false;
    }
    std::string_view any = text.substr(text.size() - 1);
    text.remove_suffix(1);
    return takeAnyCharacter(any);
}

} // namespace

bool isCertificateType(std::string_view odataType) {
    // The end first: its dot may stand for a digit, which is then no part of the version.
    return takeLastPart(odataType) && takeText(odataType, "\"#Certificate") &&
           takeAnyCharacter(odataType) && takeText(odataType, "v") && takeDigits(odataType) &&
           takeText(odataType, "_") && takeDigits(odataType) && takeText(odataType, "_") &&
           takeDigits(odataType) && odataType.empty();
}
