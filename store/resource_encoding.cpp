#include "store/resource_encoding.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "store/markers.h"
#include "store/sequence_id.h"
#include "store/value_text.h"

#include <nlohmann/json.hpp>

const std::string* referencedUri(const nlohmann::json& value) {
    if (!value.is_object() || value.size() != 1 || value.begin().key() != ODATA_ID) {
        return nullptr;
    }
    return value.begin()->get_ptr<const std::string*>();
}

MemberEntry makeMemberEntry(const std::string& parentKey, std::int64_t& sequenceId,
                            const std::string& memberName, const nlohmann::json& value) {
    MemberEntry entry;
    entry.memberName = memberName;
    if (!value.is_structured()) {
        entry.valueText = compactJsonText(value);
        return entry;
    }
    entry.nestedKey = parentKey + "/";
    if (sequenceId == NO_SEQUENCE_ID) {
        entry.nestedKey += memberName;
    } else {
        entry.nestedKey += std::to_string(sequenceId);
        sequenceId = followingSequenceId(sequenceId);
    }
    return entry;
}

MemberEntry makeObjectMember(const std::string& parentKey, const std::string& memberName,
                             const nlohmann::json& value) {
    std::int64_t objectNaming = NO_SEQUENCE_ID;
    return makeMemberEntry(parentKey, objectNaming, memberName, value);
}

std::string makeMarker(MarkerMode mode, const nlohmann::json& value, std::string& nestedKey,
                       const std::string& memberName) {
    addMarkerPrefix(nestedKey);
    std::string marker;
    setMarker(marker, mode, value, nestedKey, memberName);
    return marker;
}

void setMarker(std::string& text, MarkerMode mode, const nlohmann::json& value,
               std::string_view nestedKey, std::string_view memberName) {
    const std::string* uri = referencedUri(value);
    const char* keyword = value.is_array() ? ARRAY_MARKER : OBJECT_MARKER;
    text = uri != nullptr ? OBJECT_REF_MARKER : keyword;
    if (mode == MarkerMode::OBJECT_MEMBER) {
        text += ' ';
        text += memberName;
    }
    text += ' ';
    text += uri != nullptr ? std::string_view(*uri) : nestedKey;
}

std::optional<std::string_view> fieldText(std::string_view memberName, const nlohmann::json& value,
                                          std::string_view valueText) {
    if (valueText.empty()) {
        return std::nullopt; // it cannot be written as JSON
    }
    if (!hasMarkerPrefix(memberName)) {
        return valueText;
    }
    const auto* text = value.get_ptr<const std::string*>();
    return text != nullptr ? std::optional<std::string_view>(*text) : std::nullopt;
}

std::string_view elementText(const nlohmann::json& value, std::string_view valueText) {
    return isRawStringText(valueText) ? value.get_ref<const std::string&>() : valueText;
}
