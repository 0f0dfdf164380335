#include "bench/store_cases.h"

#include "bench/documents.h"
#include "bench/json_text.h"
#include "bench/store_case.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

constexpr std::size_t ARRAY_SIZE = 10000;

struct Goals {
    double read;
    double writtenNew;
    double inPlace;
    double update;
    double removed;
};

struct MeasuredDocument {
    std::string name;
    int rounds;
    Goals goals;
    Document content;
    Document update;                          // what an update of the store is given
    std::function<void(json&)> changeMembers; // two of them, for the JSON text
};

MeasuredDocument certificate() {
    const json change = {{"Members@odata.count", 7}, {"@odata.etag", "\"1732180001\""}};
    return {"certificate",
            2000,
            {1.10, 1.25, 1.05, 1.20, 1.00},
            std::make_shared<json>(certificateResource(MEASURED_URI)),
            std::make_shared<json>(change),
            [change](json& document) { document.update(change); }};
}

// An update lays a stored array out afresh, so it is given the whole of it.
MeasuredDocument scalars() {
    const auto array = std::make_shared<json>(scalarArray(ARRAY_SIZE));
    const auto change = [](json& document) {
        document[0] = 7;
        document[ARRAY_SIZE / 2] = 8;
    };
    return {"10,000 scalars", 60, {0.60, 1.30, 0.70, 0.70, 0.30}, array, array, change};
}

MeasuredDocument objects() {
    const auto array = std::make_shared<json>(objectArray(ARRAY_SIZE));
    const auto change = [](json& document) {
        document[0]["Reading"] = 7;
        document[ARRAY_SIZE / 2]["Reading"] = 8;
    };
    return {"10,000 objects", 30, {1.20, 1.60, 1.05, 1.05, 0.80}, array, array, change};
}

std::vector<StoreCase> operations(const StoreStage& stage, const MeasuredDocument& document,
                                  int rounds) {
    const auto& [name, fullRounds, goals, content, change, changeMembers] = document;
    const StoredContent stored = storedBy(stage, content);
    const StoreCall write = writing(content);
    const StoreCall update = updating(change);
    return {
        {name + ": read", goals.read, rounds, stored, reading, readingIntoDocument(), false},
        {name + ": written new", goals.writtenNew, rounds, nothing(), write, {write}},
        {name + ": in place of an old one", goals.inPlace, rounds, stored, write, {write}},
        {name + ": update", goals.update, rounds, stored, update, {update}},
        {name + ": removed", goals.removed, rounds, stored, removing, {removing}},
    };
}

// Beside the floor of the store's operation that does the same.
std::vector<StoreCase> asJsonText(const StoreStage& stage, const MeasuredDocument& document,
                                  int rounds) {
    const auto stored = [&stage, document] {
        Exchanges content = storedBy(stage, document.content)();
        content.push_back(jsonTextContent(*document.content));
        return content;
    };
    const StoreCall write = [content = document.content](redisContext* context) {
        writeJsonText(context, *content);
    };
    const StoreCall update = [change = document.changeMembers](redisContext* context) {
        updateJsonText(context, change);
    };
    const std::string name = document.name + " as one JSON text: ";
    return {
        {name + "read", 0, rounds, stored, reading, readingInto(readJsonText), false},
        {name + "written", 0, rounds, nothing(), writing(document.content), {write}},
        {name + "two members", 0, rounds, stored, updating(document.update), {update}},
    };
}

} // namespace

FunctionCases storeCases(const StoreStage& stage, bool quick) {
    FunctionCases cases;
    for (const MeasuredDocument& document : {certificate(), scalars(), objects()}) {
        const int rounds = roundsOf(document.rounds, quick);
        for (const StoreCase& measured : operations(stage, document, rounds)) {
            cases.push_back(functionCase(stage, measured));
        }
        for (const StoreCase& measured : asJsonText(stage, document, rounds)) {
            cases.push_back(functionCase(stage, measured));
        }
    }
    return cases;
}
