// The bytes of an operation are captured once, by running it through the recorder. Before every run
// that writes, of either side, the database is brought into the same state, sequence counter
// included, so that each replayed command finds what it found when it was captured.

#include "bench/store_case.h"

#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace {

using nlohmann::json;

// What a case replays, while it runs.
struct Captured {
    Exchanges content;
    Exchanges floor;
    double wireBytes = 0;
};

void check(int result) {
    if (result != STORE_OK) {
        throw std::runtime_error("the store answers " + std::to_string(result));
    }
}

double wireSize(const Exchanges& exchanges) {
    std::size_t size = 0;
    for (const Exchange& exchange : exchanges) {
        size += exchange.bytes.size();
    }
    return static_cast<double>(size);
}

FunctionCase capturingCase(const StoreStage& stage, const StoreCase& measured,
                           const std::shared_ptr<Captured>& captured) {
    const auto prepare = [&stage, measured, captured] {
        if (measured.changes) {
            stage.restore(captured->content);
        }
        measured.ours.release();
    };
    FunctionCase made{measured.name, measured.goal, measured.rounds, {}, {}};
    made.setUp = [&stage, measured, captured] {
        captured->content = measured.content();
        captured->floor = stage.capture(captured->content, measured.captured);
        captured->wireBytes = wireSize(captured->floor);
        stage.restore(captured->content);
    };
    made.ours = [&stage, measured, prepare] {
        prepare();
        return costOf([&] { measured.ours.call(stage.ours()); });
    };
    made.floor = [&stage, captured, prepare] {
        prepare();
        return costOf([&] { replay(stage.floor(), captured->floor); });
    };
    made.tearDown = [captured] { *captured = {{}, {}, captured->wireBytes}; };
    return made;
}

} // namespace

FunctionCase functionCase(const StoreStage& stage, const StoreCase& measured) {
    return capturingCase(stage, measured, std::make_shared<Captured>());
}

GrowthPoint growthPoint(const StoreStage& stage, const StoreCase& measured) {
    const auto captured = std::make_shared<Captured>();
    return {capturingCase(stage, measured, captured), [captured] { return captured->wireBytes; }};
}

StoreCall writing(const Document& document) {
    return [document](redisContext* context) {
        check(writeResource(context, MEASURED_URI, *document));
    };
}

StoreCall updating(const Document& change) {
    return [change](redisContext* context) {
        check(updateResource(context, MEASURED_URI, *change, nullptr));
    };
}

void removing(redisContext* context) {
    check(removeResource(context, MEASURED_URI, true, true));
}

void readResource(redisContext* context, json& document) {
    check(getResource(context, MEASURED_URI, document));
}

void reading(redisContext* context) {
    json document;
    readResource(context, document);
}

Operation readingInto(const std::function<void(redisContext*, json&)>& read) {
    const auto document = std::make_shared<json>();
    return {[read, document](redisContext* context) { read(context, *document); },
            [document] { *document = nullptr; }};
}

Operation readingIntoDocument() {
    return readingInto(readResource);
}

StoredContent nothing() {
    return [] { return Exchanges(); };
}

StoredContent storedBy(const StoreStage& stage, const Document& document) {
    return [&stage, document] { return stage.capture({}, writing(document)); };
}
