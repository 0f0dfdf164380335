// Commands whose words hold a secret, which go to Redis past the library's buffer.

#include "frontend/exchange/redis_session.h"
#include "tests/frontend/front_end_errors.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

class SecretCommand : public testing::Test {
protected:
    FrontEndError errorOfSecret(const std::vector<std::string>& words) {
        return errorOf([&] { (void)runSecretCommand(client.context(), words); });
    }

    RedisServer server;
    RedisClient client{server};
};

TEST_F(SecretCommand, BringsAnyBytesAndLeavesTheConnectionUsable) {
    const std::string odd("a blank, two\r\nlines and \0 a NUL", 31);
    const std::string large(std::size_t{4} * 1024 * 1024, 'x'); // more than a socket takes at once
    const RedisReply reply =
        runSecretCommand(client.context(), {"HMSET", "a key", "odd", odd, "large", large});
    EXPECT_EQ(replyBytes(*reply), "OK");
    EXPECT_EQ(readHashField(client.context(), "a key", "odd"), odd);
    EXPECT_EQ(readHashField(client.context(), "a key", "large"), large);
}

TEST_F(SecretCommand, ThatRedisRefusesIsAnErrorWithoutTheSecret) {
    client.command("SET", "text", "1");
    const FrontEndError error = errorOfSecret({"HMSET", "text", "field", "secret"});
    EXPECT_EQ(error.kind, FailureKind::NO_REDIS);
    EXPECT_THAT(error.what(), HasSubstr("Redis refuses a command: WRONGTYPE"));
    EXPECT_THAT(error.what(), testing::Not(HasSubstr("secret")));
    EXPECT_EQ(runTextCommand(client.context(), {"GET", "text"}), "1");
}

TEST_F(SecretCommand, OnALostConnectionIsAnError) {
    server.stop();
    const FrontEndError error = errorOfSecret({"HMSET", "key", "field", "secret"});
    EXPECT_EQ(error.kind, FailureKind::NO_REDIS);
    EXPECT_THAT(error.what(), HasSubstr("The connection to Redis is lost: "));
}

} // namespace
