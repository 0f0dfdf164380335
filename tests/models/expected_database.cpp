// The commands over plain containers.

#include "tests/models/expected_database.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

std::string describe(const std::string& text) {
    return " = " + describeText(text) + "\n";
}

std::string describe(ExpectedDatabase::Fields fields) {
    std::sort(fields.begin(), fields.end());
    std::string result = "\n";
    for (const auto& [field, text] : fields) {
        result += "  " + describeText(field) + " = " + describeText(text) + "\n";
    }
    return result;
}

std::string describe(const ExpectedDatabase::Entries& entries) {
    std::string result = "\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        result += "  [" + std::to_string(i) + "] = " + describeText(entries[i]) + "\n";
    }
    return result;
}

constexpr std::string_view TYPE_NAMES[] = {"string", "hash", "list"};

} // namespace

template <typename Kind>
Kind* ExpectedDatabase::find(const std::string& key) {
    const auto found = mKeys.find(key);
    return found == mKeys.end() ? nullptr : std::get_if<Kind>(&found->second);
}

template <typename Kind>
Kind* ExpectedDatabase::findOrMake(const std::string& key) {
    return std::get_if<Kind>(&mKeys.try_emplace(key, Kind()).first->second);
}

std::string ExpectedDatabase::type(const std::string& key) {
    mCommands.push_back({"TYPE", key});
    const auto found = mKeys.find(key);
    return found == mKeys.end() ? "none" : std::string(TYPE_NAMES[found->second.index()]);
}

ExpectedDatabase::Fields ExpectedDatabase::hgetall(const std::string& key) {
    mCommands.push_back({"HGETALL", key});
    const Fields* fields = find<Fields>(key);
    return fields == nullptr ? Fields() : *fields;
}

ExpectedDatabase::Entries ExpectedDatabase::lrange(const std::string& key) {
    mCommands.push_back({"LRANGE", key, "0", "-1"});
    const Entries* entries = find<Entries>(key);
    return entries == nullptr ? Entries() : *entries;
}

bool ExpectedDatabase::hset(const std::string& key, const std::string& field,
                            const std::string& text) {
    mCommands.push_back({"HSET", key, field, text});
    Fields* fields = findOrMake<Fields>(key);
    if (fields == nullptr) {
        return false;
    }
    const auto found = std::find_if(fields->begin(), fields->end(),
                                    [&field](const auto& pair) { return pair.first == field; });
    if (found == fields->end()) {
        fields->emplace_back(field, text);
    } else {
        found->second = text;
    }
    return true;
}

bool ExpectedDatabase::rpush(const std::string& key, const std::string& text) {
    mCommands.push_back({"RPUSH", key, text});
    Entries* entries = findOrMake<Entries>(key);
    if (entries != nullptr) {
        entries->push_back(text);
    }
    return entries != nullptr;
}

void ExpectedDatabase::lset(const std::string& key, std::size_t index, const std::string& text) {
    mCommands.push_back({"LSET", key, std::to_string(index), text});
    Entries* entries = find<Entries>(key);
    if (entries != nullptr && index < entries->size()) {
        (*entries)[index] = text;
    }
}

void ExpectedDatabase::unlink(const std::string& key) {
    mCommands.push_back({"UNLINK", key});
    mKeys.erase(key);
}

void ExpectedDatabase::set(const std::string& key, const std::string& text) {
    mCommands.push_back({"SET", key, text});
    mKeys[key] = text;
}

std::optional<std::size_t> ExpectedDatabase::lremAll(const std::string& key,
                                                     const std::string& text) {
    mCommands.push_back({"LREM", key, "0", text});
    if (!mKeys.contains(key)) {
        return 0;
    }
    Entries* entries = find<Entries>(key);
    if (entries == nullptr) {
        return std::nullopt;
    }
    const std::size_t removed = std::erase(*entries, text);
    if (entries->empty()) {
        mKeys.erase(key);
    }
    return removed;
}

std::optional<std::size_t> ExpectedDatabase::llen(const std::string& key) {
    mCommands.push_back({"LLEN", key});
    if (!mKeys.contains(key)) {
        return 0;
    }
    const Entries* entries = find<Entries>(key);
    return entries == nullptr ? std::nullopt : std::optional(entries->size());
}

std::optional<std::int64_t> ExpectedDatabase::incr(const std::string& key) {
    mCommands.push_back({"INCR", key});
    std::string* text = findOrMake<std::string>(key);
    if (text == nullptr) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    const char* end = text->data() + text->size();
    const bool isNew = text->empty();
    const bool isNumber = isNew || std::from_chars(text->data(), end, value).ptr == end;
    if (!isNumber || value == std::numeric_limits<std::int64_t>::max()) {
        return std::nullopt;
    }
    *text = std::to_string(value + 1);
    return value + 1;
}

std::string ExpectedDatabase::dump() const {
    std::string result;
    for (const auto& [key, content] : mKeys) {
        result += describeText(key) + " (" + std::string(TYPE_NAMES[content.index()]) + ")" +
                  std::visit([](const auto& kind) { return describe(kind); }, content);
    }
    return result;
}
