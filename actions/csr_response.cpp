#include "actions/csr_response.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/status_words.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

void writeCSRResponse(redisContext* context, const std::string& statusKey, const std::string& csr,
                      const std::string& collectionUri) {
    const std::string responseKey = responseDataKey(statusKey);
    nlohmann::json response = nlohmann::json::object();
    response["CSRString"] = csr;
    // Stored as it stands and read back as the reference that it spells.
    response[referenceField("CertificateCollection", collectionUri)] = EMPTY_VALUE;
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
    data[RESPONSE_DATA_FIELD] = responseDataKey(statusKey);
    data[LOCATION_FIELD] = taskUri;
    (void)writeReturnStatus(context, statusKey, std::move(data), STATUS_PROCESSING, EMPTY_VALUE, {},
                            true);
}
