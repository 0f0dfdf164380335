// Markers. Property: for texts short enough for std::regex, every function says what the regular
// expression or the rule beside its declaration says, and the views it returns lie in the text.

#include "store/markers.h"

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "fuzz/tokens.h"

#include <regex>

namespace {

constexpr std::size_t LONGEST_TEXT = 200;

const std::regex PREFIX("^&&");
const std::regex HASH_REFERENCE("^&&ObjectRef +[^ ]+ +[^ ]+");
const std::regex LIST_REFERENCE("^&&ObjectRef +[^ ]+");
const std::regex STRUCTURED("^(&&Object|&&Array) +");
const std::regex RAW_STRING("^\"&&[^ ]+ +.*\"$");

bool matches(const std::string& text, const std::regex& expression) {
    return std::regex_search(text, expression);
}

MarkerKind kindOf(const std::string& keyword) {
    return keyword == "&&Object"      ? MarkerKind::OBJECT
           : keyword == "&&Array"     ? MarkerKind::ARRAY
           : keyword == "&&ObjectRef" ? MarkerKind::REFERENCE
                                      : MarkerKind::NONE;
}

void requireInside(const std::string& text, std::string_view view) {
    require(view.empty() || (view.data() >= text.data() &&
                             view.data() + view.size() <= text.data() + text.size()),
            "a marker's views lie in its text");
}

void checkMarker(const std::string& text, const Marker& marker, std::size_t count) {
    const std::vector<std::string> tokens = tokensOf(text);
    const MarkerKind kind = tokens.size() == count ? kindOf(tokens[0]) : MarkerKind::NONE;
    require(marker.kind == kind, "a marker is told by its keyword and its number of tokens");
    if (kind == MarkerKind::NONE) {
        return;
    }
    requireInside(text, marker.member);
    requireInside(text, marker.target);
    requireSame(std::string(marker.target), tokens[count - 1], "the last token is the target");
    if (count == 3) {
        requireSame(std::string(marker.member), tokens[1], "the middle token is the member");
    }
}

void checkNestedKey(const std::string& text) {
    const std::vector<std::string> tokens = tokensOf(text);
    const bool named = matches(text, STRUCTURED) && tokens.size() == 2;
    requireSame(nestedKeyOf(text), named ? tokens[1] : "", "the nested key of a list entry");
}

// A JSON text holds no line end, which the expression's dot does not stand for.
void checkRawString(const std::string& text) {
    if (text.find_first_of("\r\n") == std::string::npos) {
        require(isRawStringText(text) == matches(text, RAW_STRING), "a raw string's text");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > LONGEST_TEXT) {
        return -1;
    }
    const std::string text = Input(data, size).rest();
    require(hasMarkerPrefix(text) == matches(text, PREFIX), "the marker prefix");
    require(isHashReference(text) == matches(text, HASH_REFERENCE), "a reference in a hash");
    require(isListReference(text) == matches(text, LIST_REFERENCE), "a reference in a list");
    checkMarker(text, parseHashMarker(text), 3);
    checkMarker(text, parseListMarker(text), 2);
    checkNestedKey(text);
    checkRawString(text);
    checkRawString('"' + text + '"');
    return 0;
}
