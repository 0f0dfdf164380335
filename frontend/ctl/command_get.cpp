// Shows a resource, or the Redis records behind it.

#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

namespace {

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

} // namespace

int runGet(const CommonOptions& common, const GetOptions& options) {
    const RedisConnection session = openRedisSession();
    const std::vector<StoredRecord> tree = readStoredTree(session.get(), options.uri);
    if (tree.empty()) {
        throw FrontEndError(EXIT_REFUSED, "There is no resource at " + options.uri + ".");
    }
    if (options.raw) {
        printRecords(tree, common.json);
    } else {
        printJson(clientView(treeDocument(tree)));
    }
    return EXIT_OK;
}
