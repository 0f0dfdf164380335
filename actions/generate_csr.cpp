#include "actions/generate_csr.h"

#include "actions/csr_response.h"
#include "actions/pending_csr.h"
#include "actions/task_state.h"
#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/files.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"
#include "core/secret.h"
#include "platform/data_decryption.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

namespace {

const std::string CERTIFICATE_COLLECTION = "CertificateCollection";
const std::string CHALLENGE_PASSWORD = "ChallengePassword";
const std::string KEY_PAIR_ALGORITHM = "KeyPairAlgorithm";
const std::string KEY_CURVE_ID = "KeyCurveId";
constexpr const char* RSA_ALGORITHM = "TPM_ALG_RSA";
constexpr std::array<std::string_view, 1> asyncAlgorithms = {RSA_ALGORITHM};
constexpr std::int32_t SUCCESS = 200;

// A refusal of the action: what is logged and what is answered.
struct Refusal {
    const char* reason;
    const std::string& messageId;
    std::vector<std::string> messageArgs;
};

bool refuseAction(redisContext* context, const std::string& statusKey, const Refusal& refusal) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_FAILURE,
                            refusal.messageId, refusal.messageArgs, true);
    gLogger->error("%s", refusal.reason);
    return false;
}

// False when the parameter is an object without a URI.
bool readCollectionUri(nlohmann::json& body, std::string& collectionUri) {
    const nlohmann::json& collection = body[CERTIFICATE_COLLECTION];
    try {
        collectionUri = collection.at(ODATA_ID).get<std::string>();
        return true;
    } catch (const nlohmann::json::out_of_range&) {
        return false;
    }
}

// Refuses a collection that is not there or does not take signing requests.
bool acceptsSigningRequests(redisContext* context, const std::string& statusKey,
                            const std::string& collectionUri) {
    const bool isBlocked = redisHExists(context, collectionUri, BLOCK_CSR_GENERATION_FIELD) == 1;
    const std::string type = redisHGet(context, collectionUri, ODATA_TYPE);
    if (type.empty()) {
        return refuseAction(context, statusKey,
                            {"generateCSR: the value of CertificateCollection is not a resource.",
                             MSG_RESOURCE_MISSING_AT_URI,
                             {collectionUri}});
    }
    // A blocked collection gets the same answer as a resource of another kind; clients know no
    // other.
    if (isBlocked || type != std::string("\"") + CERTIFICATE_COLLECTION_ODATA_TYPE + '"') {
        return refuseAction(context, statusKey,
                            {"generateCSR: the value of CertificateCollection doesn't point to a "
                             "CertificateCollection resource",
                             MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE,
                             {collectionUri, ODATA_ID, GENERATE_CSR_ACTION_NAME}});
    }
    return true;
}

// Converts as the JSON library does, but cuts off what a 32-bit integer cannot hold.
std::int32_t keyBitLength(const nlohmann::json& value) {
    if (value.is_number_float()) {
        constexpr double SMALLEST = std::numeric_limits<std::int32_t>::min();
        constexpr double LARGEST = std::numeric_limits<std::int32_t>::max();
        return static_cast<std::int32_t>(std::clamp(value.get<double>(), SMALLEST, LARGEST));
    }
    return value.get<std::int32_t>();
}

// The front end hands the password over encrypted; its plain text moves on into the request only.
void decryptChallengePassword(nlohmann::json& body) {
    const auto password = body.find(CHALLENGE_PASSWORD);
    if (password != body.end()) {
        std::string plainText =
            decryptHexString(password->get<std::string>(), PRIVATE_KEY_TEMP_FILE);
        *password = plainText;
        wipeText(plainText);
    }
}

void takeParameter(CSRRequest& request, const std::string& name, nlohmann::json& value) {
    if (value.is_array()) {
        request.arrayParameters[name] = value.get<std::vector<std::string>>();
        return;
    }
    request.stringParameters[name] = value.get<std::string>();
    wipeText(value.get_ref<std::string&>());
}

CSRRequest makeRequest(nlohmann::json& body, const std::string& collectionUri) {
    CSRRequest request;
    request.collectionUri = collectionUri;
    body.erase(CERTIFICATE_COLLECTION);
    const auto length = body.find(KEY_BIT_LENGTH);
    if (length != body.end()) {
        request.keyBitLength = keyBitLength(*length);
        body.erase(length);
    }
    for (auto& [name, value] : body.items()) {
        takeParameter(request, name, value);
    }
    return request;
}

bool runAtOnce(redisContext* context, const std::string& statusKey, CSRRequest& request) {
    const CSRResult result = generateCSRHandler(request);
    wipeChallengePassword(request);
    if (result.code != SUCCESS) {
        gLogger->error("generateCSR: generate key failed.");
        writeErrorReturnStatus(context, statusKey, result.code, result.message);
        return false;
    }
    writeCSRResponse(context, statusKey, result.csr, request.collectionUri);
    return true;
}

bool queueTask(redisContext* context, const std::string& statusKey, const std::string& taskUri,
               CSRRequest& request) {
    gLogger->debug("bIsAsyncAlg response processing\n");
    writePendingTaskStatus(context, statusKey, taskUri);
    publishTaskState(context, {taskUri, TASK_PENDING});
    auto record = std::make_unique<PendingCSR>(PendingCSR{request, taskUri, request.collectionUri});
    wipeChallengePassword(request);
    pushPendingCSR(record.release());
    return true;
}

} // namespace

bool generateCSR(redisContext* context, const std::string& /*returnChannel*/,
                 const std::string& requestDataKey, const std::string& statusKey,
                 const std::string& taskUri) {
    nlohmann::json body;
    if (getResource(context, requestDataKey, body) != STORE_OK) {
        (void)refuseRequest(context, statusKey, "generateCSR: get request data failed.");
        return false;
    }
    std::string collectionUri;
    if (!readCollectionUri(body, collectionUri)) {
        return refuseAction(context, statusKey,
                            {"generateCSR: the value of CertificateCollection object is empty.",
                             MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR,
                             {"{}", CERTIFICATE_COLLECTION, GENERATE_CSR_ACTION_NAME}});
    }
    if (!acceptsSigningRequests(context, statusKey, collectionUri)) {
        return false;
    }
    decryptChallengePassword(body);
    CSRRequest request = makeRequest(body, collectionUri);
    const bool bIsAsyncAlg = isAsyncAlgorithm(request);
    return bIsAsyncAlg ? queueTask(context, statusKey, taskUri, request)
                       : runAtOnce(context, statusKey, request);
}

bool isAsyncAlgorithm(CSRRequest& request) {
    std::string& algorithm = request.stringParameters[KEY_PAIR_ALGORITHM];
    if (algorithm.empty() && !request.stringParameters.contains(KEY_CURVE_ID) &&
        request.keyBitLength != 0) {
        algorithm = RSA_ALGORITHM;
    }
    return std::find(asyncAlgorithms.begin(), asyncAlgorithms.end(), algorithm) !=
           asyncAlgorithms.end();
}
