// The rules as they are said, list by list and step by step; entries in comments name the step.

#include "fuzz/update_model.h"

#include "fuzz/tokens.h"

#include <algorithm>
#include <cstdint>
#include <regex>
#include <set>

namespace {

const std::string COUNTER = "Array-Member-Sequence-ID";

// Redis's own commands. Like there, a key of another type refuses the command, and an empty list
// is no key.

StoredValue* ofKind(StoredData& data, const std::string& key, StoredValue::Kind kind) {
    const auto found = data.find(key);
    return found != data.end() && found->second.kind == kind ? &found->second : nullptr;
}

StoredValue* madeOfKind(StoredData& data, const std::string& key, StoredValue::Kind kind) {
    if (!data.contains(key)) {
        data[key].kind = kind;
    }
    return ofKind(data, key, kind);
}

void setField(StoredData& data, const std::string& key, const std::string& field,
              const std::string& text) {
    StoredValue* hash = madeOfKind(data, key, StoredValue::Kind::HASH);
    if (hash != nullptr) {
        hash->fields[field] = text;
    }
}

void pushEntry(StoredData& data, const std::string& key, const std::string& text) {
    StoredValue* list = madeOfKind(data, key, StoredValue::Kind::LIST);
    if (list != nullptr) {
        list->entries.push_back(text);
    }
}

void setEntry(StoredData& data, const std::string& key, std::size_t index,
              const std::string& text) {
    StoredValue* list = ofKind(data, key, StoredValue::Kind::LIST);
    if (list != nullptr && index < list->entries.size()) {
        list->entries[index] = text;
    }
}

void removeEntries(StoredData& data, const std::string& key, const std::string& text) {
    StoredValue* list = ofKind(data, key, StoredValue::Kind::LIST);
    if (list != nullptr) {
        std::erase(list->entries, text);
        if (list->entries.empty()) {
            data.erase(key);
        }
    }
}

std::vector<std::string> entriesOf(StoredData& data, const std::string& key) {
    const StoredValue* list = ofKind(data, key, StoredValue::Kind::LIST);
    return list == nullptr ? std::vector<std::string>() : list->entries;
}

// The sequence counter.

std::int64_t claimId(StoredData& data) {
    const bool isThere = data.contains(COUNTER);
    const std::int64_t last = isThere ? std::stoll(data[COUNTER].text) : 0;
    const std::int64_t id = last == INT64_MAX ? 1 : last + 1;
    data[COUNTER].text = std::to_string(id);
    return id;
}

std::int64_t takeId(std::int64_t& id) {
    const std::int64_t taken = id;
    id = id == INT64_MAX ? 1 : id + 1;
    return taken;
}

void giveBackId(StoredData& data, std::int64_t first, std::int64_t next) {
    if (next != first) {
        const bool usable = next >= 2 && next <= INT64_MAX - 1;
        data[COUNTER].text = std::to_string(usable ? next - 1 : 1);
    }
}

// Keys and markers.

std::string withPrefix(const std::string& key) {
    return key.rfind("&&", 0) == 0 ? key : "&&" + key;
}

bool isReference(const nlohmann::json& value) {
    return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
           value["@odata.id"].is_string();
}

// The marker up to its last token, and the last token.
std::string markerOf(const nlohmann::json& value, const std::string& name,
                     const std::string& nestedKey) {
    const std::string between = name.empty() ? " " : " " + name + " ";
    if (isReference(value)) {
        return "&&ObjectRef" + between + value["@odata.id"].get<std::string>();
    }
    return (value.is_array() ? "&&Array" : "&&Object") + between + nestedKey;
}

std::string entryText(const nlohmann::json& value) {
    static const std::regex RAW("^\"&&[^ ]+ +.*\"$");
    const std::string text = value.dump();
    return std::regex_search(text, RAW) ? value.get<std::string>() : text;
}

std::string nestedKeyOfEntry(const std::string& entry) {
    static const std::regex STRUCTURED("^(&&Object|&&Array) +");
    const std::vector<std::string> tokens = tokensOf(entry);
    return std::regex_search(entry, STRUCTURED) && tokens.size() == 2 ? tokens[1] : std::string();
}

// Removing a resource with everything below it.

struct NamedKey {
    std::string key;
    StoredValue::Kind kind;
};

void addNamedKey(const std::string& marker, std::size_t count, std::vector<NamedKey>& named) {
    const std::vector<std::string> tokens = tokensOf(marker);
    if (marker.rfind("&&", 0) == 0 && tokens.size() == count &&
        (tokens[0] == "&&Object" || tokens[0] == "&&Array")) {
        named.push_back({tokens[count - 1], tokens[0] == "&&Object" ? StoredValue::Kind::HASH
                                                                    : StoredValue::Kind::LIST});
    }
}

std::vector<NamedKey> keysNamedBy(StoredData& data, const NamedKey& from) {
    std::vector<NamedKey> named;
    const StoredValue* value = ofKind(data, from.key, from.kind);
    if (value != nullptr) {
        for (const auto& [field, text] : value->fields) {
            addNamedKey(field, 3, named);
        }
        for (const std::string& entry : value->entries) {
            addNamedKey(entry, 2, named);
        }
    }
    return named;
}

void removeTree(StoredData& data, const std::string& uri) {
    const auto top = data.find(uri);
    if (top == data.end() || (top->second.kind != StoredValue::Kind::HASH &&
                              top->second.kind != StoredValue::Kind::LIST)) {
        return;
    }
    std::set<std::string> seen = {uri};
    std::vector<NamedKey> open = {{uri, top->second.kind}};
    while (!open.empty()) {
        const NamedKey next = open.back();
        open.pop_back();
        for (const NamedKey& named : keysNamedBy(data, next)) {
            if (seen.insert(named.key).second) {
                open.push_back(named);
            }
        }
    }
    for (const std::string& key : seen) {
        data.erase(key);
    }
}

// Writing without array configuration.

void writeScalar(StoredData& data, const std::string& key, const std::string& name,
                 const nlohmann::json& value) {
    if (name.rfind("&&", 0) != 0) {
        setField(data, key, name, value.dump());
    } else if (value.is_string()) {
        setField(data, key, name, value.get<std::string>());
    }
}

void writeTree(StoredData& data, const std::string& key, const nlohmann::json& value,
               std::int64_t& id) {
    for (const auto& item : value.items()) {
        const nlohmann::json& content = item.value();
        const std::string name = value.is_object() ? item.key() : "";
        if (!content.is_structured()) {
            value.is_object() ? writeScalar(data, key, name, content)
                              : pushEntry(data, key, entryText(content));
            continue;
        }
        std::int64_t idAfter = id;
        const std::string nested =
            withPrefix(key + "/" + (value.is_object() ? name : std::to_string(takeId(idAfter))));
        const std::string marker = markerOf(content, name, nested);
        value.is_object() ? setField(data, key, marker, "") : pushEntry(data, key, marker);
        if (!isReference(content)) {
            id = idAfter; // nothing is stored under a reference, so it takes no id
            writeTree(data, nested, content, id);
        }
    }
}

void storeTree(StoredData& data, const std::string& key, const nlohmann::json& value) {
    const std::int64_t first = claimId(data);
    std::int64_t next = first;
    if (value.is_structured()) {
        writeTree(data, key, value, next);
    }
    giveBackId(data, first, next);
}

void makeRoom(StoredData& data, const std::string& key, const nlohmann::json& value) {
    if (value.is_array()) {
        removeTree(data, key);
        return;
    }
    if (!value.is_object()) {
        return;
    }
    for (const auto& [name, member] : value.items()) {
        if (!member.is_structured()) {
            continue;
        }
        makeRoom(data, key + "/" + name, member);
        if (member.is_array()) {
            removeTree(data, withPrefix(key + "/" + name));
        }
    }
}

// Merging with an array configuration.

struct Merge {
    StoredData& data;
    std::int64_t& id;
    const ModelConfiguration& configuration;
};

struct ListState {
    std::vector<std::string> current;
    double maxSize = 0;
    bool fillNull = false;
    std::size_t deleted = 0;
    bool overflowed = false;
    bool cleansUp = false;
    std::vector<std::string> orphans;
};

void mergeTree(const Merge& merge, const std::string& key, const nlohmann::json& value);

void mark(const Merge& merge, const std::string& key, ListState& list, std::size_t index,
          const std::string& text) {
    if (index < list.current.size() && !nestedKeyOfEntry(list.current[index]).empty()) {
        list.orphans.push_back(nestedKeyOfEntry(list.current[index]));
    }
    setEntry(merge.data, key, index, text);
    list.cleansUp = true;
}

void mergeStructured(const Merge& merge, const std::string& key, const ListState& list,
                     std::size_t index, const nlohmann::json& element) {
    const bool isThere = index < list.current.size();
    const std::string existing = isThere ? nestedKeyOfEntry(list.current[index]) : "";
    if (!existing.empty()) {
        mergeTree(merge, existing, element);
        return;
    }
    const std::string nested = withPrefix(key + "/" + std::to_string(takeId(merge.id)));
    const std::string marker = markerOf(element, "", nested);
    isThere ? setEntry(merge.data, key, index, marker) : pushEntry(merge.data, key, marker);
    mergeTree(merge, nested, element);
}

void mergeElement(const Merge& merge, const std::string& key, ListState& list, std::size_t index,
                  const nlohmann::json& element) {
    const bool isThere = index < list.current.size();
    const bool keepsSlots = merge.configuration.style == 3;
    if (static_cast<double>(list.deleted) + list.maxSize <= static_cast<double>(index)) {
        list.overflowed = true;
        if (index <= list.current.size()) {
            mark(merge, key, list, index, "ToDelete");
        }
    } else if (isThere && element == nlohmann::json::object()) {
        const std::string nested = nestedKeyOfEntry(list.current[index]);
        if (list.fillNull && !nested.empty()) {
            mergeTree(merge, nested, nlohmann::json::array());
        }
    } else if (isThere && element.is_null()) {
        mark(merge, key, list, index, keepsSlots ? "null" : "ToDelete");
        list.deleted += keepsSlots ? 0 : 1;
    } else if (element.is_structured()) {
        mergeStructured(merge, key, list, index, element);
    } else if (isThere) {
        setEntry(merge.data, key, index, entryText(element));
    } else {
        pushEntry(merge.data, key, entryText(element));
    }
}

// False when the list stays as it is.
bool limit(const Merge& merge, ListState& list, std::size_t newLength) {
    const bool followsNew = merge.configuration.style == 2;
    const auto length = static_cast<double>(list.current.size());
    list.maxSize = merge.configuration.maxSize;
    list.fillNull = merge.configuration.fillNull;
    if (list.maxSize > 0) {
        return followsNew || list.maxSize >= length;
    }
    list.maxSize = followsNew ? static_cast<double>(newLength) : length;
    list.fillNull = list.fillNull && !followsNew;
    return true;
}

void shrink(const Merge& merge, const std::string& key, ListState& list, std::size_t newLength) {
    const std::size_t length = list.current.size();
    for (std::size_t i = newLength; newLength > 0 && i < length; ++i) {
        const bool keeps =
            merge.configuration.style == 3 &&
            (static_cast<double>(i) < list.maxSize || static_cast<double>(length) <= list.maxSize);
        mark(merge, key, list, i, keeps ? "null" : "ToDelete");
    }
}

void mergeArray(const Merge& merge, const std::string& key, const nlohmann::json& elements) {
    ListState list;
    list.current = entriesOf(merge.data, key);
    if (!limit(merge, list, elements.size())) {
        return;
    }
    shrink(merge, key, list, elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        mergeElement(merge, key, list, i, elements[i]);
    }
    if (list.cleansUp) {
        removeEntries(merge.data, key, "ToDelete");
        for (const std::string& orphan : list.orphans) {
            removeTree(merge.data, orphan);
        }
    }
    // A key that is there and is no list has no length and is not filled.
    const bool isOther =
        merge.data.contains(key) && ofKind(merge.data, key, StoredValue::Kind::LIST) == nullptr;
    if (list.fillNull && !list.overflowed && !isOther) {
        while (static_cast<double>(entriesOf(merge.data, key).size()) < list.maxSize) {
            pushEntry(merge.data, key, "null");
        }
    }
}

void mergeObject(const Merge& merge, const std::string& key, const nlohmann::json& object) {
    for (const auto& [name, member] : object.items()) {
        if (!member.is_structured()) {
            writeScalar(merge.data, key, name, member);
            continue;
        }
        const std::string nested = withPrefix(key + "/" + name);
        setField(merge.data, key, markerOf(member, name, nested), "");
        mergeTree(merge, nested, member);
    }
}

void mergeTree(const Merge& merge, const std::string& key, const nlohmann::json& value) {
    if (value.is_array()) {
        mergeArray(merge, key, value);
    } else if (value.is_object()) {
        mergeObject(merge, key, value);
    }
}

} // namespace

void writeByModel(StoredData& data, const std::string& uri, const nlohmann::json& value) {
    removeTree(data, uri);
    storeTree(data, uri, value);
}

void updateByModel(StoredData& data, const std::string& uri, const nlohmann::json& value,
                   const ModelConfiguration& configuration) {
    if (configuration.style == 0) {
        makeRoom(data, uri, value);
        storeTree(data, uri, value);
        return;
    }
    const std::int64_t first = claimId(data);
    std::int64_t next = first;
    mergeTree({data, next, configuration}, uri, value);
    giveBackId(data, first, next);
}
