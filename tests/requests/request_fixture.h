#pragma once

// What the tests of request and action handlers start from: a Redis server, a connection for the
// code under test, the daemon's log in a file, and the front end's records.
//
// The event setting and the largest event group identifier are kept for the life of a process; a
// test that depends on them relies on being a process of its own, as ctest starts it.

#include "tests/support/command_monitor.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

class Logger;

inline const std::string COLLECTION = "/redfish/v1/Managers/1/Certificates";
inline const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
inline const std::string STATUS_KEY = "status/1/result";
inline const std::string RETURN_CHANNEL = "answers/1";

// What answer() gives for a request that could not be carried out.
inline const std::string DATABASE_ERROR = "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()";

// The line of a process's first event.
inline const std::string EVENTS_ON_LINE = "[Debug]: CertificateService will generate events when "
                                          "resource is created/updated/removed.\n";

// The commands as describeCommands gives them, with the entity tags, which are times, replaced by
// ETAG.
[[nodiscard]] std::string commandText(const Commands& commands);

class RequestFixture : public testing::Test {
protected:
    RequestFixture();
    ~RequestFixture() override;

    // Writes the configuration file and starts the log afresh.
    void configure(const std::map<std::string, std::string>& settings = {});

    // The log's lines without their times.
    [[nodiscard]] static std::string log();

    // The connection for the code under test.
    [[nodiscard]] redisContext* context() {
        return work.context();
    }

    // The commands that the step sends, as commandText gives them.
    template <typename Step>
    [[nodiscard]] std::string commandsOf(Step step) {
        CommandMonitor monitor(server);
        step();
        return commandText(monitor.commands());
    }

    // Loads the event service's script and returns its digest.
    std::string loadEventScript(const std::string& lua = "return #KEYS");

    // The status word and the message at STATUS_KEY, in one line: "FAILURE Base.1.9.X (a, b)",
    // followed by " [c, d]" for related properties.
    [[nodiscard]] std::string answer(const std::string& statusKey = STATUS_KEY);

    RedisServer server;
    RedisClient client;
    RedisClient work;

private:
    std::unique_ptr<Logger> logger;
};

// A creation of a PEM certificate in COLLECTION.
[[nodiscard]] FrontEndRequest creationRequest();

// A deletion of this certificate.
[[nodiscard]] FrontEndRequest deletionRequest(const std::string& certificateUri);

// Makes the next call of a handler in the backend give these values; see setBackendAnswers.
inline const std::string FULL_CREATE_ANSWER = R"({"create":{
    "keyUsage":["DigitalSignature","KeyEncipherment"],
    "issuer":{"CommonName":"Test CA"},
    "subject":{"CommonName":"host.example","Email":"a@host.example"},
    "validNotBefore":"2024-01-01T00:00:00Z","validNotAfter":"2034-01-01T00:00:00Z",
    "certificateString":"backend's text","privateKeyValue":"keys/1"}})";
