#include "actions/csr_response.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

void writeCSRResponse(redisContext* context, const std::string& statusKey, const std::string& csr,
                      const std::string& collectionUri) {
    const std::string responseKey = responseDataKey(statusKey);
    nlohmann::json response = nlohmann::json::object();
    response[CSR_STRING] = csr;
    // Stored as it stands and read back as the reference that it spells.
    response[referenceField(CERTIFICATE_COLLECTION, collectionUri)] = EMPTY_VALUE;
    if (writeResource(context, responseKey, response) != STORE_OK) {
        gLogger->error("Failed to set the return status object.");
    }
    (void)writeAnswer({context, statusKey, ""},
                      {STATUS_OK_RES, {{RESPONSE_DATA_FIELD, responseKey}}, {}});
}

void writePendingTaskStatus(redisContext* context, const std::string& statusKey,
                            const std::string& taskUri) {
    (void)writeAnswer({context, statusKey, ""}, {STATUS_PROCESSING,
                                                 {{RESPONSE_DATA_FIELD, responseDataKey(statusKey)},
                                                  {LOCATION_FIELD, taskUri}},
                                                 {}});
}
