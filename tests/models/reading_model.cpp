#include "tests/models/reading_model.h"

#include "tests/models/tokens.h"
#include "tests/models/value_text_model.h"

#include <algorithm>
#include <deque>
#include <variant>

namespace {

constexpr std::size_t MOST_KEYS = 300;

using Path = std::vector<std::variant<std::string, std::size_t>>; // member name or element index

struct Unread {
    Path path;
    bool isHash = false;
    std::string key;
    std::vector<std::string> ancestors;
};

struct ModelReader {
    std::deque<Unread> queue;
    nlohmann::json document;
};

// The value at the path; null when something else stands on the way.
nlohmann::json* valueAt(nlohmann::json& document, const Path& path) {
    nlohmann::json* value = &document;
    for (const auto& step : path) {
        const auto* name = std::get_if<std::string>(&step);
        if (name != nullptr && value->is_object() && value->contains(*name)) {
            value = &(*value)[*name];
        } else if (name == nullptr && value->is_array() &&
                   std::get<std::size_t>(step) < value->size()) {
            value = &(*value)[std::get<std::size_t>(step)];
        } else {
            return nullptr;
        }
    }
    return value;
}

// The value of a marker with these tokens, the last of which is the key; queues what is below it.
// False when the key is one of its own ancestors.
bool placeMarked(ModelReader& reader, const Unread& parent, Path path,
                 const std::vector<std::string>& tokens, nlohmann::json& value) {
    const std::string& key = tokens.back();
    if (tokens[0] == "&&ObjectRef") {
        value = {{"@odata.id", key}};
        return true;
    }
    Unread below;
    below.isHash = tokens[0] == "&&Object";
    below.path = std::move(path);
    below.key = key;
    below.ancestors = parent.ancestors;
    below.ancestors.push_back(parent.key);
    value = below.isHash ? nlohmann::json::object() : nlohmann::json::array();
    const bool fresh =
        std::find(below.ancestors.begin(), below.ancestors.end(), key) == below.ancestors.end();
    reader.queue.push_back(std::move(below));
    return fresh;
}

bool isMarker(const std::vector<std::string>& tokens, std::size_t count) {
    return tokens.size() == count &&
           (tokens[0] == "&&Object" || tokens[0] == "&&Array" || tokens[0] == "&&ObjectRef");
}

bool placeField(ModelReader& reader, const Unread& parent, nlohmann::json& object,
                const std::string& field, const std::string& text) {
    const bool prefixed = field.rfind("&&", 0) == 0;
    const std::vector<std::string> tokens = tokensOf(field);
    if (!prefixed || !isMarker(tokens, 3)) {
        object[field] = prefixed ? nlohmann::json(text) : decodeByStreams(text);
        return true;
    }
    Path path = parent.path;
    path.emplace_back(tokens[1]);
    return placeMarked(reader, parent, std::move(path), tokens, object[tokens[1]]);
}

bool placeEntry(ModelReader& reader, const Unread& parent, nlohmann::json& array,
                const std::string& text) {
    const bool prefixed = text.rfind("&&", 0) == 0;
    const std::vector<std::string> tokens = tokensOf(text);
    Path path = parent.path;
    path.emplace_back(array.size());
    array.push_back(nullptr);
    if (!prefixed || !isMarker(tokens, 2)) {
        array.back() = prefixed ? nlohmann::json(text) : decodeByStreams(text);
        return true;
    }
    return placeMarked(reader, parent, std::move(path), tokens, array.back());
}

// False when the resource cannot be read.
bool readKey(RedisClient& client, ModelReader& reader, const Unread& unread) {
    const std::string key = unread.key.c_str(); // commands carry keys up to a NUL
    const RedisAnswer content =
        unread.isHash ? client.command("HGETALL", key) : client.command("LRANGE", key, "0", "-1");
    if (content.type != RedisAnswer::Type::ARRAY) {
        const bool isNested = !unread.ancestors.empty();
        return isNested && content.text.starts_with("WRONGTYPE"); // as if it were gone
    }
    nlohmann::json* value = valueAt(reader.document, unread.path);
    if (value == nullptr || (unread.isHash ? !value->is_object() : !value->is_array())) {
        return true; // another field of the same name took the place
    }
    const std::vector<std::string> texts = content.texts();
    bool good = true;
    for (std::size_t i = 0; good && i < texts.size(); i += unread.isHash ? 2 : 1) {
        good = unread.isHash ? placeField(reader, unread, *value, texts[i], texts[i + 1])
                             : placeEntry(reader, unread, *value, texts[i]);
    }
    return good;
}

} // namespace

std::optional<ModelReading> readByModel(RedisClient& client, const std::string& uri) {
    const std::string type = client.command("TYPE", uri).text;
    if (type != "hash" && type != "list") {
        return ModelReading{};
    }
    ModelReader reader;
    reader.document = type == "hash" ? nlohmann::json::object() : nlohmann::json::array();
    reader.queue.push_back({{}, type == "hash", uri, {}});
    for (std::size_t count = 0; !reader.queue.empty(); ++count) {
        if (count == MOST_KEYS) {
            return std::nullopt;
        }
        const Unread unread = std::move(reader.queue.front());
        reader.queue.pop_front();
        if (unread.key.find('\0') != std::string::npos) {
            return std::nullopt;
        }
        if (!readKey(client, reader, unread)) {
            return ModelReading{};
        }
    }
    return ModelReading{true, std::move(reader.document)};
}
