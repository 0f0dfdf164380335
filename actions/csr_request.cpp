#include "actions/csr_request.h"

#include "core/protocol/files.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "platform/data_decryption.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace {

constexpr std::string_view RSA_ALGORITHM = "TPM_ALG_RSA";
constexpr std::array<std::string_view, 1> asyncAlgorithms = {RSA_ALGORITHM};

// Converts as the JSON library does, but cuts off what a 32-bit integer cannot hold.
std::int32_t keyBitLength(const nlohmann::json& value) {
    if (value.is_number_float()) {
        constexpr double SMALLEST = std::numeric_limits<std::int32_t>::min();
        constexpr double LARGEST = std::numeric_limits<std::int32_t>::max();
        return static_cast<std::int32_t>(std::clamp(value.get<double>(), SMALLEST, LARGEST));
    }
    return value.get<std::int32_t>();
}

void decryptChallengePassword(nlohmann::json& body) {
    const auto password = body.find(CHALLENGE_PASSWORD);
    if (password != body.end()) {
        std::string plainText =
            decryptHexString(password->get<std::string>(), PRIVATE_KEY_TEMP_FILE);
        *password = plainText;
        wipeText(plainText);
    }
}

void takeKeyBitLength(CSRRequest& request, nlohmann::json& body) {
    const auto length = body.find(KEY_BIT_LENGTH);
    if (length != body.end()) {
        request.keyBitLength = keyBitLength(*length);
        body.erase(length);
    }
}

void takeParameter(CSRRequest& request, const std::string& name, const nlohmann::json& value) {
    if (value.is_array()) {
        request.arrayParameters[name] = value.get<std::vector<std::string>>();
        return;
    }
    value.get_to(request.stringParameters[name]);
}

} // namespace

void fillCSRRequest(CSRRequest& request, nlohmann::json& body) {
    decryptChallengePassword(body);
    body.erase(CERTIFICATE_COLLECTION);
    takeKeyBitLength(request, body);
    for (const auto& [name, value] : body.items()) {
        takeParameter(request, name, value);
    }
}

void wipeChallengePassword(CSRRequest& request) {
    const auto password = request.stringParameters.find(CHALLENGE_PASSWORD);
    if (password != request.stringParameters.end()) {
        wipeText(password->second);
    }
}

void completeKeyPairAlgorithm(CSRRequest& request) {
    std::string& algorithm = request.stringParameters[KEY_PAIR_ALGORITHM];
    if (algorithm.empty() && !request.stringParameters.contains(KEY_CURVE_ID) &&
        request.keyBitLength != 0) {
        algorithm = RSA_ALGORITHM;
    }
}

bool runsAsTask(const CSRRequest& request) {
    const std::string& algorithm = request.stringParameters.at(KEY_PAIR_ALGORITHM);
    return std::find(asyncAlgorithms.begin(), asyncAlgorithms.end(), algorithm) !=
           asyncAlgorithms.end();
}

bool isAsyncAlgorithm(CSRRequest& request) {
    completeKeyPairAlgorithm(request);
    return runsAsTask(request);
}
