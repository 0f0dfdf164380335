#include "frontend/exchange/stored_tree.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"
#include "store/markers.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <deque>
#include <map>
#include <unordered_set>

namespace {

constexpr std::size_t MAX_RECORDS = 100000;
constexpr int MAX_DEPTH = 500;

bool isNested(const Marker& marker) {
    return marker.kind == MarkerKind::OBJECT || marker.kind == MarkerKind::ARRAY;
}

// The record's kind and, of a list, its entries. False when there is neither hash nor list.
bool readKind(redisContext* context, StoredRecord& record) {
    const std::string type = runTextCommand(context, {"TYPE", record.key});
    record.isList = type == "list";
    if (record.isList) {
        record.entries = runListCommand(context, {"LRANGE", record.key, "0", "-1"});
    }
    return record.isList || type == "hash";
}

bool readNames(redisContext* context, StoredRecord& record) {
    if (!readKind(context, record)) {
        return false;
    }
    if (!record.isList) {
        for (std::string& field : runListCommand(context, {"HKEYS", record.key})) {
            record.fields.emplace_back(std::move(field), "");
        }
    }
    return true;
}

bool readRecord(redisContext* context, StoredRecord& record) {
    if (!readKind(context, record)) {
        return false;
    }
    if (!record.isList) {
        const std::vector<std::string> texts = runListCommand(context, {"HGETALL", record.key});
        for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
            record.fields.emplace_back(texts[i], texts[i + 1]);
        }
        std::sort(record.fields.begin(), record.fields.end());
    }
    return true;
}

std::vector<std::string> nestedKeys(const StoredRecord& record) {
    std::vector<std::string> keys;
    const auto add = [&keys](const Marker& marker) {
        if (isNested(marker)) {
            keys.emplace_back(marker.target);
        }
    };
    for (const auto& [field, text] : record.fields) {
        add(parseHashMarker(field));
    }
    for (const std::string& entry : record.entries) {
        add(parseListMarker(entry));
    }
    return keys;
}

using ReadRecord = bool (*)(redisContext* context, StoredRecord& record);

// The records at the key and below it, level by level, each once.
std::vector<StoredRecord> walkTree(redisContext* context, const std::string& key, ReadRecord read) {
    std::vector<StoredRecord> tree;
    std::unordered_set<std::string> known = {key};
    std::deque<std::string> waiting = {key};
    while (!waiting.empty()) {
        StoredRecord record;
        record.key = std::move(waiting.front());
        waiting.pop_front();
        if (!read(context, record)) {
            continue;
        }
        for (std::string& nested : nestedKeys(record)) {
            if (known.insert(nested).second) {
                waiting.push_back(std::move(nested));
            }
        }
        if (known.size() > MAX_RECORDS) {
            throw FrontEndError(FailureKind::TOO_LARGE,
                                "The resource has too many records to be shown.");
        }
        tree.push_back(std::move(record));
    }
    return tree;
}

using RecordsByKey = std::map<std::string, const StoredRecord*, std::less<>>;

nlohmann::json buildValue(RecordsByKey& records, const Marker& marker, int depth);

nlohmann::json buildObject(RecordsByKey& records, const StoredRecord& record, int depth) {
    nlohmann::json object = nlohmann::json::object();
    for (const auto& [field, text] : record.fields) {
        const Marker marker = parseHashMarker(field);
        if (marker.kind != MarkerKind::NONE) {
            object[std::string(marker.member)] = buildValue(records, marker, depth);
        } else if (hasMarkerPrefix(field)) {
            object[field] = text;
        } else {
            object[field] = storedValue(text);
        }
    }
    return object;
}

nlohmann::json buildArray(RecordsByKey& records, const StoredRecord& record, int depth) {
    nlohmann::json array = nlohmann::json::array();
    for (const std::string& entry : record.entries) {
        const Marker marker = parseListMarker(entry);
        if (marker.kind != MarkerKind::NONE) {
            array.push_back(buildValue(records, marker, depth));
        } else {
            array.push_back(hasMarkerPrefix(entry) ? nlohmann::json(entry) : storedValue(entry));
        }
    }
    return array;
}

nlohmann::json buildValue(RecordsByKey& records, const Marker& marker, int depth) {
    if (marker.kind == MarkerKind::REFERENCE) {
        return {{ODATA_ID, std::string(marker.target)}};
    }
    if (depth >= MAX_DEPTH) {
        throw FrontEndError(FailureKind::TOO_LARGE,
                            "The resource is nested too deeply to be shown.",
                            "Its records can be read one by one.");
    }
    const auto found = records.find(marker.target);
    if (found == records.end()) {
        return marker.kind == MarkerKind::OBJECT ? nlohmann::json::object()
                                                 : nlohmann::json::array();
    }
    const StoredRecord& record = *found->second;
    records.erase(found); // each record is shown once, so that a loop ends
    return record.isList ? buildArray(records, record, depth + 1)
                         : buildObject(records, record, depth + 1);
}

bool isServicesOwn(const nlohmann::json& value) {
    return value.is_string() && hasMarkerPrefix(value.get_ref<const std::string&>());
}

} // namespace

std::vector<StoredRecord> readStoredTree(redisContext* context, const std::string& key) {
    return walkTree(context, key, readRecord);
}

std::vector<std::string> readStoredKeys(redisContext* context, const std::string& key) {
    std::vector<std::string> keys;
    for (StoredRecord& record : walkTree(context, key, readNames)) {
        keys.push_back(std::move(record.key));
    }
    return keys;
}

nlohmann::json treeDocument(const std::vector<StoredRecord>& tree) {
    if (tree.empty()) {
        return nullptr;
    }
    RecordsByKey records;
    for (const StoredRecord& record : tree) {
        records.emplace(record.key, &record);
    }
    const StoredRecord& top = tree.front();
    records.erase(top.key);
    return top.isList ? buildArray(records, top, 0) : buildObject(records, top, 0);
}

nlohmann::json readDocument(redisContext* context, const std::string& key) {
    return treeDocument(readStoredTree(context, key));
}

nlohmann::json clientView(const nlohmann::json& document) {
    if (!document.is_structured()) {
        return document;
    }
    nlohmann::json view = document.is_array() ? nlohmann::json::array() : nlohmann::json::object();
    for (const auto& [name, value] : document.items()) {
        if (isServicesOwn(value)) {
            continue;
        }
        if (document.is_array()) {
            view.push_back(clientView(value));
        } else if (!hasMarkerPrefix(name)) {
            view[name] = clientView(value);
        }
    }
    return view;
}

void removeStoredTree(redisContext* context, const std::string& key) {
    std::vector<std::string> words = readStoredKeys(context, key);
    if (!words.empty()) {
        words.insert(words.begin(), "DEL");
        (void)runCommand(context, words);
    }
}
