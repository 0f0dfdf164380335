// Texts between JSON and the stored form.

#include "frontend/exchange/stored_text.h"
#include "store/value_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

TEST(StoredText, TheDaemonReadsExactlyTheSameText) {
    const std::vector<std::string> texts = {
        "plain",
        "",
        "two\nlines\n",
        "carriage\r\nreturn",
        "a \"quoted\" word",
        "a back\\slash and \\n as two characters",
        "\\",
        "tab\tand bell\a",
        "Grüße",
        "-----BEGIN CERTIFICATE-----\nTUlJ\n-----END CERTIFICATE-----\n",
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(decodeValueText(storedText(text)), nlohmann::json(text)) << text;
        EXPECT_EQ(storedValue(storedText(text)), nlohmann::json(text)) << text;
    }
    EXPECT_EQ(storedText("a\n\"b\"\\"), "\"a\n\\\"b\\\"\\\\\"");
}

TEST(StoredText, ValuesOfDaemonAndFrontEndAreUnderstood) {
    struct Row {
        std::string stored;
        nlohmann::json value;
    };
    const std::vector<Row> rows = {
        {R"("two\nlines")", "two\nlines"},
        {"\"two\nlines\"", "two\nlines"},
        {R"("a \"b\" \\")", "a \"b\" \\"},
        {"17", 17},
        {"-1.5", -1.5},
        {"true", true},
        {"null", nullptr},
        {"plain", "plain"},
        {"12abc", 12},
        {"", ""},
        {"{\"a\":1}", "{\"a\":1}"},
        {"[1]", "[1]"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(storedValue(row.stored), row.value) << row.stored;
    }
    EXPECT_EQ(storedString("\"a\""), "a");
    EXPECT_EQ(storedString("7"), "");
}

TEST(StoredText, OtherBytesAreNotTakenForUtf8) {
    EXPECT_TRUE(isValidUtf8("Grüße"));
    EXPECT_FALSE(isValidUtf8("Gr\xfc\xdf"));
}

} // namespace
