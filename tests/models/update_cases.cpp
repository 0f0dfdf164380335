#include "tests/models/update_cases.h"

#include "store/resource_store.h"
#include "tests/support/redis_client.h"

#include <array>
#include <cmath>

using nlohmann::json;

namespace {

// clang-format off
constexpr std::size_t DEEPEST = 3;
constexpr std::size_t MOST_ELEMENTS = 6;
constexpr std::array<std::string_view, 6> NAMES = {
    "A", "B", "N", "A", "&&Raw", "@odata.id"};
constexpr std::array<std::string_view, 17> STRINGS = {
    "text", "two words", "", "null", "ToDelete", "&&Foo bar", "&&Foo", "&&Object k",
    "&&Array  k", "&&ObjectRef /r", "&&Object", "&&Object &&/u/A/2", "100%s",
    "\"quoted\" \\ \n", "\xff", "/u/A", "null"};
constexpr std::array<std::string_view, 2> TARGETS = {"/r", "/u/A"};
constexpr std::array<double, 12> MAXIMA = {
    0, -1, 1, 2, 3, 4, 6, 2.5, 0.5, 9, 0, 5};

// What other writers do, be it in the stored form or not.
constexpr std::array<std::string_view, 8> KEYS = {
    "/u", "&&/u/A", "&&/u/B", "&&/u/N", "&&/u/A/1", "&&/u/A/2", "&&/u/A/A", "k"};
constexpr std::array<std::string_view, 16> ENTRIES = {
    "ToDelete", "null", "&&Object k", " &&Object k", "&&Array  k ", "&&Object k k",
    "&&Array &&/u/A", "&&Object &&/u/A/2", "&&ObjectRef /r", "&&ObjectRef /u/A", "", "true",
    "\"old\"", "&&Foo bar", "&&Object", "&&Array /u"};
constexpr std::array<std::string_view, 9> FIELDS = {
    "A", "N", "&&Object A &&/u/A", "&&Array A &&/u/A", "&&Object B &&/u/B", "&&Array B &&/u/B",
    "&&ObjectRef N /r", "&&Object N k", "&&Array N k"};
constexpr std::array<std::string_view, 7> COUNTERS = {
    "0", "41", "3", "rubbish", "9223372036854775805", "9223372036854775806",
    "9223372036854775807"};
// clang-format on

json takeValue(Input& input, std::size_t depth);

json takeArray(Input& input, std::size_t depth) {
    json elements = json::array();
    for (std::size_t count = input.choose(MOST_ELEMENTS + 1); count > 0; --count) {
        elements.push_back(takeValue(input, depth + 1));
    }
    return elements;
}

json takeObject(Input& input, std::size_t depth) {
    json object = json::object();
    for (std::size_t count = input.choose(4); count > 0; --count) {
        const std::string name = input.pick(NAMES);
        object[name] = takeValue(input, depth + 1);
    }
    return object;
}

json takeValue(Input& input, std::size_t depth) {
    const std::size_t kind = input.choose(12);
    if (kind < 3 && depth < DEEPEST) {
        return takeArray(input, depth);
    }
    if (kind < 5 && depth < DEEPEST) {
        return takeObject(input, depth);
    }
    switch (kind) {
    case 5:
    case 6:
        return nullptr;
    case 7:
        return {{"@odata.id", input.pick(TARGETS)}};
    case 8:
        return static_cast<int>(input.byte()) - 5;
    case 9:
        return input.flag() ? json(2.5) : json(true);
    default:
        return input.pick(STRINGS);
    }
}

json takeDocument(Input& input) {
    switch (input.choose(4)) {
    case 0:
        return takeValue(input, 0);
    case 1:
        return {{"A", takeArray(input, 1)}, {"B", takeArray(input, 1)}};
    default:
        return {{"A", takeArray(input, 1)}};
    }
}

json makeConfiguration(const json& style, const json& maxSize, const json& fillsNull) {
    return {{"ArrayStyle", style}, {"ArrayMaxSize", maxSize}, {"ArrayNullElement", fillsNull}};
}

json takeUnusable(Input& input) {
    static const std::array<json, 8> UNUSABLE = {{
        makeConfiguration(4, 0, false),
        makeConfiguration(-1, 0, false),
        makeConfiguration(1e300, 0, false),
        makeConfiguration("1", 0, false),
        makeConfiguration(1, "0", false),
        makeConfiguration(1, 0, 1),
        {{"ArrayStyle", 1}, {"ArrayMaxSize", 0}},
        json::array(),
    }};
    return UNUSABLE.at(input.choose(UNUSABLE.size()));
}

json takeConfiguration(Input& input) {
    const std::size_t style = input.choose(12);
    if (style == 11) {
        return input.flag() ? takeUnusable(input) : json();
    }
    const double maximum = MAXIMA.at(input.choose(MAXIMA.size()));
    return makeConfiguration(style == 10 ? 0 : style % 3 + 1, maximum, input.flag());
}

Command takeCommand(Input& input) {
    switch (input.choose(8)) {
    case 0:
        return {"SET", "Array-Member-Sequence-ID", input.pick(COUNTERS)};
    case 1:
        return {"SET", input.pick(KEYS), "text"};
    case 2:
        return {"UNLINK", input.pick(KEYS)};
    case 3:
    case 4:
        return {"HSET", input.pick(KEYS), input.pick(FIELDS), "\"old\""};
    default:
        return {"RPUSH", input.pick(KEYS), input.pick(ENTRIES)};
    }
}

void runCommand(const Command& command, ExpectedDatabase& database) {
    if (command[0] == "SET") {
        database.set(command[1], command[2]);
    } else if (command[0] == "UNLINK") {
        database.unlink(command[1]);
    } else if (command[0] == "HSET") {
        (void)database.hset(command[1], command[2], command[3]);
    } else {
        (void)database.rpush(command[1], command[2]);
    }
}

} // namespace

UpdateStep takeUpdateStep(Input& input) {
    UpdateStep step;
    const std::size_t kind = input.choose(6);
    if (kind < 2) {
        step.command = takeCommand(input);
        return step;
    }
    step.kind = kind == 2 ? UpdateStep::Kind::WRITE : UpdateStep::Kind::UPDATE;
    if (step.kind == UpdateStep::Kind::UPDATE) {
        step.configuration = takeConfiguration(input);
    }
    step.document = takeDocument(input);
    return step;
}

int runOnStore(const UpdateStep& step, RedisClient& client) {
    switch (step.kind) {
    case UpdateStep::Kind::WRITE:
        return writeResource(client.context(), UPDATED_URI, step.document);
    case UpdateStep::Kind::UPDATE:
        return updateResource(client.context(), UPDATED_URI, step.document, step.configuration);
    default:
        (void)client.commandList(step.command); // refused when the key is of another type
        return STORE_OK;
    }
}

RulesOutcome runOnModel(const UpdateStep& step, ExpectedDatabase& database) {
    switch (step.kind) {
    case UpdateStep::Kind::WRITE:
        return writeByRules(database, UPDATED_URI, step.document);
    case UpdateStep::Kind::UPDATE:
        return updateByRules(database, UPDATED_URI, step.document, step.configuration);
    default:
        runCommand(step.command, database);
        return {};
    }
}

std::string describeStep(const UpdateStep& step) {
    const std::string document =
        step.document.dump(-1, ' ', true, json::error_handler_t::replace) + "\n";
    switch (step.kind) {
    case UpdateStep::Kind::WRITE:
        return "write " + document;
    case UpdateStep::Kind::UPDATE:
        return "update with " + step.configuration.dump() + ": " + document;
    default:
        return describeCommands({step.command});
    }
}
