// Updates of random resources by random documents, compared with a second account of the rules:
// every command in its order, every message, and the whole database afterwards.
//
// The rules stand in UpdateRules as one would say them, list by list, with recursion and regular
// expressions. A case that fails prints its seed; the generator gives the same case for it again.

#include "store/resource_store.h"
#include "tests/store/expected_database.h"
#include "tests/store/store_fixture.h"

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <random>
#include <regex>
#include <set>
#include <sstream>

using nlohmann::json;

namespace {

constexpr std::uint32_t CASES_EACH = 100;
constexpr std::int64_t LARGEST_ID = std::numeric_limits<std::int64_t>::max();
const std::string COUNTER = "Array-Member-Sequence-ID";

std::vector<std::string> tokensOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> tokens;
    for (std::string token; std::getline(stream, token, ' ');) {
        if (!token.empty()) {
            tokens.push_back(token);
        }
    }
    return tokens;
}

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
    int style = 0;
    double maxSize = 0;
    bool fillsNull = false;
};

class UpdateRules {
public:
    explicit UpdateRules(ExpectedDatabase& database) : redis(database) {}

    void update(const std::string& uri, const json& value,
                const std::optional<Configuration>& given) {
        if (given) {
            std::ostringstream line;
            line << "[INFO] Input Array style =" << given->style << ", maxSize=" << given->maxSize
                 << ", fill null element=" << (given->fillsNull ? 1 : 0) << "\n";
            log += line.str();
        }
        const bool merges = given && given->style != 0;
        if (!merges) {
            makeRoom(uri, value);
        }
        const std::int64_t first = claimId();
        nextId = first;
        if (merges) {
            configuration = *given;
            merge(uri, value);
        } else {
            write(uri, value);
            for (std::size_t i = 0; i < refused; ++i) {
                log += "[ERROR] Updates property reply type is incorrect.\n";
            }
        }
        if (nextId != first) {
            redis.set(COUNTER,
                      nextId < 2 || nextId > LARGEST_ID - 1 ? "1" : std::to_string(nextId - 1));
        }
    }

    std::string log;

private:
    struct List {
        std::string key;
        ExpectedDatabase::Entries current;
        double maximum = 0;
        bool fillsNull = false;
        std::size_t deleted = 0;
        bool overflowed = false;
        bool cleansUp = false;
        std::vector<std::string> doomed;
    };

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
            log +=
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

    // Removal: the tree level by level, then all its keys.

    void removeTree(const std::string& uri) {
        const std::string type = redis.type(uri);
        if (type != "hash" && type != "list") {
            return;
        }
        std::deque<std::pair<std::string, bool>> toRead = {{uri, type == "hash"}};
        std::vector<std::string> found = {uri};
        std::set<std::string> seen = {uri};
        while (!toRead.empty()) {
            const auto [key, isHash] = toRead.front();
            toRead.pop_front();
            for (const auto& [nested, nestedIsHash] : namedBelow(key, isHash)) {
                if (seen.insert(nested).second) {
                    found.push_back(nested);
                    toRead.emplace_back(nested, nestedIsHash);
                }
            }
        }
        for (const auto& key : found) {
            redis.unlink(key);
        }
    }

    std::vector<std::pair<std::string, bool>> namedBelow(const std::string& key, bool isHash) {
        std::vector<std::string> texts;
        if (isHash) {
            for (const auto& [field, text] : redis.hgetall(key)) {
                texts.push_back(field);
            }
        } else {
            texts = redis.lrange(key);
        }
        std::vector<std::pair<std::string, bool>> named;
        for (const auto& text : texts) {
            const auto tokens = tokensOf(text);
            if (text.substr(0, 2) == "&&" && tokens.size() == (isHash ? 3U : 2U) &&
                (tokens[0] == "&&Object" || tokens[0] == "&&Array")) {
                named.emplace_back(tokens.back(), tokens[0] == "&&Object");
            }
        }
        return named;
    }

    // Without array configuration.

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

    void write(const std::string& key, const json& value) {
        if (value.is_object()) {
            for (const auto& [name, member] : value.items()) {
                writeMember(key, name, member);
            }
        } else if (value.is_array()) {
            for (const auto& element : value) {
                writeElement(key, element);
            }
        }
    }

