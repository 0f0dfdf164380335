// Request records as random trees of Redis keys: hashes, lists and keys of other types, with
// markers that name each other, themselves, and keys that are not there. Properties:
// - Reading ends, and gives the document that a plain reader builds key by key, or fails where that
//   one fails. The connection stays in step.
// - Removing ends, and leaves no top key; or writing ends, and the document written reads back.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "fuzz/redis.h"
#include "store/resource_store.h"
#include "tests/models/reading_model.h"

#include <array>

namespace {

const std::string TOP_KEY = "/r";
constexpr std::array<std::string_view, 8> KEYS = {"/r",       "&&/r/a", "&&/r/b", "&&/r/l",
                                                  "&&/r/l/1", "k",      "none",   "&&"};
constexpr std::array<std::string_view, 8> NAMES = {"a", "b",   "l",  "0",
                                                   "-", "a/b", "~1", "@odata.id"};
constexpr std::array<std::string_view, 6> KEYWORDS = {"&&Object", "&&Array",  "&&ObjectRef",
                                                      "&&Other",  "&&object", "&&"};
constexpr std::array<std::string_view, 4> BLANKS = {" ", "  ", "", "\t"};
constexpr std::array<std::string_view, 12> TEXTS = {
    "",  "\"text\"", "\"a\\\"b\\n\"", "true",     "null",     "1.5",
    "7", "1e5",      "&&raw text",    "%s%n%d%%", "\xff\xfe", "&&ObjectRef /u x y"};

std::string takeKey(Input& input) {
    return input.choose(16) == 15 ? input.text(20) : input.pick(KEYS);
}

std::string takeMarker(Input& input, bool withName) {
    std::string marker = input.pick(KEYWORDS) + input.pick(BLANKS);
    if (withName) {
        marker += input.pick(NAMES) + input.pick(BLANKS);
    }
    return marker + takeKey(input);
}

std::string takeText(Input& input) {
    return input.choose(4) == 3 ? input.text(300) : input.pick(TEXTS);
}

void putField(RedisClient& client, Input& input) {
    const std::string key = takeKey(input);
    const std::size_t kind = input.choose(4);
    const std::string field = kind < 2    ? takeMarker(input, true)
                              : kind == 2 ? input.pick(NAMES)
                                          : takeText(input);
    const std::string value = kind < 2 ? "" : takeText(input);
    (void)client.command("HSET", key, field, value); // refused when the key has another type
}

void putEntry(RedisClient& client, Input& input) {
    const std::string key = takeKey(input);
    const std::string entry = input.flag() ? takeMarker(input, false) : takeText(input);
    (void)client.command("RPUSH", key, entry);
}

void makeTree(RedisClient& client, Input& input) {
    client.flushAll();
    while (!input.empty()) {
        switch (input.choose(8)) {
        case 7:
            (void)client.command("SET", takeKey(input), input.text(10));
            break;
        case 6:
            (void)client.command("SADD", takeKey(input), input.text(10));
            break;
        case 5:
        case 4:
        case 3:
            putEntry(client, input);
            break;
        default:
            putField(client, input);
            break;
        }
    }
}

std::string dump(const nlohmann::json& document) {
    return document.dump(1, ' ', true, nlohmann::json::error_handler_t::replace);
}

void checkReading(RedisClient& client) {
    nlohmann::json document;
    const int result = getResource(client.context(), TOP_KEY, document);
    requireInStep(client);
    const std::optional<ModelReading> model = readByModel(client, TOP_KEY);
    if (!model) {
        require(result == STORE_OK || result == STORE_MISSING, "reading ends");
        return;
    }
    require((result == STORE_OK) == model->readable, "what can be read is read");
    if (model->readable && document != model->document) {
        requireSame(dump(document), dump(model->document), "the document");
        reportBroken("the document differs in what a text of it does not show");
    }
}

void checkRemoval(RedisClient& client, bool isThere) {
    const int result = removeResource(client.context(), TOP_KEY, true, true);
    requireInStep(client);
    require(result == (isThere ? STORE_OK : STORE_MISSING), "a resource is removed");
    nlohmann::json document;
    require(!isThere || getResource(client.context(), TOP_KEY, document) == STORE_MISSING,
            "a removed resource is missing");
}

void checkWriting(RedisClient& client, bool isThere) {
    if (!isThere) {
        (void)client.command("DEL", TOP_KEY);
    }
    // The names that the tree uses are avoided: what its keys hold may have survived.
    const nlohmann::json document = {{"new", {{"x", {1, nullptr, "text"}}}}, {"y", true}};
    require(writeResource(client.context(), TOP_KEY, document) == STORE_OK,
            "a resource is written");
    requireInStep(client);
    nlohmann::json read;
    require(getResource(client.context(), TOP_KEY, read) == STORE_OK, "and reads back");
    requireSame(dump(read), dump(document), "the document written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RedisClient& client = fuzzedRedis();
    Input input(data, size);
    const bool removes = input.flag();
    makeTree(client, input);
    checkReading(client);
    const std::string type = client.command("TYPE", TOP_KEY).text;
    const bool isThere = type == "hash" || type == "list";
    if (removes) {
        checkRemoval(client, isThere);
    } else {
        checkWriting(client, isThere);
    }
    return 0;
}
