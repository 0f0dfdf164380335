// Updates of arrays. A resource is written, entries of other writers are put into its lists, and it
// is updated several times under each array style, with every maximum around the lists' lengths.
// Properties:
// - After each step the whole database is, byte for byte, what a model on plain maps and vectors
//   makes of it (update_model.h), sequence counter included.
// - An unusable configuration is refused and changes nothing.
// - The connection stays in step.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "fuzz/redis.h"
#include "fuzz/update_model.h"
#include "store/resource_store.h"

#include <array>

namespace {

const std::string URI = "/u";
constexpr std::size_t DEEPEST = 3;
constexpr std::size_t MOST_ELEMENTS = 6;
constexpr std::array<std::string_view, 4> NAMES = {"A", "B", "n", "&&Raw"};
constexpr std::array<std::string_view, 10> STRINGS = {
    "text",       "",           "null",           "ToDelete", "&&Foo bar",
    "&&Object k", "&&Array  k", "&&ObjectRef /r", "&&Object", "\"quoted\" \\ \n"};
constexpr std::array<std::string_view, 6> KEYS = {"/u",       "&&/u/A",   "&&/u/B",
                                                  "&&/u/A/1", "&&/u/A/2", "k"};
// What writers that do not keep to the stored form may have put there.
constexpr std::array<std::string_view, 10> FOREIGN = {
    "ToDelete",     "null",           "&&Object k",        " &&Object k",    "&&Array  k ",
    "&&Object k k", "&&Array &&/u/A", "&&Object &&/u/A/2", "&&ObjectRef /r", ""};
constexpr std::array<double, 10> MAXIMA = {0, -1, 1, 2, 3, 4, 6, 2.5, 0.5, 9};
constexpr std::array<std::int64_t, 4> COUNTERS = {0, 41, INT64_MAX - 2, INT64_MAX};

nlohmann::json takeValue(Input& input, std::size_t depth);

nlohmann::json takeArray(Input& input, std::size_t depth) {
    nlohmann::json elements = nlohmann::json::array();
    for (std::size_t count = input.choose(MOST_ELEMENTS + 1); count > 0; --count) {
        elements.push_back(takeValue(input, depth + 1));
    }
    return elements;
}

nlohmann::json takeObject(Input& input, std::size_t depth) {
    nlohmann::json object = nlohmann::json::object();
    for (std::size_t count = input.choose(3); count > 0; --count) {
        const std::string name = input.pick(NAMES);
        object[name] = takeValue(input, depth + 1);
    }
    return object;
}

nlohmann::json takeValue(Input& input, std::size_t depth) {
    const std::size_t kind = input.choose(10);
    if (kind < 3 && depth < DEEPEST) {
        return takeArray(input, depth);
    }
    if (kind < 5 && depth < DEEPEST) {
        return takeObject(input, depth);
    }
    switch (kind) {
    case 5:
        return nullptr;
    case 6:
        return {{"@odata.id", "/r"}};
    case 7:
        return static_cast<int>(input.byte());
    default:
        return input.pick(STRINGS);
    }
}

nlohmann::json takeDocument(Input& input) {
    switch (input.choose(4)) {
    case 0:
        return takeValue(input, 0);
    case 1:
        return {{"A", takeArray(input, 1)}, {"B", takeArray(input, 1)}};
    default:
        return {{"A", takeArray(input, 1)}};
    }
}

// What has been done to the resource, for reports.
std::string gSteps;

void requireModel(RedisClient& client, const StoredData& model, const std::string& property) {
    requireInStep(client);
    requireSameData(readStoredData(client), model, property + gSteps);
}

void putForeignEntry(RedisClient& client, StoredData& model, Input& input) {
    const std::string key = input.pick(KEYS);
    const std::string entry = input.pick(FOREIGN);
    gSteps += "\npush to " + key + ": " + entry;
    if (client.command("RPUSH", key, entry).type == RedisAnswer::Type::INTEGER) {
        model[key].kind = StoredValue::Kind::LIST;
        model[key].entries.push_back(entry);
    }
}

void checkRefused(RedisClient& client, const StoredData& model, Input& input) {
    static const std::array<nlohmann::json, 6> UNUSABLE = {{
        {{"ArrayStyle", 4}, {"ArrayMaxSize", 0}, {"ArrayNullElement", false}},
        {{"ArrayStyle", -1}, {"ArrayMaxSize", 0}, {"ArrayNullElement", false}},
        {{"ArrayStyle", 1}, {"ArrayMaxSize", 0}},
        {{"ArrayStyle", "1"}, {"ArrayMaxSize", 0}, {"ArrayNullElement", false}},
        {{"ArrayStyle", 1}, {"ArrayMaxSize", 0}, {"ArrayNullElement", 1}},
        nlohmann::json::array(),
    }};
    const nlohmann::json& configuration = UNUSABLE[input.choose(UNUSABLE.size())];
    require(updateResource(client.context(), URI, takeDocument(input), configuration) ==
                STORE_BAD_CONFIGURATION,
            "an unusable configuration is refused");
    requireModel(client, model, "a refused update changes nothing");
}

void checkUpdate(RedisClient& client, StoredData& model, Input& input) {
    ModelConfiguration configuration;
    configuration.style = static_cast<int>(input.choose(4));
    configuration.maxSize = MAXIMA[input.choose(MAXIMA.size())];
    configuration.fillNull = input.flag();
    const nlohmann::json document = takeDocument(input);
    nlohmann::json given = {{"ArrayStyle", configuration.style},
                            {"ArrayMaxSize", configuration.maxSize},
                            {"ArrayNullElement", configuration.fillNull}};
    if (configuration.style == 0 && configuration.fillNull) {
        given = nullptr;
    }
    gSteps += "\nupdate with " + given.dump() + ": " + document.dump();
    require(updateResource(client.context(), URI, document, given) == STORE_OK,
            "an update succeeds");
    updateByModel(model, URI, document, configuration);
    requireModel(client, model, "an update does what the model does");
}

void checkWrite(RedisClient& client, StoredData& model, Input& input) {
    const nlohmann::json document = takeDocument(input);
    gSteps += "\nwrite: " + document.dump();
    require(writeResource(client.context(), URI, document) == STORE_OK, "a write succeeds");
    writeByModel(model, URI, document);
    requireModel(client, model, "a write does what the model does");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RedisClient& client = fuzzedRedis();
    client.flushAll();
    Input input(data, size);
    StoredData model;
    gSteps.clear();
    const std::string counter = std::to_string(COUNTERS[input.choose(COUNTERS.size())]);
    (void)client.command("SET", "Array-Member-Sequence-ID", counter);
    model["Array-Member-Sequence-ID"].text = counter;
    checkWrite(client, model, input);
    while (!input.empty()) {
        switch (input.choose(6)) {
        case 0:
            checkRefused(client, model, input);
            break;
        case 1:
            putForeignEntry(client, model, input);
            break;
        case 2:
            checkWrite(client, model, input);
            break;
        default:
            checkUpdate(client, model, input);
            break;
        }
    }
    return 0;
}
