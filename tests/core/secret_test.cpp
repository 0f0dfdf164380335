// Secrets in memory.

#include "core/secret.h"
#include "tests/core/fresh_process.h"
#include "tests/support/process_memory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/prctl.h>

#include <cstring>

namespace {

// The buffer stays the text's own behind its end, so it may be looked at up to its capacity.
std::string wholeBuffer(const std::string& text) {
    return {text.data(), text.data() + text.capacity()};
}

TEST(WipeText, emptiesTheTextAndOverwritesItsBuffer) {
    std::string secret(200, 's');
    const char* buffer = secret.data();
    wipeText(secret);
    EXPECT_TRUE(secret.empty());
    ASSERT_EQ(secret.data(), buffer) << "the buffer was given back";
    EXPECT_EQ(wholeBuffer(secret).find('s'), std::string::npos);
}

TEST(WipeText, overwritesWhatAShortenedTextLeftBehindItsEnd) {
    std::string secret(200, 's');
    secret.resize(4);
    ASSERT_NE(wholeBuffer(secret).find("ssss", 5), std::string::npos);
    wipeText(secret);
    EXPECT_EQ(wholeBuffer(secret).find('s'), std::string::npos);
}

TEST(WipeText, overwritesAShortText) {
    std::string secret = "short";
    wipeText(secret);
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ(wholeBuffer(secret), std::string(secret.capacity(), '\0'));
}

TEST(WipeDocument, overwritesEveryTextAndKeepsTheShape) {
    auto document =
        nlohmann::json::parse(R"({"a": "text", "b": ["text", 1, {"c": "text"}], "d": null})");
    const auto& nested = document["b"][2]["c"].get_ref<const std::string&>();
    wipeDocument(document);
    EXPECT_EQ(document.dump(), R"({"a":"","b":["",1,{"c":""}],"d":null})");
    EXPECT_EQ(wholeBuffer(nested), std::string(nested.capacity(), '\0'));
}

TEST(WipeDocument, overwritesATextThatIsTheWholeDocument) {
    nlohmann::json document = "text";
    wipeDocument(document);
    EXPECT_EQ(document, "");
}

TEST(WipeDocument, reachesAnyDepth) {
    nlohmann::json document = "text";
    for (int i = 0; i < 200'000; ++i) {
        document = nlohmann::json::array({std::move(document)});
    }
    wipeDocument(document);
    const nlohmann::json* innermost = &document;
    while (innermost->is_array()) {
        innermost = &innermost->front();
    }
    EXPECT_EQ(*innermost, "");
}

constexpr std::size_t FRAME_SIZE = 32 * 1024;

// Leaves a text in a frame that is gone when this returns, and tells where. Sanitizers would move
// the frame away from the stack.
__attribute__((noinline, no_sanitize("address"))) const char* leaveOnTheStack() {
    char frame[FRAME_SIZE];
    std::memset(frame, 's', sizeof frame);
    const char* place = frame;
    // Otherwise the compiler sees that nobody reads the frame, and where the address comes from.
    asm volatile("" : "+r"(place) : : "memory");
    return place;
}

// Frames begin with what compilers and sanitizers keep there, more in one function than in another:
// so much may be out of the wiping function's reach.
constexpr std::size_t FRAME_HEAD = 1024;

TEST(WipeUnusedStack, overwritesWhatAReturnedFunctionLeft) {
    const char* left = leaveOnTheStack();
    wipeUnusedStack();
    EXPECT_EQ(memoryAt(left, FRAME_SIZE - FRAME_HEAD).find("ssss"), std::string::npos);
}

TEST(CoreFiles, areForbidden) {
    EXPECT_EQ(inFreshProcess([] {
                  const int before = prctl(PR_GET_DUMPABLE);
                  forbidCoreFiles();
                  const int after = prctl(PR_GET_DUMPABLE);
                  (void)prctl(PR_SET_DUMPABLE, 1); // for a leak check at the end of this process
                  return std::to_string(before) + " " + std::to_string(after);
              }),
              "1 0");
}

} // namespace
