// Start-up's records on a connection that is lost half-way: what is told, and what start-up makes
// of it. Everything that a real server answers is tested with the whole daemon.

#include "core/daemon/startup_records.h"
#include "core/logger.h"
#include "core/redis_connection.h"
#include "tests/core/scripted_server.h"
#include "tests/support/output_capture.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

const std::string NO_LENGTHS =
    ">>> Failed to get list length on "
    "&&/redfish/v1/CertificateService/CertificateCollection/POSTCREATEQ.\n"
    ">>> Failed to get list length on "
    "&&/redfish/v1/CertificateService/CertificateCollection/DELETEQ.\n"
    ">>> Failed to get list length on &&/redfish/v1/CertificateService/POSTACTIONQ.\n";
const std::string NO_ACCESS = "[Error]: Failed to access Redis.\n";
const std::string NO_SETTING = "[Error]: Init property failed.\n";
const std::string CREATION_LOADED =
    "[Debug]: >>> skeleton certificate service loaded create channel successfully.\n";
const std::string DELETION_LOADED =
    "[Debug]: >>> skeleton certificate service loaded delete channel successfully.\n";
const std::string ACTION_LOADED =
    "[Debug]: >>> skeleton certificate service loaded action channel successfully.\n";
const std::string NO_LINK = "[Error]: Add channel link failed.\n";
const std::string NO_MARK = "[Error]: Init /redfish/v1/CertificateService/Actions/"
                            "CertificateService.GenerateCSR to support Async failed.\n";
const std::string ALL_LOADED = CREATION_LOADED + DELETION_LOADED + ACTION_LOADED;

const std::string OLD = ":0\r\n";
const std::string NEW = ":1\r\n";
const std::string ERROR = "-ERR no\r\n";

// Writes the records to a server that gives these answers and then no more: whether that succeeded,
// what was logged and printed, and how many commands were answered.
std::string outcomeOf(const Texts& answers) {
    ScriptedServer server(answers);
    Logger logger;
    gLogger = &logger;
    std::string outcome;
    {
        const RedisConnection connection(redisConnectUnix(server.socketPath().c_str()));
        const OutputCapture output(STDOUT_FILENO);
        const OutputCapture errors(STDERR_FILENO);
        const bool succeeded = writeStartupRecords(connection.get());
        (void)std::fflush(stdout);
        outcome = (succeeded ? "succeeded\n" : "failed\n") + errors.text() + output.text();
    }
    gLogger = nullptr;
    return outcome + std::to_string(server.received().size()) + " commands";
}

TEST(StartupRecords, AreWrittenUnlessALengthOrALinkFails) {
    const struct {
        Texts answers; // three lengths, two settings, three links, the asynchronous mark
        std::string outcome;
    } rows[] = {
        {{}, "failed\n" + NO_ACCESS + NO_LENGTHS + "0 commands"},
        {{OLD, ":-1\r\n", OLD}, "failed\n" + NO_ACCESS + "3 commands"},
        {{OLD, OLD, OLD}, "failed\n" + NO_SETTING + NO_SETTING + NO_LINK + "3 commands"},
        {{OLD, OLD, OLD, ERROR, NEW, NEW, NEW, NEW, NEW},
         "succeeded\n" + NO_SETTING + ALL_LOADED + "9 commands"},
        {{OLD, OLD, OLD, NEW, NEW, NEW, NEW},
         "failed\n" + CREATION_LOADED + DELETION_LOADED + NO_LINK + "7 commands"},
        {{OLD, OLD, OLD, NEW, NEW, NEW, NEW, NEW},
         "succeeded\n" + ALL_LOADED + NO_MARK + "8 commands"},
        {{OLD, OLD, OLD, OLD, OLD, NEW, NEW, NEW, OLD}, "succeeded\n" + ALL_LOADED + "9 commands"},
    };
    for (const auto& [answers, outcome] : rows) {
        EXPECT_EQ(outcomeOf(answers), outcome);
    }
}

TEST(StartupRecords, AreNotWrittenWithoutTheLastLength) {
    const std::string outcome = outcomeOf({OLD, OLD});
    EXPECT_EQ(outcome,
              "failed\n" + NO_ACCESS + NO_LENGTHS.substr(NO_LENGTHS.rfind(">>>")) + "2 commands");
}

} // namespace
