// Documents of the kind that the stored form can represent. Properties:
// - What was written reads back equal, but for numbers, booleans and null under a name that begins
//   with "&&", which are not stored.
// - Written again, it is stored under the same keys in the same bytes, with the sequence counter
//   set back to where it was; nothing of the first write is left over.
//
// Representable: member names without blank, "/" and NUL, not empty for objects and arrays;
// references without blank and NUL, not empty; strings of printable UTF-8, in arrays none that is a
// marker; under a name with "&&" any UTF-8 without NUL; signed 64-bit integers; doubles whose text
// holds a point. Everything else reads back as another value, by the rules of store/value_text.h.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "fuzz/redis.h"
#include "store/resource_store.h"
#include "tests/models/tokens.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace {

const std::string URI = "/redfish/v1/Fuzz";
const std::string COUNTER = "Array-Member-Sequence-ID";
constexpr std::size_t MOST_MEMBERS = 6;
constexpr std::size_t DEEPEST = 6;
constexpr std::array<std::string_view, 8> NAMES = {"Name", "Id",    "Members",  "@odata.id",
                                                   "a",    "&&Raw", "&&Object", "%s"};
constexpr std::array<std::int64_t, 4> COUNTERS = {0, 41, INT64_MAX - 3, INT64_MAX};

// Any bytes made UTF-8: the bytes above 127 stand for the characters of that number.
std::string utf8(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xc0U | (code >> 6U));
            text += static_cast<char>(0x80U | (code & 0x3fU));
        }
    }
    return text;
}

// The same with each control character replaced by one that needs more bytes, or an escape that is
// understood on reading.
std::string printable(const std::string& bytes) {
    constexpr std::array<std::string_view, 4> SPECIAL = {"\"", "\\", "€", "😀"};
    std::string text;
    for (const char c : utf8(bytes)) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20) {
            text += SPECIAL[code % SPECIAL.size()];
        } else {
            text += c;
        }
    }
    return text;
}

std::string without(std::string text, std::string_view unwanted) {
    std::erase_if(text, [&](char c) { return unwanted.find(c) != std::string_view::npos; });
    return text;
}

constexpr std::string_view NUL("\0", 1);
constexpr std::string_view NUL_AND_BLANK("\0 ", 2);
constexpr std::string_view NUL_BLANK_AND_SLASH("\0 /", 3);

std::string takeName(Input& input, bool isStructured) {
    if (input.choose(4) != 0) {
        return input.pick(NAMES);
    }
    std::string name = without(input.text(20), NUL_BLANK_AND_SLASH);
    return name.empty() && isStructured ? "n" : name;
}

nlohmann::json takeDouble(Input& input) {
    const auto value = std::bit_cast<double>(input.number());
    const bool keepsPoint =
        std::isfinite(value) && nlohmann::json(value).dump().find('.') != std::string::npos;
    return keepsPoint ? value : 0.5;
}

nlohmann::json takeScalar(Input& input) {
    switch (input.choose(6)) {
    case 0:
        return nullptr;
    case 1:
        return input.flag();
    case 2:
        return static_cast<std::int64_t>(input.number());
    case 3:
        return takeDouble(input);
    default:
        return printable(input.text(300));
    }
}

bool isMarker(const std::string& text) {
    const std::vector<std::string> tokens = tokensOf(text);
    return tokens.size() == 2 &&
           (tokens[0] == "&&Object" || tokens[0] == "&&Array" || tokens[0] == "&&ObjectRef");
}

nlohmann::json takeStructured(Input& input, std::size_t depth);

nlohmann::json takeElement(Input& input, std::size_t depth) {
    if (depth < DEEPEST && input.choose(3) == 0) {
        return takeStructured(input, depth + 1);
    }
    nlohmann::json element = takeScalar(input);
    const auto* text = element.get_ptr<const std::string*>();
    return text != nullptr && isMarker(*text) ? nlohmann::json("&&Note " + *text) : element;
}

void takeMember(Input& input, std::size_t depth, nlohmann::json& object) {
    const bool isStructured = depth < DEEPEST && input.choose(3) == 0;
    const std::string name = takeName(input, isStructured);
    if (isStructured) {
        object[name] = takeStructured(input, depth + 1);
    } else if (name.starts_with("&&") && input.flag()) {
        object[name] = without(utf8(input.text(300)), NUL);
    } else {
        object[name] = takeScalar(input);
    }
}

bool isStored(const std::string& name, const nlohmann::json& value) {
    return !name.starts_with("&&") || value.is_string() || value.is_structured();
}

// A member "@odata.id" that stands alone is a reference, also when it stands alone only because
// another one is not stored.
void mendReference(nlohmann::json& object) {
    if (!object.contains("@odata.id")) {
        return;
    }
    for (auto member = object.begin(); member != object.end();) {
        member = isStored(member.key(), *member) ? std::next(member) : object.erase(member);
    }
    if (object.size() == 1 && object["@odata.id"].is_string()) {
        const std::string uri = without(object["@odata.id"].get<std::string>(), NUL_AND_BLANK);
        object["@odata.id"] = uri.empty() ? "/u" : uri;
    }
}

nlohmann::json takeStructured(Input& input, std::size_t depth) {
    const bool isArray = input.flag();
    nlohmann::json value = isArray ? nlohmann::json::array() : nlohmann::json::object();
    for (std::size_t count = input.choose(MOST_MEMBERS + 1); count > 0; --count) {
        if (isArray) {
            value.push_back(takeElement(input, depth));
        } else {
            takeMember(input, depth, value);
        }
    }
    if (!isArray && depth > 0) {
        mendReference(value);
    }
    return value;
}

nlohmann::json storedPart(const nlohmann::json& value) {
    nlohmann::json stored = value;
    if (value.is_object()) {
        stored = nlohmann::json::object();
        for (const auto& [name, member] : value.items()) {
            if (isStored(name, member)) {
                stored[name] = storedPart(member);
            }
        }
    } else if (value.is_array()) {
        std::transform(value.begin(), value.end(), stored.begin(), storedPart);
    }
    return stored;
}

std::string write(RedisClient& client, const std::string& counter, const nlohmann::json& document) {
    (void)client.command("SET", COUNTER, counter);
    require(writeResource(client.context(), URI, document) == STORE_OK, "a document is written");
    requireInStep(client);
    return dumpStored(client);
}

std::string dump(const nlohmann::json& document) {
    return document.dump(1, ' ', true, nlohmann::json::error_handler_t::replace);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RedisClient& client = fuzzedRedis();
    client.flushAll();
    Input input(data, size);
    const std::string counter = std::to_string(COUNTERS[input.choose(COUNTERS.size())]);
    const nlohmann::json document = takeStructured(input, 0);
    const std::string first = write(client, counter, document);

    nlohmann::json read;
    const int result = getResource(client.context(), URI, read);
    requireInStep(client);
    const nlohmann::json expected = storedPart(document);
    if (expected.empty()) {
        require(result == STORE_MISSING, "an empty document leaves no key");
        return 0;
    }
    require(result == STORE_OK, "a document can be read");
    if (read != expected) {
        requireSame(dump(read), dump(expected), "a document reads back equal");
        reportBroken("a document reads back equal");
    }
    requireSame(write(client, counter, read), first, "written again, the bytes are the same");
    return 0;
}
