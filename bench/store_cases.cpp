// The bytes of an operation are captured once, by running it through the recorder. Before every run
// that writes, of either side, the database is brought into the same state, sequence counter
// included, so that each replayed command finds what it found when it was captured.

#include "bench/store_cases.h"

#include "bench/connection.h"
#include "bench/documents.h"
#include "bench/exchange.h"
#include "bench/measurement.h"
#include "bench/recorder.h"
#include "store/resource_store.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

using nlohmann::json;

const std::string URI = "/redfish/v1/Example/Certificates/1";
const Exchange FLUSH = makeExchange({{"FLUSHALL"}});

constexpr double CERTIFICATE_GOAL = 1.15;
constexpr double ARRAY_GOAL = 1.5;
constexpr int CERTIFICATE_ROUNDS = 4000;
constexpr std::size_t ARRAY_SIZE = 10000;
constexpr std::array<std::size_t, 6> ELEMENT_COUNTS = {1000, 2000, 4000, 8000, 16000, 32000};
constexpr std::array<std::size_t, 5> DEPTHS = {100, 300, 1000, 3000, 10000};

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

} // namespace

struct StoreBench::State {
    explicit State(bool isQuick) : quick(isQuick), connection(connectTo(server.socketPath())) {}

    using Operation = std::function<void(redisContext*)>;
    using Stored = std::function<Exchanges()>;

    bool quick;
    RedisServer server;
    TempDirectory directory;
    BenchConnection connection;
    FunctionCases cases;
    GrowthGroups growth;

    // What a case replays, while it runs.
    struct Captured {
        Exchanges stored; // what stands in the database before a run
        Exchanges operation;
        double wireBytes = 0;
    };

    [[nodiscard]] int rounds(int full) const {
        return quick ? std::max(full / 8, 5) : full;
    }

    // Rounds that take about as long for every size.
    [[nodiscard]] int roundsFor(std::size_t elements) const {
        return rounds(static_cast<int>(std::clamp<std::size_t>(800000 / elements, 40, 400)));
    }

    void restore(const Exchanges& stored) const {
        replay(connection.get(), FLUSH);
        replay(connection.get(), stored);
    }

    Exchanges captureOnce(const Exchanges& stored, const Operation& operation) const {
        restore(stored);
        const std::string socketPath = directory.file("recorder.sock");
        const Recorder recorder(socketPath, server.socketPath());
        operation(connectTo(socketPath).get());
        return recorder.since({});
    }

    // The operation's exchanges, on a database with this content. Taken until twice the same: an
    // exchange recorded in pieces would be a floor of more exchanges.
    Exchanges capture(const Exchanges& stored, const Operation& operation) const {
        Exchanges previous = captureOnce(stored, operation);
        for (int attempt = 0; attempt < 10; ++attempt) {
            Exchanges exchanges = captureOnce(stored, operation);
            if (exchanges.size() == previous.size()) {
                return exchanges;
            }
            previous = std::move(exchanges);
        }
        throw std::runtime_error("an operation is never recorded twice the same");
    }

    // A case that restores the database before each run, or only before the first.
    GrowthPoint add(const std::string& name, double goal, int caseRounds, const Stored& stored,
                    const Operation& operation, bool restoreEachTime) {
        const auto captured = std::make_shared<Captured>();
        const auto prepare = [this, captured, restoreEachTime] {
            if (restoreEachTime) {
                restore(captured->stored);
            }
        };
        FunctionCase added{name, goal, caseRounds, {}, {}, {}, {}};
        added.setUp = [this, captured, stored, operation] {
            captured->stored = stored();
            captured->operation = capture(captured->stored, operation);
            captured->wireBytes = wireSize(captured->operation);
            restore(captured->stored);
        };
        added.ours = [this, prepare, operation] {
            prepare();
            return timeOf([&] { operation(connection.get()); });
        };
        added.floor = [this, prepare, captured] {
            prepare();
            return timeOf([&] { replay(connection.get(), captured->operation); });
        };
        added.tearDown = [captured] { *captured = {{}, {}, captured->wireBytes}; };
        cases.push_back(std::move(added));
        return {name, [captured] { return captured->wireBytes; }};
    }

    GrowthPoint addReading(const std::string& name, double goal, int caseRounds,
                           const Stored& stored) {
        // The document outlives the run: its destruction is the caller's.
        const auto value = std::make_shared<json>();
        const auto read = [value](redisContext* context) {
            check(getResource(context, URI, *value));
        };
        auto point = add(name, goal, caseRounds, stored, read, false);
        const auto ours = cases.back().ours;
        cases.back().ours = [ours, value] {
            *value = nullptr;
            return ours();
        };
        return point;
    }

