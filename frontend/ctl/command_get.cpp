// Shows a resource, or the Redis records behind it.

#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

namespace {

struct GetOptions {
    std::string uri;
    bool raw = false;
};

nlohmann::json recordDocument(const StoredRecord& record) {
    if (record.isList) {
        return {{"key", record.key}, {"type", "list"}, {"entries", record.entries}};
    }
    nlohmann::json fields = nlohmann::json::object();
    for (const auto& [field, text] : record.fields) {
        fields[field] = text;
    }
    return {{"key", record.key}, {"type", "hash"}, {"fields", std::move(fields)}};
}

void printRecord(const StoredRecord& record) {
    printLine(record.key + (record.isList ? "  (list)" : "  (hash)"), Colour::GOOD);
    for (const auto& [field, text] : record.fields) {
        printLine("    " + field + (text.empty() ? "" : " = " + text));
    }
    for (std::size_t i = 0; i < record.entries.size(); ++i) {
        printLine("    [" + std::to_string(i) + "] " + record.entries[i]);
    }
}

void printRecords(const std::vector<StoredRecord>& tree, bool json) {
    nlohmann::json documents = nlohmann::json::array();
    for (const StoredRecord& record : tree) {
        if (json) {
            documents.push_back(recordDocument(record));
        } else {
            printRecord(record);
        }
    }
    if (json) {
        printJson(documents);
    }
}

void runGet(const CommonOptions& common, const GetOptions& options) {
    const RedisConnection session = openRedisSession();
    const std::vector<StoredRecord> tree = readStoredTree(session.get(), options.uri);
    if (tree.empty()) {
        throw FrontEndError(FailureKind::NOT_THERE, "There is no resource at " + options.uri + ".");
    }
    if (options.raw) {
        printRecords(tree, common.json);
    } else {
        printJson(clientView(treeDocument(tree)));
    }
}

} // namespace

void addGet(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<GetOptions>();
    CLI::App* command = app.add_subcommand("get", "Show a resource as JSON.");
    command->add_option("URI", options->uri, "the resource")->type_name("")->required();
    command->add_flag("--raw", options->raw, "show the Redis records behind it");
    command->footer("Example:\n  certificatectl get --raw /redfish/v1/CertificateService");
    chooseWhenNamed(*command, chosen, options, runGet);
}
