#include "tests/web/resource_requests.h"

#include "frontend/records/certificate_records.h"
#include "frontend/records/seed_records.h"

#include <stdexcept>

namespace {

// "user:password" in base 64.
const char* const CREDENTIALS = "Basic dXNlcjpwYXNzd29yZA==";

HttpRequest requestOf(const std::string& method, const std::string& path) {
    HttpRequest request;
    request.method = method;
    request.path = path;
    request.peer = "127.0.0.1";
    return request;
}

} // namespace

ResourceRequests::ResourceRequests() : service({"user", COLLECTION, 10}, "password") {
    writeConnectionFiles(server);
    (void)seedRecords(client.context(), {COLLECTION, OTHER_COLLECTION});
}

HttpAnswer ResourceRequests::sendWithoutLogin(const std::string& method, const std::string& path) {
    return answerRequest(service, requestOf(method, path));
}

HttpAnswer ResourceRequests::send(const std::string& method, const std::string& path) {
    HttpRequest request = requestOf(method, path);
    request.headers.emplace_back("Authorization", CREDENTIALS);
    return answerRequest(service, request);
}

nlohmann::json ResourceRequests::get(const std::string& path) {
    const HttpAnswer answer = send("GET", path);
    return answer.status == 200 ? nlohmann::json::parse(answer.body) : nlohmann::json();
}

void ResourceRequests::install(const std::string& uri, const std::string& text) {
    if (!restoreCertificateRecords(client.context(), uri, {text, "PEM", "/keys/secret"})) {
        throw std::runtime_error("cannot store " + uri);
    }
}

std::string headerOf(const HttpAnswer& answer, const std::string& name) {
    return std::string(findHeader(answer.headers, name).value_or(""));
}
