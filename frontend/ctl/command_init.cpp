// Sets up the records that a front end keeps.

#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/seed_records.h"

#include <nlohmann/json.hpp>

namespace {

struct InitOptions {
    std::vector<std::string> collectionUris;
};

void runInit(const CommonOptions& common, const InitOptions& options) {
    std::vector<std::string> collections = options.collectionUris;
    if (collections.empty()) {
        collections.emplace_back(DEFAULT_COLLECTION_URI);
    }
    const RedisConnection session = openRedisSession();
    nlohmann::json report = nlohmann::json::array();
    for (const SeededRecord& record : seedRecords(session.get(), collections)) {
        const std::string line = (record.added ? "set up   " : "was there ") + record.name;
        report.push_back(line);
        if (!common.json) {
            printLine(line, record.added ? Colour::GOOD : Colour::SOFT);
        }
    }
    if (common.json) {
        printJson({{"collections", collections}, {"report", report}});
    }
}

} // namespace

void addInit(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<InitOptions>();
    CLI::App* command = app.add_subcommand(
        "init",
        "Set up what a front end keeps in Redis. That is: service, locations, a certificate "
        "collection, event service with its script, task service, default values. Only "
        "what is missing is added; running it again is harmless.");
    command
        ->add_option(
            "--collection", options->collectionUris,
            "a certificate collection to set up; may be repeated (default: the manager's own, "
            "for HTTPS)")
        ->type_name("URI")
        ->transform(uriCheck());
    command->footer(
        "Example:\n"
        "  certificatectl init \\\n"
        "      --collection /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates\n");
    chooseWhenNamed(*command, chosen, options, runInit);
}
