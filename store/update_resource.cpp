#include "store/array_configuration.h"
#include "store/replaced_members.h"
#include "store/resource_store.h"
#include "store/store_log.h"
#include "store/write_resource.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <sstream>

namespace {

void logConfiguration(const ArrayConfiguration& configuration) {
    std::ostringstream line;
    line << "Input Array style =" << configuration.style << ", maxSize=" << configuration.maxSize
         << ", fill null element=" << configuration.fillNull;
    logStoreInfo(line.str());
}

int updateReplacingArrays(redisContext* context, const std::string& uri,
                          const nlohmann::json& value) {
    // Nothing to make room for is no fault: the resource may be new.
    (void)removeReplacedMembers(context, uri, value);
    return storeResource(context, uri, value, nullptr);
}

} // namespace

int updateResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                   const nlohmann::json& arrayConfiguration) {
    if (arrayConfiguration.is_null()) {
        return updateReplacingArrays(context, uri, value);
    }
    const std::optional<ArrayConfiguration> parsed = parseArrayConfiguration(arrayConfiguration);
    if (!parsed) {
        return STORE_BAD_CONFIGURATION;
    }
    logConfiguration(*parsed);
    if (parsed->style == 0) {
        return updateReplacingArrays(context, uri, value);
    }
    storeMerged(context, uri, value, *parsed);
    return STORE_OK;
}
