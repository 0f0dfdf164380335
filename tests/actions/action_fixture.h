#pragma once

// What the tests of the two actions start from: a collection, and requests on the action channel.

#include "tests/requests/expected_commands.h"
#include "tests/requests/request_fixture.h"

#include <nlohmann/json.hpp>

inline const std::string GENERATE_CSR =
    "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
inline const std::string REPLACE_CERTIFICATE =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";
inline const std::string TASK = "/redfish/v1/TaskService/Tasks/7";
inline const std::string CERTIFICATE = COLLECTION + "/1a";
inline const std::string BODY_KEY = "requests/1/body";

class ActionFixture : public RequestFixture {
protected:
    ActionFixture();

    // Stores this body and runs the action without its dispatch.
    bool runGenerateCSR(const std::string& body);
    bool runReplaceCertificate(const std::string& body);

    // The commands of a request with this body that is dispatched, with no earlier status there.
    std::string commandsOfAction(const std::string& targetUri, const std::string& body);
};

// The text of the type error that the step ends with.
template <typename Step>
[[nodiscard]] std::string typeErrorOf(Step step) {
    try {
        (void)step();
    } catch (const nlohmann::json::type_error& failure) {
        const std::string text = failure.what();
        return text.substr(text.find("] ") + 2);
    }
    return "no type error";
}

// A request on the action channel with TASK as its task.
[[nodiscard]] FrontEndRequest actionRequest(const std::string& targetUri, const std::string& body);

// The body of a GenerateCSR request for COLLECTION with these further members: R"("City":"x")".
[[nodiscard]] std::string csrBody(const std::string& members = "");
