// Updates of arrays. A resource is written and updated several times, with entries of other writers
// put in between (tests/models/update_cases.h). Properties:
// - Each step has the result that the rules give it, and leaves the whole database, sequence
// counter
//   included, byte for byte as they do (tests/models/update_rules.h). A refused one changes
//   nothing.
// - The connection stays in step.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "fuzz/redis.h"
#include "tests/models/update_cases.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RedisClient& client = fuzzedRedis();
    client.flushAll();
    Input input(data, size);
    ExpectedDatabase database;
    std::string steps;
    while (!input.empty()) {
        const UpdateStep step = takeUpdateStep(input);
        steps += describeStep(step);
        require(runOnStore(step, client) == runOnModel(step, database).result,
                "a step has the result that the rules give it");
        requireInStep(client);
        requireSame(dumpStored(client), database.dump(),
                    "a step does what the rules say\n" + steps);
    }
    return 0;
}
