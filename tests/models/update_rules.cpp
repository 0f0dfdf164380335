#include "tests/models/update_rules.h"

#include "tests/models/tokens.h"

#include <cmath>
#include <deque>
#include <limits>
#include <regex>
#include <set>
#include <sstream>

using nlohmann::json;

namespace {

constexpr std::int64_t LARGEST_ID = std::numeric_limits<std::int64_t>::max();
constexpr int UNUSABLE = -9;
const std::string COUNTER = "Array-Member-Sequence-ID";

bool isReference(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
           value.at("@odata.id").is_string();
}

std::string prefixed(const std::string& key) {
    return key.substr(0, 2) == "&&" ? key : "&&" + key;
}

// "&&Kind " and, for an element, what it leads to; a member's name stands in between.
std::string markerOf(const json& value, const std::string& nestedKey, const std::string& between) {
    if (isReference(value)) {
        return "&&ObjectRef " + between + value.at("@odata.id").get<std::string>();
    }
    return (value.is_array() ? "&&Array " : "&&Object ") + between + nestedKey;
}

// The key below a stored entry that stands for an object or array.
std::optional<std::string> keyBelow(const std::string& entry) {
    static const std::regex STRUCTURED("^(&&Object|&&Array) +");
    const auto tokens = tokensOf(entry);
    if (!std::regex_search(entry, STRUCTURED) || tokens.size() != 2) {
        return std::nullopt;
    }
    return tokens[1];
}

struct Configuration {
    double style = 0;
    double maxSize = 0;
    bool fillsNull = false;
};

struct List {
    std::string key;
    ExpectedDatabase::Entries current;
    double maximum = 0;
    bool fillsNull = false;
    double deleted = 0;
    bool overflowed = false;
    bool cleansUp = false;
    std::vector<std::string> doomed;
};

struct NamedKey {
    std::string key;
    bool isHash;

    auto operator<=>(const NamedKey&) const = default;
};

class UpdateRules {
public:
    explicit UpdateRules(ExpectedDatabase& database) : redis(database) {}

    void write(const std::string& uri, const json& value) {
        const std::string type = redis.type(uri);
        if (type == "hash" || type == "list") {
            removeTree(uri);
        }
        store(uri, value, false);
    }

    void update(const std::string& uri, const json& value, const json& given) {
        bool merges = false;
        if (!given.is_null()) {
            if (!readConfiguration(given)) {
                outcome.result = UNUSABLE;
                return;
            }
            merges = configuration.style != 0;
        }
        if (!merges) {
            makeRoom(uri, value);
        }
        store(uri, value, merges);
    }

    RulesOutcome outcome;

private:
    bool readConfiguration(const json& given) {
        try {
            configuration = {std::trunc(given.at("ArrayStyle").get<double>()),
                             given.at("ArrayMaxSize").get<double>(),
                             given.at("ArrayNullElement").get<bool>()};
        } catch (const std::exception&) {
            outcome.log += "[ERROR] Reads array configuration failed!\n";
            return false;
        }
        if (!(configuration.style >= 0 && configuration.style <= 3)) {
            outcome.log += "[ERROR] Array style is incorrect.\n";
            return false;
        }
        std::ostringstream line;
        line << "[INFO] Input Array style =" << std::abs(configuration.style)
             << ", maxSize=" << configuration.maxSize
             << ", fill null element=" << (configuration.fillsNull ? 1 : 0) << "\n";
        outcome.log += line.str();
        return true;
    }

    void store(const std::string& uri, const json& value, bool merges) {
        const std::int64_t first = claimId();
        nextId = first;
        refused = 0;
        if (merges) {
            merge(uri, value);
        } else {
            lay(uri, value);
            for (std::size_t i = 0; i < refused; ++i) {
                outcome.log += "[ERROR] Updates property reply type is incorrect.\n";
            }
        }
        if (nextId != first) {
            redis.set(COUNTER,
                      nextId < 2 || nextId > LARGEST_ID - 1 ? "1" : std::to_string(nextId - 1));
        }
    }

    std::int64_t claimId() {
        const auto claimed = redis.incr(COUNTER);
        if (!claimed) {
            redis.set(COUNTER, "1");
        }
        return claimed.value_or(1);
    }

    std::string takeElementKey(const std::string& listKey) {
        const std::int64_t id = nextId;
        nextId = id == LARGEST_ID ? 1 : id + 1;
        return prefixed(listKey + "/" + std::to_string(id));
    }

    // The JSON text of a scalar; nothing when it has none.
    std::optional<std::string> textOf(const json& value) {
        try {
            return value.dump();
        } catch (const std::exception& failure) {
            outcome.log +=
                std::string("[ERROR] Dump JSON object error. EXCEPTION=") + failure.what() + "\n";
            return std::nullopt;
        }
    }

