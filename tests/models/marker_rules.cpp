#include "tests/models/marker_rules.h"

#include "store/markers.h"
#include "tests/models/tokens.h"

#include <regex>

namespace {

const std::regex PREFIX("^&&");
const std::regex HASH_REFERENCE("^&&ObjectRef +[^ ]+ +[^ ]+");
const std::regex LIST_REFERENCE("^&&ObjectRef +[^ ]+");
const std::regex STRUCTURED("^(&&Object|&&Array) +");
const std::regex RAW_STRING("^\"&&[^ ]+ +.*\"$");

MarkerKind kindOf(const std::string& keyword) {
    return keyword == "&&Object"      ? MarkerKind::OBJECT
           : keyword == "&&Array"     ? MarkerKind::ARRAY
           : keyword == "&&ObjectRef" ? MarkerKind::REFERENCE
                                      : MarkerKind::NONE;
}

bool liesIn(const std::string& text, std::string_view view) {
    return view.empty() ||
           (view.data() >= text.data() && view.data() + view.size() <= text.data() + text.size());
}

// A marker of so many tokens, the first the keyword, the last the target, one between the member.
bool isMarkerOf(const std::string& text, const Marker& marker, std::size_t count) {
    const std::vector<std::string> tokens = tokensOf(text);
    const MarkerKind kind = tokens.size() == count ? kindOf(tokens[0]) : MarkerKind::NONE;
    if (marker.kind != kind || kind == MarkerKind::NONE) {
        return marker.kind == kind;
    }
    return marker.target == tokens[count - 1] && liesIn(text, marker.target) &&
           (count == 2 || (marker.member == tokens[1] && liesIn(text, marker.member)));
}

std::string namedKey(const std::string& entry) {
    const std::vector<std::string> tokens = tokensOf(entry);
    const bool names = std::regex_search(entry, STRUCTURED) && tokens.size() == 2;
    return names ? tokens[1] : std::string();
}

// A JSON text holds no line end, which the expression's dot does not stand for.
bool isRawAsExpected(const std::string& text) {
    return text.find_first_of("\r\n") != std::string::npos ||
           isRawStringText(text) == std::regex_search(text, RAW_STRING);
}

} // namespace

std::string brokenMarkerRule(const std::string& text) {
    if (hasMarkerPrefix(text) != std::regex_search(text, PREFIX)) {
        return "the marker prefix";
    }
    if (isHashReference(text) != std::regex_search(text, HASH_REFERENCE)) {
        return "a reference in a hash";
    }
    if (isListReference(text) != std::regex_search(text, LIST_REFERENCE)) {
        return "a reference in a list";
    }
    if (!isMarkerOf(text, parseHashMarker(text), 3)) {
        return "the tokens of a hash field";
    }
    if (!isMarkerOf(text, parseListMarker(text), 2)) {
        return "the tokens of a list entry";
    }
    if (nestedKeyOf(text) != namedKey(text)) {
        return "the nested key of a list entry";
    }
    return isRawAsExpected(text) && isRawAsExpected('"' + text + '"') ? "" : "a raw string's text";
}
