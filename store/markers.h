#pragma once

// Recognising markers: the hash fields and list entries that stand for structured values.
//
//   hash field  "&&Object"|"&&Array"|"&&ObjectRef"  blank  member name  blank  nested key or URI
//   list entry  "&&Object"|"&&Array"|"&&ObjectRef"  blank  nested key or URI
//
// Written with single blanks; readers take any run of blanks as one separator. The functions match
// by hand what the regular expression beside each says, in one pass and constant space.

#include "core/protocol/fields.h"

#include <string>
#include <string_view>

enum class MarkerKind { NONE, OBJECT, ARRAY, REFERENCE };

// The views point into the text that was split.
struct Marker {
    MarkerKind kind = MarkerKind::NONE; // NONE: an ordinary text
    std::string_view member;            // hash fields only
    std::string_view target;            // nested key, or URI of a reference
};

// ^&&
[[nodiscard]] inline bool hasMarkerPrefix(std::string_view text) {
    return text.starts_with(MARKER_PREFIX);
}

// Splits a hash field of exactly three, a list entry of exactly two tokens.
[[nodiscard]] Marker parseHashMarker(std::string_view field);
[[nodiscard]] Marker parseListMarker(std::string_view entry);

// Whether the marker stands for an object or array of the resource itself.
[[nodiscard]] bool isStructured(const Marker& marker);

// ^&&ObjectRef +[^ ]+ +[^ ]+
[[nodiscard]] bool isHashReference(std::string_view marker);

// ^&&ObjectRef +[^ ]+
[[nodiscard]] bool isListReference(std::string_view marker);

// The nested key of a list entry that matches ^(&&Object|&&Array) + and has exactly two tokens;
// empty otherwise.
[[nodiscard]] std::string nestedKeyOf(std::string_view listEntry);

// ^"&&[^ ]+ +.*"$ on the JSON text of a string: such an element is kept without its quotes.
[[nodiscard]] bool isRawStringText(std::string_view jsonText);
