// Listeners and pushed replies that no Redis server sends: each is passed over, and the
// subscription's end ends the thread. What a real server sends is tested with the whole daemon.

#include "core/daemon/listeners.h"
#include "core/logger.h"
#include "tests/core/fresh_process.h"
#include "tests/core/scripted_server.h"
#include "tests/support/commands.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

namespace {

const std::string CONFIRMATION = "*3\r\n$9\r\nsubscribe\r\n$1\r\nc\r\n:1\r\n";

// Runs the thread to its end against a server that gives these answers: what the thread logs, then
// the commands that it sends.
std::string courseOf(void* (*listener)(void*), const std::vector<std::string>& answers) {
    return inFreshProcess([&] {
        ScriptedServer server(answers);
        writeFile("/var/run/redis.port", "0");
        writeFile("/var/run/redis.unixsocket", server.socketPath());
        writeFile("/var/run/redis.requirepass", "");
        Logger logger;
        gLogger = &logger;
        const OutputCapture errors(STDERR_FILENO);
        pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, listener, &lock) != 0 ||
            pthread_join(thread, nullptr) != 0) {
            return std::string("no thread");
        }
        return errors.text() + describeCommands(server.received());
    });
}

const std::string CREATION = "[Debug]: begin create certificate thread.\n"
                             "SUBSCRIBE &&/redfish/v1/CertificateService/CreateNewCertificate\n";
const std::string DELETION = "[Debug]: begin delete certificate thread.\n"
                             "SUBSCRIBE &&/redfish/v1/CertificateService/DeleteCertificate\n";

const std::string MESSAGE = "*3\r\n$7\r\nmessage\r\n$1\r\nc\r\n";

TEST(PushedReply, withoutATextAtItsEndIsPassedOver) {
    const std::string pushed[] = {
        MESSAGE + "$-1\r\n",
        MESSAGE + ":5\r\n",
        MESSAGE + "*1\r\n$1\r\na\r\n",
        MESSAGE + "$0\r\n\r\n",
        "*0\r\n",
        "*-1\r\n",
        "+OK\r\n",
        "-ERR no\r\n",
        ":5\r\n",
        "$3\r\na b\r\n",
        CONFIRMATION,
        MESSAGE + "$-1\r\n*0\r\n" + MESSAGE + ":5\r\n",
    };
    for (const std::string& bytes : pushed) {
        EXPECT_EQ(courseOf(createListenerThread, {CONFIRMATION + bytes}), CREATION) << bytes;
        EXPECT_EQ(courseOf(deleteListenerThread, {CONFIRMATION + bytes}), DELETION) << bytes;
    }
}

// The server takes no second connection.
TEST(PushedMessage, isNotPassedOver) {
    EXPECT_EQ(courseOf(createListenerThread, {CONFIRMATION + MESSAGE + "$3\r\na b\r\n"}),
              "[Debug]: begin create certificate thread.\n"
              "[Error]: Failed to connect to Redis\n\n"
              "SUBSCRIBE &&/redfish/v1/CertificateService/CreateNewCertificate\n");
}

TEST(Subscription, thatGivesRubbishEndsTheListener) {
    EXPECT_EQ(courseOf(deleteListenerThread, {CONFIRMATION + "!rubbish\r\n"}), DELETION);
}

TEST(Subscription, thatIsRefusedLeavesTheListenerWaitingForItsEnd) {
    EXPECT_EQ(courseOf(createListenerThread, {"-NOPERM no channels for you\r\n"}), CREATION);
}

} // namespace
