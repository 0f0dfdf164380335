// A certificate backend that does what a test tells it.
//
// It has the soname of the real one, so that the unchanged daemon loads it when its folder comes
// first in the library path. tests/support/fake_backend.h describes orders and notes. A call notes
// itself before it waits, throws or answers.

#include "platform/certificate_backend.h"

#include "tests/support/fake_backend/paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using nlohmann::json;

// Guards the file of calls and the counters: handlers run on several threads.
std::mutex gCallsMutex;
std::map<std::string, std::size_t> gCallCounts;

// Notes the call and gives its number among the calls of that handler, from 0.
std::size_t noteCall(const std::string& handler, json call) {
    call["handler"] = handler;
    const std::lock_guard<std::mutex> guard(gCallsMutex);
    std::ofstream file(FAKE_BACKEND_CALLS, std::ios::app);
    file << call.dump(-1, ' ', false, json::error_handler_t::replace) + "\n" << std::flush;
    return gCallCounts[handler]++;
}

json ordersFor(const std::string& handler, std::size_t callNumber) {
    std::ifstream file(FAKE_BACKEND_ORDERS);
    json orders = file ? json::parse(file) : json::object();
    json answer = orders.value(handler, json::object());
    if (answer.is_array() && !answer.empty()) {
        return answer.at(std::min(callNumber, answer.size() - 1));
    }
    return answer;
}

void waitForFile(const std::string& path) {
    while (!std::filesystem::exists(path)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// The road of every call up to the answer's values.
json answerTo(const std::string& handler, const json& call) {
    const std::size_t number = noteCall(handler, call);
    json answer = ordersFor(handler, number);
    if (answer.contains("waitForFile")) {
        waitForFile(answer["waitForFile"].get<std::string>());
    }
    if (answer.contains("throw")) {
        throw std::runtime_error(answer["throw"].get<std::string>());
    }
    return answer;
}

template <typename Value>
void take(const json& answer, const char* name, Value& value) {
    if (answer.contains(name)) {
        answer.at(name).get_to(value);
    }
}

template <typename Result>
Result resultFrom(const json& answer) {
    Result result;
    result.code = 200;
    take(answer, "code", result.code);
    const json message = answer.value("message", json::object());
    take(message, "MessageId", result.message.MessageId);
    take(message, "MessageArgs", result.message.MessageArgs);
    take(message, "RelatedProperties", result.message.RelatedProperties);
    return result;
}

CreateCertResult certificateFrom(const json& answer) {
    auto result = resultFrom<CreateCertResult>(answer);
    take(answer, "keyUsage", result.keyUsage);
    take(answer, "issuer", result.issuer);
    take(answer, "subject", result.subject);
    take(answer, "validNotBefore", result.validNotBefore);
    take(answer, "validNotAfter", result.validNotAfter);
    take(answer, "certificateString", result.certificateString);
    take(answer, "privateKeyValue", result.privateKeyValue);
    return result;
}

} // namespace

CreateCertResult createCertificateHandler(const CreateCertRequest& request) {
    return certificateFrom(answerTo("create", {{"collectionUri", request.collectionUri},
                                               {"certificateString", request.certificateString},
                                               {"certificateType", request.certificateType},
                                               {"certificateId", request.certificateId},
                                               {"rootCaFile", request.rootCaFile}}));
}

DeleteCertResult deleteCertificateHandler(const std::string& certificateUri) {
    return resultFrom<DeleteCertResult>(answerTo("delete", {{"certificateUri", certificateUri}}));
}

CSRResult generateCSRHandler(const CSRRequest& request) {
    const json answer = answerTo("generateCSR", {{"collectionUri", request.collectionUri},
                                                 {"keyBitLength", request.keyBitLength},
                                                 {"arrayParameters", request.arrayParameters},
                                                 {"stringParameters", request.stringParameters}});
    auto result = resultFrom<CSRResult>(answer);
    take(answer, "csr", result.csr);
    return result;
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request) {
    return certificateFrom(answerTo("replace", {{"certificateUri", request.certificateUri},
                                                {"certificateString", request.certificateString},
                                                {"certificateType", request.certificateType},
                                                {"rootCaFile", request.rootCaFile}}));
}
