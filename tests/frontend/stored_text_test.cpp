// Texts between JSON and the stored form.

#include "frontend/exchange/stored_text.h"
#include "frontend/records/event_script.h"
#include "store/value_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

TEST(StoredText, IsReadByTheDaemonAsExactlyTheSameText) {
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
}

TEST(StoredText, KeepsLineEndsAndEscapesQuotesAndBackslashesOnly) {
    EXPECT_EQ(storedText("a\n\"b\"\\"), "\"a\n\\\"b\\\"\\\\\"");
}

struct ValueCase {
    std::string stored;
    nlohmann::json value;
};

TEST(StoredValue, UnderstandsWhatDaemonAndFrontEndWrite) {
    const std::vector<ValueCase> cases = {
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
    for (const ValueCase& sample : cases) {
        EXPECT_EQ(storedValue(sample.stored), sample.value) << sample.stored;
    }
}

TEST(StoredString, IsEmptyForWhatIsNoText) {
    EXPECT_EQ(storedString("\"a\""), "a");
    EXPECT_EQ(storedString("7"), "");
}

TEST(PrintableText, HoldsNoControlCharacters) {
    EXPECT_EQ(printableText("a\n\t\x1b[31m\x7f end"), "a\\n\\t\\x1b[31m\\x7f end");
    EXPECT_EQ(printableText("Grüße"), "Grüße");
}

TEST(ValidUtf8, IsToldFromOtherBytes) {
    EXPECT_TRUE(isValidUtf8("Grüße"));
    EXPECT_FALSE(isValidUtf8("Gr\xfc\xdf"));
}

TEST(ResourceEvent, IsAnObjectWithOperationAndUri) {
    const auto event =
        parseEvent(R"({"Operation":"add","URI":"/x","Type":"Certificate","EventGroupId":"7"})");
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->operation, "add");
    EXPECT_EQ(event->uri, "/x");
    EXPECT_EQ(event->type, "Certificate");
    EXPECT_EQ(event->groupId, "7");
    for (const char* text : {"", "add /x", "[]", "{}", R"({"Operation":"add"})", R"({"URI":5})"}) {
        EXPECT_FALSE(parseEvent(text).has_value()) << text;
    }
}

} // namespace