    void writeMember(const std::string& key, const std::string& name, const json& member) {
        if (!member.is_structured()) {
            setScalarMember(key, name, member);
            return;
        }
        static const std::regex REFERENCE("^&&ObjectRef +[^ ]+ +[^ ]+");
        const std::string nested = prefixed(key + "/" + name);
        const std::string marker = markerOf(member, nested, name + " ");
        setField(key, marker, "");
        if (!std::regex_search(marker, REFERENCE)) {
            write(nested, member);
        }
    }

    void writeElement(const std::string& key, const json& element) {
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
        write(nested, element);
    }

    // With array configuration.

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
            log += "[ERROR] Input Max array size is smaller than current size. Skips update action."
                   " Resource=" +
                   key + "\n";
            return;
        }
        shrink(list, elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            mergeElement(list, i, elements[i]);
        }
        cleanUp(list);
        fill(list);
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
        if (!(static_cast<double>(list.deleted) + list.maximum > static_cast<double>(i))) {
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
            list.deleted += configuration.style == 3 ? 0U : 1U;
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

    void replace(const List& list, std::size_t i, const json& element) {
        if (!element.is_structured()) {
            if (const auto text = elementTextOf(element)) {
                redis.lset(list.key, i, *text);
            }
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
            log += "[ERROR] Remove array element failed. RESOURCE=" + list.key +
                   ", ELEMENT=ToDelete\n";
        }
        for (const auto& key : list.doomed) {
            removeTree(key);
        }
    }

    void fill(const List& list) {
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

// Random cases. Names and keys are few, so that updates meet what is stored.
class Generator {
public:
    explicit Generator(std::uint32_t seed) : random(seed) {}

    // The commands that lay out what is there before the update.
    Commands storedResource() {
        Commands commands;
        const auto counters = std::array<const char*, 6>{"41",
                                                         "3",
                                                         "rubbish",
                                                         "9223372036854775805",
                                                         "9223372036854775806",
                                                         "9223372036854775807"};
        if (const std::size_t choice = below(9); choice < 8) {
            commands.push_back({"SET", COUNTER, counters.at(choice < 6 ? choice : 0)});
        }
        switch (below(12)) {
        case 0:
            break;
        case 1:
            commands.push_back({"SET", "/u", "text"});
            break;
        case 2:
        case 3:
            storeList(commands, "/u", 3);
            break;
        default:
            storeHash(commands, "/u", 3);
        }
        return commands;
    }

    json document(int depth = 3) {
        json value = below(3) == 0 ? json::array() : json::object();
        const std::size_t size = below(value.is_array() ? 7 : 4);
        for (std::size_t i = 0; i < size; ++i) {
            if (value.is_array()) {
                value.push_back(content(depth));
            } else {
                value[memberName()] = content(depth);
            }
        }
        return value;
    }

    std::optional<Configuration> configuration() {
        static constexpr std::array<double, 9> SIZES = {-1, 0, 0, 1, 2, 2.5, 4, 5, 7};
        if (below(6) == 0) {
            return std::nullopt;
        }
        const std::size_t style = below(12);
        return Configuration{style == 11 ? 0 : static_cast<int>(style % 3) + 1,
                             SIZES.at(below(SIZES.size())), below(2) == 0};
    }

private:
    std::size_t below(std::size_t limit) {
        return random() % limit;
    }

    std::string memberName() {
        static const std::array<const char*, 7> NAMES = {"A", "B",     "A",        "N",
                                                         "C", "&&Raw", "@odata.id"};
        return NAMES.at(below(NAMES.size()));
    }

    json scalar() {
        static const std::vector<json> SCALARS = {
            1,       -5,      2.5,         true,        nullptr, nullptr,
            nullptr, "text",  "two words", "&&Foo bar", "&&Foo", "&&Object &&/u/A/2",
            "",      "100%s", "\xff"};
        return SCALARS.at(below(SCALARS.size()));
    }

    json content(int depth) {
        switch (depth == 0 ? 9 : below(10)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return document(depth - 1);
        case 4:
            return {{"@odata.id", below(2) == 0 ? "/u/A" : "/other"}};
        case 5:
            return json::object();
        default:
            return scalar();
        }
    }

    // Lays out what is stored under a nested key; now and then nothing, or a key of another type.
    void storeBelow(Commands& commands, const std::string& key, bool isHash, int depth) {
        const std::size_t oddity = below(10);
        if (oddity == 0 || depth == 0) {
            return;
        }
        if (isHash != (oddity == 1)) {
            storeHash(commands, key, depth - 1);
        } else {
            storeList(commands, key, depth - 1);
        }
    }

    void storeHash(Commands& commands, const std::string& key, int depth) {
        for (const char* name : {"A", "B", "N"}) {
            const std::size_t kind = below(6);
            if (kind < 2) {
                const std::string nested = prefixed(key + "/" + name);
                const bool isHash = kind == 0;
                commands.push_back(
                    {"HSET", key,
                     std::string(isHash ? "&&Object " : "&&Array ") + name + " " + nested, ""});
                storeBelow(commands, nested, isHash, depth);
            } else if (kind == 2) {
                commands.push_back(
                    {"HSET", key, std::string("&&ObjectRef ") + name + " /other", ""});
            } else if (kind < 5) {
                commands.push_back({"HSET", key, name, "\"old\""});
            }
        }
    }

    void storeList(Commands& commands, const std::string& key, int depth) {
        static const std::array<const char*, 12> ENTRIES = {"1",
                                                            "\"old\"",
                                                            "null",
                                                            "null",
                                                            "\"two words\"",
                                                            "&&Foo bar",
                                                            "ToDelete",
                                                            "&&Object a b",
                                                            "&&Object",
                                                            "&&ObjectRef /other",
                                                            " &&Object &&/u/A",
                                                            "true"};
        const std::size_t size = below(6);
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t kind = below(5);
            if (kind > 1) {
                commands.push_back({"RPUSH", key, ENTRIES.at(below(ENTRIES.size()))});
                continue;
            }
            const std::string nested = prefixed(key + "/" + std::to_string(++lastId));
            const bool isHash = kind == 0;
            commands.push_back(
                {"RPUSH", key, std::string(isHash ? "&&Object " : "&&Array ") + nested});
            storeBelow(commands, nested, isHash, depth);
        }
    }

    std::mt19937 random;
    int lastId = 0;
};

void run(ExpectedDatabase& database, const Command& command) {
    if (command[0] == "SET") {
        database.set(command[1], command[2]);
    } else if (command[0] == "HSET") {
        database.hset(command[1], command[2], command[3]);
    } else {
        database.rpush(command[1], command[2]);
    }
}

json asJson(const Configuration& configuration) {
    return {{"ArrayStyle", configuration.style},
            {"ArrayMaxSize", configuration.maxSize},
            {"ArrayNullElement", configuration.fillsNull}};
}

} // namespace

