// Start-up's records on a connection that is lost half-way: what is told, and what start-up makes
// of it. Everything that a real server answers is tested with the whole daemon.

#include "core/daemon/startup_records.h"
#include "core/logger.h"
#include "tests/core/scripted_server.h"
#include "tests/support/output_capture.h"

#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <unistd.h>

#include <memory>

namespace {

using Texts = std::vector<std::string>;

struct Outcome {
    bool succeeded = false;
    std::string log;
    std::string output;
    Commands commands;
};

// The logger of the process for the time of a scope.
class ScopedLogger {
public:
    ScopedLogger() {
        gLogger = &mLogger;
    }
    ~ScopedLogger() {
        gLogger = nullptr;
    }
    ScopedLogger(const ScopedLogger&) = delete;
    ScopedLogger& operator=(const ScopedLogger&) = delete;

private:
    Logger mLogger;
};

// Writes the records to a server that gives these answers and then no more.
Outcome writeWith(const Texts& answers) {
    ScriptedServer server(answers);
    Outcome outcome;
    {
        const ScopedLogger logger;
        const std::unique_ptr<redisContext, void (*)(redisContext*)> context(
            redisConnectUnix(server.socketPath().c_str()), redisFree);
        const OutputCapture output(STDOUT_FILENO);
        const OutputCapture errors(STDERR_FILENO);
        outcome.succeeded = writeStartupRecords(context.get());
        (void)std::fflush(stdout);
        outcome.log = errors.text();
        outcome.output = output.text();
    }
    outcome.commands = server.received();
    return outcome;
}

const Texts EMPTY_QUEUES = {":0\r\n", ":0\r\n", ":0\r\n"};

Texts afterEmptyQueues(const Texts& answers) {
    Texts result = EMPTY_QUEUES;
    result.insert(result.end(), answers.begin(), answers.end());
    return result;
}

const std::string ALL_LOADED =
    "[Debug]: >>> skeleton certificate service loaded create channel successfully.\n"
    "[Debug]: >>> skeleton certificate service loaded delete channel successfully.\n"
    "[Debug]: >>> skeleton certificate service loaded action channel successfully.\n";

TEST(StartupRecords, withoutAnyReplyCannotReadTheQueues) {
    const Outcome outcome = writeWith({});
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.log, "[Error]: Failed to access Redis.\n");
    EXPECT_EQ(outcome.output, ">>> Failed to get list length on &&/redfish/v1/CertificateService/"
                              "CertificateCollection/POSTCREATEQ.\n"
                              ">>> Failed to get list length on &&/redfish/v1/CertificateService/"
                              "CertificateCollection/DELETEQ.\n"
                              ">>> Failed to get list length on &&/redfish/v1/CertificateService/"
                              "POSTACTIONQ.\n");
}

TEST(StartupRecords, withoutTheLastLengthWriteNothing) {
    const Outcome outcome = writeWith({":0\r\n", ":0\r\n"});
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.log, "[Error]: Failed to access Redis.\n");
    EXPECT_EQ(outcome.commands.size(), 2U);
}

TEST(StartupRecords, withANegativeLengthWriteNothing) {
    const Outcome outcome = writeWith({":0\r\n", ":-1\r\n", ":0\r\n"});
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.log, "[Error]: Failed to access Redis.\n");
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.commands.size(), 3U);
}

TEST(StartupRecords, onAConnectionLostAfterTheLengthsFailWithTheFirstLink) {
    const Outcome outcome = writeWith(EMPTY_QUEUES);
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.log, "[Error]: Init property failed.\n"
                           "[Error]: Init property failed.\n"
                           "[Error]: Add channel link failed.\n");
}

TEST(StartupRecords, goOnAfterOneSettingThatFails) {
    const Outcome outcome = writeWith(
        afterEmptyQueues({"-ERR no\r\n", ":1\r\n", ":1\r\n", ":1\r\n", ":1\r\n", ":1\r\n"}));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.log, "[Error]: Init property failed.\n" + ALL_LOADED);
    EXPECT_EQ(outcome.commands.size(), 9U);
}

TEST(StartupRecords, onAConnectionLostBeforeTheLastLinkFail) {
    const Outcome outcome = writeWith(afterEmptyQueues({":1\r\n", ":1\r\n", ":1\r\n", ":1\r\n"}));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.log, ALL_LOADED.substr(0, ALL_LOADED.rfind("[Debug]")) +
                               "[Error]: Add channel link failed.\n");
}

TEST(StartupRecords, onAConnectionLostBeforeTheAsynchronousMarkSucceed) {
    const Outcome outcome =
        writeWith(afterEmptyQueues({":1\r\n", ":1\r\n", ":1\r\n", ":1\r\n", ":1\r\n"}));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.log, ALL_LOADED +
                               "[Error]: Init /redfish/v1/CertificateService/Actions/"
                               "CertificateService.GenerateCSR to support Async failed.\n");
}

TEST(StartupRecords, areOverwrittenWithoutAComplaint) {
    const Outcome outcome =
        writeWith(afterEmptyQueues({":0\r\n", ":0\r\n", ":1\r\n", ":1\r\n", ":1\r\n", ":0\r\n"}));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.log, ALL_LOADED);
}

} // namespace