    GrowthPoint addWriting(const std::string& name, double goal, int caseRounds,
                           const Stored& stored, const Operation& operation) {
        return add(name, goal, caseRounds, stored, operation, true);
    }

    static Operation writing(const json& document) {
        auto shared = std::make_shared<const json>(document);
        return [shared](redisContext* context) { check(writeResource(context, URI, *shared)); };
    }

    static Exchanges nothing() {
        return {};
    }

    // What writing the document stores.
    Stored storedBy(const json& document) const {
        return [this, write = writing(document)] { return capture({}, write); };
    }

    void addCertificate() {
        const json certificate = certificateResource(URI);
        const Stored stored = storedBy(certificate);
        const int certificateRounds = rounds(CERTIFICATE_ROUNDS);
        (void)addReading("getResource, certificate resource", CERTIFICATE_GOAL, certificateRounds,
                         stored);
        (void)addWriting("writeResource, certificate resource, new", CERTIFICATE_GOAL,
                         certificateRounds, nothing, writing(certificate));
        (void)addWriting("writeResource, certificate resource, in place of an old one",
                         CERTIFICATE_GOAL, certificateRounds, stored, writing(certificate));
        (void)addWriting(
            "updateResource, two members of a certificate resource", 0, certificateRounds, stored,
            [](redisContext* context) {
                const json change = {{"Members@odata.count", 7}, {"@odata.etag", "\"1732180001\""}};
                check(updateResource(context, URI, change, nullptr));
            });
        (void)addWriting(
            "removeResource, certificate resource", 0, certificateRounds, stored,
            [](redisContext* context) { check(removeResource(context, URI, true, true)); });
    }

    using MakeArray = json (*)(std::size_t);

    void addArray(const std::string& kind, MakeArray makeArray) {
        const std::string elements = "10,000 " + kind;
        const json array = makeArray(ARRAY_SIZE);
        const Stored stored = storedBy(array);
        const int arrayRounds = rounds(80);
        (void)addReading("getResource, " + elements, ARRAY_GOAL, arrayRounds, stored);
        (void)addWriting("writeResource, " + elements + ", new", ARRAY_GOAL, arrayRounds, nothing,
                         writing(array));
        (void)addWriting("writeResource, " + elements + ", in place of old ones", ARRAY_GOAL,
                         arrayRounds, stored, writing(array));
    }

    void addElementGrowth(const std::string& kind, MakeArray makeArray) {
        GrowthGroup reading{"getResource over the number of " + kind, {}};
        GrowthGroup storing{"writeResource over the number of " + kind, {}};
        for (const std::size_t count : ELEMENT_COUNTS) {
            if (quick && count > ARRAY_SIZE) {
                continue;
            }
            const json array = makeArray(count);
            const std::string elements = std::to_string(count) + " " + kind;
            const auto size = [count] { return static_cast<double>(count); };
            reading.points.push_back({"getResource, " + elements, size});
            (void)addReading(reading.points.back().caseName, 0, roundsFor(count), storedBy(array));
            storing.points.push_back({"writeResource, " + elements, size});
            (void)addWriting(storing.points.back().caseName, 0, roundsFor(count), nothing,
                             writing(array));
        }
        growth.push_back(std::move(reading));
        growth.push_back(std::move(storing));
    }

    void addDepthGrowth() {
        GrowthGroup reading{"getResource over the nesting depth", {}};
        // The stored form names a key after all keys above it, so bytes grow with the square of the
        // depth; what is to stay the same is the cost of a byte.
        GrowthGroup storing{"writeResource over the wire bytes of 100 to 10,000 levels", {}};
        for (const std::size_t depth : DEPTHS) {
            const int depthRounds = rounds(static_cast<int>(10000 / depth) + 9);
            const std::string levels = std::to_string(depth) + " levels";
            reading.points.push_back(
                {"getResource, " + levels, [depth] { return static_cast<double>(depth); }});
            (void)addReading(reading.points.back().caseName, 0, depthRounds, [depth] {
                return Exchanges{makeExchange(shortKeyChain(URI, depth))};
            });
            storing.points.push_back(addWriting("writeResource, " + levels, 0, depthRounds, nothing,
                                                writing(nestedObjects(depth))));
        }
        growth.push_back(std::move(reading));
        growth.push_back(std::move(storing));
    }
};

StoreBench::StoreBench(bool quick) : mState(std::make_unique<State>(quick)) {
    mState->addCertificate();
    mState->addArray("scalars", scalarArray);
    mState->addArray("objects", objectArray);
    mState->addElementGrowth("scalars", scalarArray);
    mState->addElementGrowth("objects", objectArray);
    mState->addDepthGrowth();
}

StoreBench::~StoreBench() = default;

const FunctionCases& StoreBench::cases() const {
    return mState->cases;
}

const GrowthGroups& StoreBench::growth() const {
    return mState->growth;
}
