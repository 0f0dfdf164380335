#include "actions/csr_response.h"

#include "core/constants.h"
#include "core/logger.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

std::string responseKeyOf(const std::string& statusKey) {
    return statusKey + "/ResponseData";
}

} // namespace

void writeCSRResponse(redisContext* context, const std::string& statusKey, const std::string& csr,
                      const std::string& collectionUri) {
    const std::string responseKey = responseKeyOf(statusKey);
    nlohmann::json response = nlohmann::json::object();
    response["CSRString"] = csr;
    // Stored as it stands and read back as the reference that it spells.
    response[OBJECT_REF_MARKER + " CertificateCollection " + collectionUri] = EMPTY_VALUE;
    if (writeResource(context, responseKey, response) != STORE_OK) {
        gLogger->error("Failed to set the return status object.");
    }
    nlohmann::json data = nlohmann::json::object();
    data[RESPONSE_DATA_FIELD] = responseKey;
    (void)writeReturnStatus(context, statusKey, std::move(data), STATUS_OK_RES, EMPTY_VALUE, {},
                            true);
}

void writePendingTaskStatus(redisContext* context, const std::string& statusKey,
                            const std::string& taskUri) {
    nlohmann::json data = nlohmann::json::object();
    data[RESPONSE_DATA_FIELD] = responseKeyOf(statusKey);
    data[LOCATION_FIELD] = taskUri;
    (void)writeReturnStatus(context, statusKey, std::move(data), STATUS_PROCESSING, EMPTY_VALUE, {},
                            true);
}
