#pragma once

// The stored form of a resource: a JSON document as Redis hashes, lists and marker texts. The front
// end reads and writes the same keys, so every byte is part of the interface.
//
//   resource    = the top key, which is the URI as it stands
//   object      = hash of fields;  array = list of entries, in order;  empty ones have no key
//   nested key  = ["&&"] parent key "/" (member name | sequence id), with one "&&" in all
//
//   field  name                                   value
//     scalar, name without "&&"    name           compact JSON text (store/value_text.h)
//     string, name with "&&"       name           the string itself
//     other scalar, name with "&&" not stored
//     {"@odata.id": string}        "&&ObjectRef " name " " string       empty
//     any other object             "&&Object " name " " nested key      empty
//     array                        "&&Array " name " " nested key       empty
//
//   entry
//     scalar                       compact JSON text; "&&token text" as the string itself
//     {"@odata.id": string}        "&&ObjectRef " string
//     any other object             "&&Object " nested key
//     array                        "&&Array " nested key
//
// Objects and arrays are stored alike under any name, one with "&&" included.
//
// A reference stands in the place of a nested key: the resource it names is neither read, written
// nor removed with its referrer. Names, keys and URIs must not contain blanks; nothing checks this.

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// How one member or element is stored: a scalar has only the value text (empty when it cannot be
// written as JSON), an object or array only the nested key, still without "&&" of its own.
struct MemberEntry {
    std::string valueText;
    std::string memberName;
    std::string nestedKey;
};

enum class MarkerMode { OBJECT_MEMBER = 0, ARRAY_ELEMENT = 1 };

// The string of an object that holds nothing but "@odata.id"; null for any other value.
[[nodiscard]] const std::string* referencedUri(const nlohmann::json& value);

// The entry of one member (by name) or element (by index in decimal). With NO_SEQUENCE_ID the
// nested key is named after the member; otherwise it takes the sequence id, which is advanced.
[[nodiscard]] MemberEntry makeMemberEntry(const std::string& parentKey, std::int64_t& sequenceId,
                                          const std::string& memberName,
                                          const nlohmann::json& value);

// The entry of an object's member.
[[nodiscard]] MemberEntry makeObjectMember(const std::string& parentKey,
                                           const std::string& memberName,
                                           const nlohmann::json& value);

// The marker of an object or array. Puts "&&" in front of the nested key when it is missing.
[[nodiscard]] std::string makeMarker(MarkerMode mode, const nlohmann::json& value,
                                     std::string& nestedKey, const std::string& memberName);

// Makes text the same marker, given a nested key that has its "&&".
void setMarker(std::string& text, MarkerMode mode, const nlohmann::json& value,
               std::string_view nestedKey, std::string_view memberName);

// What is stored for a scalar member, given the entry's value text; nothing when it is not stored.
// A view of that text or of the value's own.
[[nodiscard]] std::optional<std::string_view>
fieldText(std::string_view memberName, const nlohmann::json& value, std::string_view valueText);

// What is pushed for a scalar element, given the entry's value text; a view as above.
[[nodiscard]] std::string_view elementText(const nlohmann::json& value, std::string_view valueText);
