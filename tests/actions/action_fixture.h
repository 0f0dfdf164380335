#pragma once

// What the tests of the two actions start from: a collection, and requests on the action channel.

#include "tests/requests/request_fixture.h"

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

    // Stores this body, as a GenerateCSR request's, and runs the action without its dispatch.
    bool runGenerateCSR(const std::string& body);
};

// A request on the action channel with TASK as its task.
[[nodiscard]] FrontEndRequest actionRequest(const std::string& targetUri, const std::string& body);

// The body of a GenerateCSR request for COLLECTION with these further members: R"("City":"x")".
[[nodiscard]] std::string csrBody(const std::string& members = "");

// The commands by which a request's record and body are read.
inline const std::string READ_RECORD = "TYPE requests/1\n"
                                       "HGETALL requests/1\n";
inline const std::string READ_BODY = "TYPE requests/1/body\n"
                                     "HGETALL requests/1/body\n";
inline const std::string PUBLISH_REPLY = "PUBLISH answers/1 status/1/result\n";

// The commands that write the empty message of a status without one, for STATUS_KEY.
inline const std::string WRITE_NO_MESSAGE =
    "TYPE status/1/ExtendedInfo/1\n"
    "INCR Array-Member-Sequence-ID\n"
    "EXPIRE status/1/ExtendedInfo/1 6\n"
    "TYPE status/1/ExtendedInfo\n"
    "INCR Array-Member-Sequence-ID\n"
    "RPUSH status/1/ExtendedInfo \"\\\"status/1/ExtendedInfo/1\\\"\"\n"
    "EXPIRE status/1/ExtendedInfo 6\n";
