// Entity tags and identifiers of collection members.

#include "requests/identifiers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <cstdint>
#include <regex>
#include <set>

namespace {

std::int64_t millisecondsNow() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

TEST(GenerateEtag, IsTheTimeInMillisecondsInQuotes) {
    const std::int64_t before = millisecondsNow();
    const std::string etag = generateEtag();
    const std::int64_t after = millisecondsNow();
    ASSERT_TRUE(std::regex_match(etag, std::regex("\"[1-9][0-9]*\""))) << etag;
    const std::int64_t time = std::stoll(etag.substr(1, etag.size() - 2));
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
}

TEST(GenerateRandomId, IsAnUnsignedNumberInLowerCaseHexadecimalWithoutLeadingZeros) {
    const std::regex format("0|[1-9a-f][0-9a-f]{0,7}");
    std::set<std::string> seen;
    bool isShort = false;
    bool hasTopBit = false;
    for (int i = 0; i < 5000; ++i) {
        const std::string id = generateRandomId(4);
        ASSERT_TRUE(std::regex_match(id, format)) << id;
        seen.insert(id);
        isShort |= id.size() == 7; // one number in sixteen
        hasTopBit |= id.size() == 8 && id.front() >= '8';
    }
    EXPECT_GT(seen.size(), 4990U);
    EXPECT_TRUE(isShort);
    EXPECT_TRUE(hasTopBit);
}

TEST(GenerateRandomId, TakesAsManyBytesAsAskedForAndAtMostFour) {
    for (int i = 0; i < 500; ++i) {
        EXPECT_LE(std::stoul(generateRandomId(1), nullptr, 16), 0xFFU);
        EXPECT_LE(std::stoul(generateRandomId(2), nullptr, 16), 0xFFFFU);
        EXPECT_LE(generateRandomId(1000).size(), 8U);
    }
}

TEST(GenerateRandomId, IsEmptyWithoutBytes) {
    EXPECT_EQ(generateRandomId(0), "");
    EXPECT_EQ(generateRandomId(-4), "");
}

TEST(GenerateRandomId, IsEmptyWhenTheSourceCannotBeOpened) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::string id = generateRandomId(4);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(id, "");
    EXPECT_NE(generateRandomId(4), "");
}

} // namespace
