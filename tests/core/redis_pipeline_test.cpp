// The bytes of commands. Property: they are those that hiredis makes of a format with a %s for
// every word, in as many parts as may be.

#include "core/redis_pipeline.h"
#include "core/redis_reply.h"
#include "tests/support/commands.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wire.h"

#include <gtest/gtest.h>
#include <hiredis/sds.h>

#include <random>

namespace {

class Pipeline : public testing::Test {
protected:
    Pipeline() : client(server) {}

    std::string pendingBytes() {
        const redisContext& context = *client.context();
        return {context.obuf, sdslen(context.obuf)};
    }

    RedisServer server;
    RedisClient client;
};

std::vector<std::string_view> viewsOf(const Command& command) {
    return {command.begin(), command.end()};
}

// The library's own form of a command of three words.
std::string formatted(const Command& command) {
    char* text = nullptr;
    const auto length = redisFormatCommand(&text, "%s %s %s", command[0].c_str(),
                                           command[1].c_str(), command[2].c_str());
    std::string bytes(text, static_cast<std::size_t>(length));
    redisFreeCommand(text);
    return bytes;
}

// Mostly short; now and then about as long as a part or much longer. Any bytes, NUL too.
std::string randomWord(std::mt19937& random) {
    const std::size_t limits[] = {3, 40, 300, 16 * 1024 + 40, 50000};
    const std::size_t limit = limits[std::discrete_distribution<>({30, 30, 20, 4, 1})(random)];
    std::string word(random() % limit, '\0');
    for (char& character : word) {
        character = static_cast<char>(1 + random() % 255);
    }
    if (!word.empty() && random() % 8 == 0) {
        word[random() % word.size()] = '\0';
    }
    return word;
}

} // namespace

TEST_F(Pipeline, PutsCommandsTogetherAsTheLibraryFormatsThem) {
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same words in every run
    CommandStart start;
    std::string expected;
    for (int round = 0; round < 50; ++round) {
        RedisPipeline pipeline(client.context());
        const std::size_t commands = random() % 40;
        for (std::size_t i = 0; i < commands; ++i) {
            const Command command = {randomWord(random), randomWord(random), randomWord(random)};
            if (random() % 2 == 0) {
                pipeline.append(viewsOf(command));
            } else {
                start.set(command.size(), {command[0], command[1]});
                pipeline.append(start, {command[2]});
            }
            expected += formatted(command);
        }
        EXPECT_EQ(pipeline.handOver(), commands);
        ASSERT_TRUE(pendingBytes() == expected) << "round " << round;
    }
}

TEST_F(Pipeline, HandsCommandsOverInParts) {
    RedisPipeline pipeline(client.context());
    const std::string word(1000, 'a');
    for (int i = 0; i < 16; ++i) {
        pipeline.append({"SET", "key", word});
    }
    const Commands taken = pendingCommands(client.context());
    EXPECT_EQ(taken.size(), 15U); // none cut in two
    EXPECT_EQ(pipeline.handOver(), 16U);
    EXPECT_EQ(pendingCommands(client.context()).size(), 16U);
}

TEST_F(Pipeline, CountsEveryCommandThatTheConnectionHasTaken) {
    RedisPipeline pipeline(client.context());
    EXPECT_EQ(pipeline.handOver(), 0U);
    EXPECT_EQ(pendingBytes(), "");
    pipeline.append({"PING"});
    EXPECT_EQ(pipeline.handOver(), 1U);
    pipeline.append({"PING"});
    pipeline.append({"PING"});
    EXPECT_EQ(pipeline.handOver(), 3U);
}

// The library's buffer would grow to twice the size of a document.
TEST_F(Pipeline, SendsLongDocumentsBeforeTheyAreWhole) {
    RedisPipeline pipeline(client.context());
    const std::string word(1000, 'a');
    for (int i = 0; i < 1000; ++i) {
        pipeline.append({"APPEND", "key", word});
        EXPECT_LT(pendingBytes().size(), 300000U);
    }
    EXPECT_EQ(pipeline.handOver(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        RedisReply reply;
        ASSERT_TRUE(takeRedisReply(client.context(), reply));
        EXPECT_EQ(reply->integer, 1000 * (i + 1));
    }
}
