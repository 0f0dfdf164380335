// Secrets in memory.

#include "core/secret.h"
#include "tests/core/fresh_process.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

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