    std::optional<std::string> elementTextOf(const json& value) {
        static const std::regex RAW("^\"&&[^ ]+ +.*\"$");
        const auto text = textOf(value);
        return text && std::regex_search(*text, RAW) ? value.get<std::string>() : text;
    }

    void setField(const std::string& key, const std::string& field, const std::string& text) {
        refused += redis.hset(key, field, text) ? 0U : 1U;
    }

    void push(const std::string& key, const std::string& text) {
        refused += redis.rpush(key, text) ? 0U : 1U;
    }

    void setScalarMember(const std::string& key, const std::string& name, const json& value) {
        const auto text = textOf(value);
        if (!text) {
            return;
        }
        if (name.substr(0, 2) != "&&") {
            setField(key, name, *text);
        } else if (value.is_string()) {
            setField(key, name, value.get<std::string>());
        }
    }

    // A key is removed once, and looked into as each kind that a marker names: as the kind that it
    // is not, it holds nothing.
    void removeTree(const std::string& uri) {
        const std::string type = redis.type(uri);
        if (type != "hash" && type != "list") {
            return;
        }
        std::deque<NamedKey> toRead = {{uri, type == "hash"}};
        std::set<NamedKey> queued = {{uri, true}, {uri, false}};
        std::vector<std::string> found = {uri};
        std::set<std::string> seen = {uri};
        while (!toRead.empty()) {
            const NamedKey next = toRead.front();
            toRead.pop_front();
            for (const NamedKey& named : namedBelow(next)) {
                if (seen.insert(named.key).second) {
                    found.push_back(named.key);
                }
                if (queued.insert(named).second) {
                    toRead.push_back(named);
                }
            }
        }
        for (const auto& key : found) {
            redis.unlink(key);
        }
    }

    std::vector<NamedKey> namedBelow(const NamedKey& key) {
        std::vector<std::string> texts;
        if (key.isHash) {
            for (const auto& [field, text] : redis.hgetall(key.key)) {
                texts.push_back(field);
            }
        } else {
            texts = redis.lrange(key.key);
        }
        std::vector<NamedKey> named;
        for (const auto& text : texts) {
            const auto tokens = tokensOf(text);
            if (text.substr(0, 2) == "&&" && tokens.size() == (key.isHash ? 3U : 2U) &&
                (tokens[0] == "&&Object" || tokens[0] == "&&Array")) {
                named.push_back({tokens.back(), tokens[0] == "&&Object"});
            }
        }
        return named;
    }

    void makeRoom(const std::string& key, const json& value) {
        if (value.is_array()) {
            removeTree(key);
        }
        if (!value.is_object()) {
            return;
        }
        for (const auto& [name, member] : value.items()) {
            if (member.is_structured()) {
                makeRoom(key + "/" + name, member);
            }
            if (member.is_array()) {
                removeTree(prefixed(key + "/" + name));
            }
        }
    }

    void lay(const std::string& key, const json& value) {
        if (value.is_object()) {
            for (const auto& [name, member] : value.items()) {
                layMember(key, name, member);
            }
        } else if (value.is_array()) {
            for (const auto& element : value) {
                layElement(key, element);
            }
        }
    }

    void layMember(const std::string& key, const std::string& name, const json& member) {
        if (!member.is_structured()) {
            setScalarMember(key, name, member);
            return;
        }
        static const std::regex REFERENCE("^&&ObjectRef +[^ ]+ +[^ ]+");
        const std::string nested = prefixed(key + "/" + name);
        const std::string marker = markerOf(member, nested, name + " ");
        setField(key, marker, "");
        if (!std::regex_search(marker, REFERENCE)) {
            lay(nested, member);
        }
    }

    void layElement(const std::string& key, const json& element) {
        if (!element.is_structured()) {
            if (const auto text = elementTextOf(element)) {
                push(key, *text);
            }
            return;
        }
        static const std::regex REFERENCE("^&&ObjectRef +[^ ]+");
        const std::string reference = markerOf(element, "", "");
        if (std::regex_search(reference, REFERENCE)) {
            push(key, reference);
            return;
        }
        const std::string nested = takeElementKey(key);
        push(key, markerOf(element, nested, ""));
        lay(nested, element);
    }

    void merge(const std::string& key, const json& value) {
        if (value.is_array()) {
            mergeList(key, value);
        } else if (value.is_object()) {
            for (const auto& [name, member] : value.items()) {
                mergeMember(key, name, member);
            }
        }
    }

    void mergeMember(const std::string& key, const std::string& name, const json& member) {
        if (!member.is_structured()) {
            setScalarMember(key, name, member);
            return;
        }
        const std::string nested = prefixed(key + "/" + name);
        setField(key, markerOf(member, nested, name + " "), "");
        merge(nested, member);
    }