class UpdateModel : public StoreFixture, public testing::WithParamInterface<std::uint32_t> {
protected:
    UpdateModel() {
        // A hash whose fields are not long keeps their order; here long keys count as such.
        client.command("CONFIG", "SET", "hash-max-listpack-value", "4096");
    }

    void compare(std::uint32_t seed) {
        Generator generator(seed);
        ExpectedDatabase expected;
        client.flushAll();
        for (const auto& command : generator.storedResource()) {
            ASSERT_NE(client.commandList(command).type, RedisAnswer::Type::ERROR);
            run(expected, command);
        }
        const std::string before = expected.dump();
        const json document = generator.document();
        const auto configuration = generator.configuration();
        const json asGiven = configuration ? asJson(*configuration) : json();

        UpdateRules rules(expected);
        expected.forgetCommands();
        rules.update("/u", document, configuration);

        std::string log;
        const std::string commands = commandsOf([&] {
            log = errorsOf(
                [&] { EXPECT_EQ(updateResource(context(), "/u", document, asGiven), STORE_OK); });
        });
        SCOPED_TRACE("seed " + std::to_string(seed) + ", configuration " + asGiven.dump() +
                     ", document " + document.dump(-1, ' ', true, json::error_handler_t::replace) +
                     ", stored before:\n" + before);
        EXPECT_EQ(commands, describeCommands(expected.commands()));
        EXPECT_EQ(log, rules.log);
        EXPECT_EQ(client.dumpAll(), expected.dump());
    }
};

TEST_P(UpdateModel, FollowsTheRulesToTheLetter) {
    for (std::uint32_t seed = GetParam(); seed < GetParam() + CASES_EACH && !HasFailure(); ++seed) {
        compare(seed);
    }
}

INSTANTIATE_TEST_SUITE_P(FromSeed, UpdateModel, testing::Values(1U, 101U, 201U, 301U));
