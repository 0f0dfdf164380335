// The challenge password of a signing request: only the backend ever sees it in plain text.

#include "platform/data_decryption/encrypt.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

namespace {

const std::string SECRET = "Open, s3same of the board";
const std::string KEY_FILE = "/var/nginx/pkey.tmp";
const std::string AT_ONCE = R"("KeyCurveId":"TPM_ECC_NIST_P256",)";
const std::string AS_TASK = R"("KeyBitLength":2048,)";

class ChallengePassword : public RequestRoad {
protected:
    ChallengePassword() : listener(server) {
        writeFile(KEY_FILE, std::string(32, 'k'));
        (void)listener.commandList({"PSUBSCRIBE", "*"});
    }

    static FrontEndRequest signingWith(const std::string& cipherText,
                                       const std::string& members = AT_ONCE) {
        return signing(members + R"("ChallengePassword":")" + cipherText + "\"");
    }

    static FrontEndRequest signingWithSecret(const std::string& members) {
        return signingWith(encryptHexString(SECRET, KEY_FILE), members);
    }

    // Every message up to the first one that contains the text.
    std::string publishedUntil(const std::string& last) {
        std::string published;
        RedisAnswer message;
        while (published.find(last) == std::string::npos) {
            if (!listener.nextMessage(message, WAIT_LIMIT_SECONDS)) {
                ADD_FAILURE() << "no message with " << last;
                break;
            }
            for (const auto& text : message.texts()) {
                published += text + "\n";
            }
        }
        return published;
    }

    std::string printed() {
        return daemon->log() + daemon->standardOutput() + daemon->standardError();
    }

    // Sends the request; everything that the daemon has let out until this message, the commands
    // that it sent included.
    std::string letOut(const FrontEndRequest& request, const std::string& answer,
                       const std::string& lastMessage) {
        start();
        CommandMonitor monitor(server);
        EXPECT_EQ(describeAnswer(send(request)), answer);
        const std::string published = publishedUntil(lastMessage);
        EXPECT_NE(backendCalls().at(0).find(R"("ChallengePassword":")" + SECRET + "\""),
                  std::string::npos);
        return published + describeCommands(monitor.commands()) + client.dumpAll() + printed();
    }

    RedisClient listener;
};

TEST_F(ChallengePassword, IsNotLetOutByARequestThatIsAnsweredAtOnce) {
    const std::string out = letOut(signingWithSecret(AT_ONCE), "OK_RES", "status/1/result");
    EXPECT_EQ(out.find(SECRET), std::string::npos);
}

TEST_F(ChallengePassword, IsNotLetOutByARequestThatTheBackendRefuses) {
    setBackendAnswers(R"({"generateCSR":{"code":500}})");
    const std::string out =
        letOut(signingWithSecret(AT_ONCE), "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()",
               "status/1/result");
    EXPECT_EQ(out.find(SECRET), std::string::npos);
}

TEST_F(ChallengePassword, IsNotLetOutByATask) {
    const std::string out =
        letOut(signingWithSecret(AS_TASK), "PROCESSING", "/tasks/1 Completed null null");
    EXPECT_EQ(out.find(SECRET), std::string::npos);
}

TEST_F(ChallengePassword, IsNotLetOutByADaemonThatEnds) {
    const FrontEndRequest request = signingWithSecret(R"("Zone":5,)");
    storeRequest(client, request);
    EXPECT_TRUE(abortsUnharmed(request));
    EXPECT_EQ(printed().find(SECRET), std::string::npos);
}

TEST_F(ChallengePassword, IsEmptyWhenItCannotBeDecrypted) {
    std::string cipherText = encryptHexString(SECRET, KEY_FILE);
    cipherText.back() = cipherText.back() == '0' ? '1' : '0';
    start();
    EXPECT_EQ(describeAnswer(send(signingWith(cipherText))), "OK_RES");
    EXPECT_NE(backendCalls().at(0).find(R"("ChallengePassword":"")"), std::string::npos);
}

} // namespace