    void mergeList(const std::string& key, const json& elements) {
        List list;
        list.key = key;
        list.current = redis.lrange(key);
        if (!limit(list, elements.size())) {
            outcome.log +=
                "[ERROR] Input Max array size is smaller than current size. Skips update "
                "action. Resource=" +
                key + "\n";
            return;
        }
        shrink(list, elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            mergeElement(list, i, elements[i]);
        }
        cleanUp(list);
        fillWithNull(list);
    }

    // False when the list is to be left as it is.
    bool limit(List& list, std::size_t newLength) const {
        const auto length = static_cast<double>(list.current.size());
        list.maximum = configuration.maxSize;
        list.fillsNull = configuration.fillsNull;
        if (list.maximum > 0) {
            return list.maximum >= length || configuration.style == 2;
        }
        if (configuration.style == 2) {
            list.maximum = static_cast<double>(newLength);
            list.fillsNull = false;
        } else {
            list.maximum = length;
        }
        return true;
    }

    void shrink(List& list, std::size_t newLength) {
        if (newLength == 0) {
            return;
        }
        const auto length = static_cast<double>(list.current.size());
        for (std::size_t i = newLength; i < list.current.size(); ++i) {
            const bool inside = static_cast<double>(i) < list.maximum || length <= list.maximum;
            drop(list, i, configuration.style == 3 && inside ? "null" : "ToDelete");
        }
    }

    void drop(List& list, std::size_t i, const std::string& mark) {
        if (i < list.current.size()) {
            if (const auto below = keyBelow(list.current[i])) {
                list.doomed.push_back(*below);
            }
        }
        redis.lset(list.key, i, mark);
        list.cleansUp = true;
    }

    void mergeElement(List& list, std::size_t i, const json& element) {
        const std::size_t length = list.current.size();
        if (!(list.deleted + list.maximum > static_cast<double>(i))) {
            list.overflowed = true;
            if (i <= length) {
                drop(list, i, "ToDelete");
            }
        } else if (i >= length) {
            append(list, element);
        } else if (element == json::object()) {
            const auto below = keyBelow(list.current[i]);
            if (list.fillsNull && below) {
                merge(*below, json::array());
            }
        } else if (element.is_null()) {
            drop(list, i, configuration.style == 3 ? "null" : "ToDelete");
            list.deleted += configuration.style == 3 ? 0 : 1;
        } else {
            replace(list, i, element);
        }
    }

    void append(const List& list, const json& element) {
        if (!element.is_structured()) {
            if (const auto text = elementTextOf(element)) {
                push(list.key, *text);
            }
            return;
        }
        const std::string nested = takeElementKey(list.key);
        push(list.key, markerOf(element, nested, ""));
        merge(nested, element);
    }

    // Filling a free slot is no different: there is nothing below it to merge into.
    void replace(const List& list, std::size_t i, const json& element) {
        if (!element.is_structured()) {
            if (const auto text = elementTextOf(element)) {
                redis.lset(list.key, i, *text);
            }
            return;
        }
        if (isReference(element) && list.current[i] == markerOf(element, "", "")) {
            return;
        }
        if (const auto below = keyBelow(list.current[i])) {
            merge(*below, element);
            return;
        }
        const std::string nested = takeElementKey(list.key);
        redis.lset(list.key, i, markerOf(element, nested, ""));
        merge(nested, element);
    }

    void cleanUp(const List& list) {
        if (!list.cleansUp) {
            return;
        }
        if (redis.lremAll(list.key, "ToDelete") == 0U) {
            outcome.log += "[ERROR] Remove array element failed. RESOURCE=" + list.key +
                           ", ELEMENT=ToDelete\n";
        }
        for (const auto& key : list.doomed) {
            removeTree(key);
        }
    }

    void fillWithNull(const List& list) {
        if (!list.fillsNull || list.overflowed) {
            return;
        }
        auto length = redis.llen(list.key);
        for (; length && static_cast<double>(*length) < list.maximum; ++*length) {
            push(list.key, "null");
        }
    }

    ExpectedDatabase& redis;
    Configuration configuration;
    std::int64_t nextId = 1;
    std::size_t refused = 0; // commands that the server answers with an error
};

} // namespace

RulesOutcome writeByRules(ExpectedDatabase& database, const std::string& uri, const json& value) {
    UpdateRules rules(database);
    rules.write(uri, value);
    return rules.outcome;
}

RulesOutcome updateByRules(ExpectedDatabase& database, const std::string& uri, const json& value,
                           const json& arrayConfiguration) {
    UpdateRules rules(database);
    rules.update(uri, value, arrayConfiguration);
    return rules.outcome;
}
