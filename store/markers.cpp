#include "store/markers.h"

#include "core/protocol/fields.h"

#include <array>

namespace {

// Removes the next run of blanks, or of other characters, from the front of the text.
std::string_view takeRun(std::string_view& text, bool blanks) {
    std::size_t length = blanks ? text.find_first_not_of(' ') : text.find(' ');
    if (length == std::string_view::npos) {
        length = text.size();
    }
    const std::string_view run = text.substr(0, length);
    text.remove_prefix(length);
    return run;
}

template <std::size_t COUNT>
bool splitAtBlanks(std::string_view text, std::array<std::string_view, COUNT>& tokens) {
    takeRun(text, true);
    for (std::string_view& token : tokens) {
        token = takeRun(text, false);
        if (token.empty()) {
            return false;
        }
        takeRun(text, true);
    }
    return text.empty();
}

MarkerKind markerKind(std::string_view keyword) {
    if (keyword == OBJECT_MARKER) {
        return MarkerKind::OBJECT;
    }
    if (keyword == ARRAY_MARKER) {
        return MarkerKind::ARRAY;
    }
    return keyword == OBJECT_REF_MARKER ? MarkerKind::REFERENCE : MarkerKind::NONE;
}

// keyword( +[^ ]+){tokens}
bool startsWithTokens(std::string_view text, std::string_view keyword, int tokens) {
    if (!text.starts_with(keyword)) {
        return false;
    }
    text.remove_prefix(keyword.size());
    for (int i = 0; i < tokens; ++i) {
        if (takeRun(text, true).empty() || takeRun(text, false).empty()) {
            return false;
        }
    }
    return true;
}

} // namespace

Marker parseHashMarker(std::string_view field) {
    std::array<std::string_view, 3> tokens;
    if (!splitAtBlanks(field, tokens)) {
        return {};
    }
    return {markerKind(tokens[0]), tokens[1], tokens[2]};
}

Marker parseListMarker(std::string_view entry) {
    std::array<std::string_view, 2> tokens;
    if (!splitAtBlanks(entry, tokens)) {
        return {};
    }
    return {markerKind(tokens[0]), {}, tokens[1]};
}

bool isStructured(const Marker& marker) {
    return marker.kind == MarkerKind::OBJECT || marker.kind == MarkerKind::ARRAY;
}

bool isHashReference(std::string_view marker) {
    return startsWithTokens(marker, OBJECT_REF_MARKER, 2);
}

bool isListReference(std::string_view marker) {
    return startsWithTokens(marker, OBJECT_REF_MARKER, 1);
}

std::string nestedKeyOf(std::string_view listEntry) {
    // A marker begins at once: with a blank before it an entry is an ordinary text.
    const Marker marker = hasMarkerPrefix(listEntry) ? parseListMarker(listEntry) : Marker();
    return isStructured(marker) ? std::string(marker.target) : std::string();
}

bool isRawStringText(std::string_view jsonText) {
    constexpr std::string_view OPENING = "\"&&";
    if (!jsonText.starts_with(OPENING) || !jsonText.ends_with('"')) {
        return false;
    }
    const std::size_t blank = jsonText.find(' ');
    return blank != std::string_view::npos && blank > OPENING.size();
}
