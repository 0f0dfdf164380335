// The challenge password of a signing request: only the backend ever sees it in plain text.

#include "platform/x509/openssl_handles.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <array>
#include <filesystem>

namespace {

const std::string SECRET = "Open, s3same of the board";
const std::string KEY(32, 'k');
const std::string NONCE(12, 'n');

std::string hexadecimal(const std::string& bytes) {
    const std::string digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value / 16U];
        text += digits[value % 16U];
    }
    return text;
}

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// As the front end encrypts: nonce, cipher text and tag of AES-256-GCM.
std::string encrypted(const std::string& plainText) {
    const CipherContextHandle cipher(EVP_CIPHER_CTX_new());
    std::string text(plainText.size(), '\0');
    std::string tag(16, '\0');
    int length = 0;
    EXPECT_EQ(
        EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, bytesOf(KEY), bytesOf(NONCE)),
        1);
    EXPECT_EQ(EVP_EncryptUpdate(cipher.get(), reinterpret_cast<unsigned char*>(text.data()),
                                &length, bytesOf(plainText), static_cast<int>(plainText.size())),
              1);
    EXPECT_EQ(EVP_EncryptFinal_ex(cipher.get(), nullptr, &length), 1);
    EXPECT_EQ(EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, 16, tag.data()), 1);
    return hexadecimal(NONCE + text + tag);
}

class ActionPassword : public RequestRoad {
protected:
    ActionPassword() : listener(server) {
        writeFile("/var/nginx/pkey.tmp", KEY);
        std::filesystem::permissions("/var/nginx/pkey.tmp",
                                     std::filesystem::perms::owner_read |
                                         std::filesystem::perms::owner_write);
        (void)listener.commandList({"PSUBSCRIBE", "*"});
    }

    static std::string passwordMember() {
        return R"("ChallengePassword":")" + encrypted(SECRET) + "\"";
    }

    // Every message up to the first one that contains the text.
    std::string publishedUntil(const std::string& last) {
        std::string published;
        RedisAnswer message;
        while (listener.nextMessage(message, WAIT_LIMIT_SECONDS)) {
            for (const auto& text : message.texts()) {
                published += text + "\n";
            }
            if (published.find(last) != std::string::npos) {
                return published;
            }
        }
        ADD_FAILURE() << "no message with " << last;
        return published;
    }

    // Everything that the daemon has let out, the commands it sent included.
    std::string everythingLetOut(CommandMonitor& monitor, const std::string& lastMessage) {
        return publishedUntil(lastMessage) + describeCommands(monitor.commands()) +
               client.dumpAll() + daemon->log() + daemon->standardOutput() +
               daemon->standardError();
    }

    RedisClient listener;
};

TEST_F(ActionPassword, SynchronousRequestLetsNothingOut) {
    start();
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(signing(passwordMember()))), "OK_RES");
    EXPECT_NE(backendCalls().at(0).find(R"("ChallengePassword":")" + SECRET + "\""),
              std::string::npos);
    EXPECT_EQ(everythingLetOut(monitor, "status/1/result").find(SECRET), std::string::npos);
}

TEST_F(ActionPassword, RefusedRequestLetsNothingOut) {
    setBackendAnswers(R"({"generateCSR":{"code":500}})");
    start();
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(signing(passwordMember()))),
              "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
    EXPECT_EQ(everythingLetOut(monitor, "status/1/result").find(SECRET), std::string::npos);
}

TEST_F(ActionPassword, TaskLetsNothingOut) {
    start();
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(signing(passwordMember() + R"(,"KeyBitLength":2048)"))),
              "PROCESSING");
    EXPECT_EQ(everythingLetOut(monitor, "/tasks/1 Completed null null").find(SECRET),
              std::string::npos);
    EXPECT_NE(backendCalls().at(0).find(SECRET), std::string::npos);
}

TEST_F(ActionPassword, TypeErrorLetsNothingOut) {
    const FrontEndRequest request = signing(passwordMember() + R"(,"Zone":5)");
    storeRequest(client, request);
    EXPECT_TRUE(abortsUnharmed(request));
    EXPECT_EQ((daemon->log() + daemon->standardOutput() + daemon->standardError()).find(SECRET),
              std::string::npos);
}

TEST_F(ActionPassword, PasswordThatCannotBeDecryptedIsEmpty) {
    std::string cipher = encrypted(SECRET);
    cipher.back() = cipher.back() == '0' ? '1' : '0';
    start();
    EXPECT_EQ(describeAnswer(send(signing(R"("ChallengePassword":")" + cipher + "\""))), "OK_RES");
    EXPECT_NE(backendCalls().at(0).find(R"("ChallengePassword":"")"), std::string::npos);
}

} // namespace
