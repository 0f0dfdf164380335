// Scalars as they stand in Redis.

#include "store/value_text.h"
#include "tests/models/value_text_model.h"
#include "tests/support/output_capture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

using nlohmann::json;

namespace {

struct DecodeCase {
    std::string text;
    json value;
};

const std::vector<DecodeCase> DECODE_CASES = {
    {R"("plain")", "plain"},
    {R"("")", ""},
    {R"(")", "\""},
    {R"("a\"b")", "a\"b"},
    {R"("a\\b")", "a\\b"},
    {R"("a\nb")", "anb"},
    {R"("\u0041")", "u0041"},
    {R"("end\")", "end"},
    {R"("\\\\")", "\\\\"},
    {R"("unfinished)", "\"unfinished"},
    {"true", true},
    {"false", false},
    {"null", nullptr},
    {"True", "True"},
    {"1.0", 1.0},
    {"-2.5e3", -2500.0},
    {".5", 0.5},
    {"+1.5", 1.5},
    {"1.5x", 1.5},
    {"1.2.3", 1.2},
    {" 1.5", 1.5},
    {"1.5e", "1.5e"},
    {"1.0e999", "1.0e999"},
    {"a.b", "a.b"},
    {".", "."},
    {"0", 0},
    {"12", 12},
    {"-7", -7},
    {"+7", 7},
    {"007", 7},
    {"12abc", 12},
    {"1e5", 1},
    {"0x10", 0},
    {" \t12", 12},
    {"", ""},
    {" ", " "},
    {"-", "-"},
    {"+-5", "+-5"},
    {"abc", "abc"},
    {"9223372036854775807", INT64_MAX},
    {"-9223372036854775808", INT64_MIN},
    {"9223372036854775808", "9223372036854775808"},
    {"18446744073709551615", "18446744073709551615"},
};

} // namespace

TEST(ValueText, DecodesByItsRules) {
    for (const auto& [text, value] : DECODE_CASES) {
        EXPECT_EQ(describeExactly(decodeValueText(text)), describeExactly(value)) << text;
    }
}

TEST(ValueText, ReadsNumbersAsAStandardStreamDoes) {
    const std::string alphabet = "019.-+eE xX,n";
    std::size_t count = 0;
    for (std::size_t seed = 0; seed < 13 * 13 * 13 * 13; ++seed) {
        std::string text;
        for (std::size_t rest = seed; rest > 0; rest /= alphabet.size()) {
            text += alphabet[rest % alphabet.size()];
        }
        for (const std::string& candidate : {text, text + "5", "2" + text + ".5"}) {
            ASSERT_EQ(decodeValueText(candidate), decodeByStreams(candidate)) << candidate;
            ++count;
        }
    }
    EXPECT_GT(count, 80000U);
}

TEST(ValueText, WritesCompactJson) {
    EXPECT_EQ(compactJsonText("a\"b\\c\nd"), R"("a\"b\\c\nd")");
    EXPECT_EQ(compactJsonText("\x01\x7f"), "\"\\u0001\x7f\"");
    EXPECT_EQ(compactJsonText("sch\xc3\xb6n"), "\"sch\xc3\xb6n\"");
    EXPECT_EQ(compactJsonText(1.0), "1.0");
    EXPECT_EQ(compactJsonText(-3), "-3");
    EXPECT_EQ(compactJsonText(18446744073709551615U), "18446744073709551615");
    EXPECT_EQ(compactJsonText(true), "true");
    EXPECT_EQ(compactJsonText(nullptr), "null");
}

TEST(ValueText, WritesEveryByteAsTheJsonLibraryDoes) {
    for (int position = 0; position < 20; ++position) {
        for (int byte = 0; byte < 128; ++byte) {
            std::string text(20, 'x');
            text[static_cast<std::size_t>(position)] = static_cast<char>(byte);
            ASSERT_EQ(compactJsonText(text), json(text).dump()) << byte << " at " << position;
        }
    }
}

TEST(ValueText, InvalidUtf8GivesNoTextAndOneLine) {
    const OutputCapture capture(2);
    EXPECT_EQ(compactJsonText("a\xff"), "");
    EXPECT_EQ(capture.text().find("[ERROR] Dump JSON object error. EXCEPTION=[json.exception."),
              0U);
    EXPECT_EQ(capture.text().find('\n'), capture.text().size() - 1);
}
