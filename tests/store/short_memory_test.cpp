// There is no memory for a command of a pipeline: no reply is awaited for it, and the connection
// stays in step.
//
// The library's function that appends commands has a double here that refuses one command.

#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

#include <hiredis/hiredis.h>

#include <cstdarg>

using nlohmann::json;

namespace {

Command gUnaffordable; // refused once

} // namespace

extern "C" int redisvAppendCommand(redisContext* context, const char* format, va_list arguments) {
    char* text = nullptr;
    const auto length = static_cast<std::size_t>(redisvFormatCommand(&text, format, arguments));
    const bool isRefused = parseCommands(std::string(text, length)).front() == gUnaffordable;
    const int result = isRefused ? REDIS_ERR : redisAppendFormattedCommand(context, text, length);
    if (isRefused) {
        gUnaffordable.clear();
    }
    redisFreeCommand(text);
    return result;
}

class ShortMemory : public StoreFixture {
protected:
    ShortMemory() {
        EXPECT_EQ(writeResource(context(), "/x", json::parse(R"({"O":{"N":1},"L":[1,2]})")), 0);
    }

    // What the work prints when there is no memory for the command.
    std::string errorsWithout(const Command& command, const std::function<void()>& work) {
        const std::string errors = errorsOf([&] {
            gUnaffordable = command;
            work();
        });
        EXPECT_TRUE(gUnaffordable.empty()) << "the command was not sent";
        EXPECT_EQ(client.command("ECHO", "in step").text, "in step");
        return errors;
    }
};

TEST_F(ShortMemory, EndsARead) {
    const auto read = [&] {
        json value;
        EXPECT_EQ(getResource(context(), "/x", value), STORE_MISSING);
    };
    const std::string unread = "[ERROR] Gets redis resource failed. RESOURCE=";
    EXPECT_EQ(errorsWithout({"HGETALL", "/x"}, read), unread + "/x\n");
    EXPECT_EQ(errorsWithout({"LRANGE", "&&/x/L", "0", "-1"}, read), unread + "&&/x/L\n");
    EXPECT_EQ(errorsWithout({"HGETALL", "&&/x/O"}, read), unread + "&&/x/O\n");
}

TEST_F(ShortMemory, LeavesTheKeysThatWereNotAskedToGo) {
    const auto remove = [&] {
        EXPECT_EQ(removeResource(context(), "/x", true, true), STORE_MISSING);
    };
    EXPECT_EQ(errorsWithout({"LRANGE", "&&/x/L", "0", "-1"}, remove),
              "[ERROR] Gets redis resource failed. RESOURCE=&&/x/L\n");
    EXPECT_EQ(errorsWithout({"UNLINK", "&&/x/L"}, remove),
              "[ERROR] The redis UNLINK failed with NULL result. URI=&&/x/L\n");
    EXPECT_EQ(client.keys(),
              (std::vector<std::string>{"&&/x/L", "&&/x/O", "Array-Member-Sequence-ID"}));
}

TEST_F(ShortMemory, LeavesAFieldUnwritten) {
    EXPECT_EQ(errorsWithout({"HSET", "/y", "B", "2"},
                            [&] {
                                const json value = {{"A", 1}, {"B", 2}, {"C", 3}};
                                EXPECT_EQ(writeResource(context(), "/y", value), STORE_OK);
                            }),
              "");
    EXPECT_EQ(client.hash("/y"), (std::map<std::string, std::string>{{"A", "1"}, {"C", "3"}}));
}

TEST_F(ShortMemory, EndsTheFillingOfAList) {
    const json styled = arrayStyle(1, 6, true);
    (void)errorsWithout({"RPUSH", "&&/x/L", "null"}, [&] {
        EXPECT_EQ(updateResource(context(), "/x", {{"L", json::array()}}, styled), STORE_OK);
    });
    EXPECT_EQ(client.list("&&/x/L"), (std::vector<std::string>{"1", "2"}));
}
