// Seeds the records that a front end keeps.

#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/seed_records.h"

#include <nlohmann/json.hpp>

int runInit(const CommonOptions& common, const InitOptions& options) {
    std::vector<std::string> collections = options.collectionUris;
    if (collections.empty()) {
        collections.emplace_back(DEFAULT_COLLECTION_URI);
    }
    const RedisConnection session = openRedisSession();
    const SeedReport report = seedRecords(session.get(), collections);
    if (common.json) {
        printJson({{"collections", collections}, {"report", report}});
        return EXIT_OK;
    }
    for (const std::string& line : report) {
        printLine(line, line.starts_with("set up") ? Colour::GOOD : Colour::SOFT);
    }
    return EXIT_OK;
}
