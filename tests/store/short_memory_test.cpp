// There is no memory for commands of a pipeline, which the connection takes in parts: no reply is
// awaited for those that it did not take, and it stays in step.
//
// The library's function that takes them has a double here that refuses one part.

#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

#include <dlfcn.h>
#include <hiredis/hiredis.h>

#include <string_view>

using nlohmann::json;

namespace {

std::string gUnaffordable; // bytes of the part that is refused; once

} // namespace

extern "C" int redisAppendFormattedCommand(redisContext* context, const char* bytes,
                                           std::size_t length) {
    const bool isRefused =
        !gUnaffordable.empty() &&
        std::string_view(bytes, length).find(gUnaffordable) != std::string_view::npos;
    if (isRefused) {
        gUnaffordable.clear();
        return REDIS_ERR;
    }
    static const auto takePart = reinterpret_cast<decltype(&redisAppendFormattedCommand)>(
        dlsym(RTLD_NEXT, "redisAppendFormattedCommand"));
    return takePart(context, bytes, length);
}

class ShortMemory : public StoreFixture {
protected:
    ShortMemory() {
        EXPECT_EQ(writeResource(context(), "/x", json::parse(R"({"O":{"N":1},"L":[1,2]})")), 0);
    }

    // What the work prints when there is no memory for the part with these bytes.
    std::string errorsWithout(const std::string& bytes, const std::function<void()>& work) {
        const std::string errors = errorsOf([&] {
            gUnaffordable = bytes;
            work();
        });
        EXPECT_TRUE(gUnaffordable.empty()) << "nothing of that kind was appended";
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
    EXPECT_EQ(errorsWithout("HGETALL", read), unread + "/x\n");
    EXPECT_EQ(errorsWithout("LRANGE", read), unread + "&&/x/L\n"); // the first of its level
}

TEST_F(ShortMemory, LeavesTheKeysThatWereNotAskedToGo) {
    const auto remove = [&] {
        EXPECT_EQ(removeResource(context(), "/x", true, true), STORE_MISSING);
    };
    EXPECT_EQ(errorsWithout("LRANGE", remove),
              "[ERROR] Gets redis resource failed. RESOURCE=&&/x/L\n");
    EXPECT_EQ(errorsWithout("UNLINK", remove),
              "[ERROR] The redis UNLINK failed with NULL result. URI=/x\n");
    EXPECT_EQ(client.keys(),
              (std::vector<std::string>{"&&/x/L", "&&/x/O", "/x", "Array-Member-Sequence-ID"}));
}

// What follows a part that was not taken is not sent without it.
TEST_F(ShortMemory, CutsADocumentOffBetweenTwoCommands) {
    std::vector<std::string> entries;
    for (int i = 0; i < 1000; ++i) {
        entries.push_back(std::to_string(i) + std::string(100, '.'));
    }
    EXPECT_EQ(errorsWithout("\"500.",
                            [&] { EXPECT_EQ(writeResource(context(), "/y", entries), STORE_OK); }),
              "");
    const std::vector<std::string> stored = client.list("/y");
    EXPECT_GT(stored.size(), 300U);
    EXPECT_LT(stored.size(), 501U);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        EXPECT_EQ(stored[i], '"' + entries[i] + '"');
    }
}

TEST_F(ShortMemory, EndsTheFillingOfAList) {
    const json styled = arrayStyle(1, 6, true);
    (void)errorsWithout("RPUSH", [&] {
        EXPECT_EQ(updateResource(context(), "/x", {{"L", json::array()}}, styled), STORE_OK);
    });
    EXPECT_EQ(client.list("&&/x/L"), (std::vector<std::string>{"1", "2"}));
}
