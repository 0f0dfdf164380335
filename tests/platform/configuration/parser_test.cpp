// The configuration file's syntax, as tables of texts with the value that they give.

#include "platform/configuration/parser.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

struct GoodText {
    std::string_view name;
    std::string_view text;
    std::string_view value;
};

void PrintTo(const GoodText& row, std::ostream* out) {
    *out << row.name;
}

const GoodText GOOD_TEXTS[] = {
    {"Plain", "KEY=value\n", "value"},
    {"NoLineFeedAtTheEnd", "KEY=value", "value"},
    {"EmptyValue", "KEY=\n", ""},
    {"EmptyValueAtTheEnd", "KEY=", ""},
    {"ValueOfBlanks", "KEY= \t \n", ""},
    {"BlanksAround", " \t KEY \t = \t value \t \n", "value"},
    {"BlanksWithin", "KEY=a  b\tc\n", "a  b\tc"},
    {"CarriageReturns", "OTHER=1\r\nKEY=value\r\nLAST=2\r\n", "value"},
    {"EmptyValueWithCarriageReturn", "KEY=\r\n", ""},
    {"SeparatorInValue", "KEY=a=b==c\n", "a=b==c"},
    {"ValueBeginsWithSeparator", "KEY==a\n", "=a"},
    {"HashInValue", "KEY=/var/log/a#b # c\n", "/var/log/a#b # c"},
    {"QuotationMarksStay", "KEY=\"a b\"\n", "\"a b\""},
    {"PercentSignsStay", "KEY=%s%n%d\n", "%s%n%d"},
    {"FirstOfTwo", "KEY=first\nKEY=second\n", "first"},
    {"FirstOfTwoIsEmpty", "KEY=\nKEY=second\n", ""},
    {"AfterComment", "# KEY=no\n  #KEY=no\nKEY=yes\n", "yes"},
    {"AfterEmptyLines", "\n\r\n  \nKEY=value\n", "value"},
    {"AfterLineWithoutSeparator", "KEY\nKEY value\nKEY=value\n", "value"},
    {"AfterLineWithoutKey", "=no\nKEY=value\n", "value"},
    {"AfterLongerAndShorterKeys", "KEY2=no\nKE=no\nMY_KEY=no\nKEY=value\n", "value"},
    {"AfterKeyInOtherCase", "key=no\nKey=no\nKEY=value\n", "value"},
    {"AfterKeyInAnothersValue", "OTHER=KEY=no\nKEY=value\n", "value"},
    {"ByteOrderMark", "\xEF\xBB\xBFKEY=value\n", "value"},
    {"Utf8Value", "KEY=gr\xC3\xBC\xC3\x9F\n", "gr\xC3\xBC\xC3\x9F"},
    {"BytesThatAreNoUtf8", "\xFF\xFE=\x80\nKEY=\xFF\n", "\xFF"},
    {"NulInEarlierLine", "A\0KEY=no\nKEY=value\n"sv, "value"},
    {"NulInValue", "KEY=a\0b\n"sv, "a\0b"sv},
};

const GoodText TEXTS_WITHOUT_KEY[] = {
    {"Empty", "", ""},
    {"LineFeedsOnly", "\n\n\n", ""},
    {"Comment", "#KEY=value\n", ""},
    {"IndentedComment", " \t#KEY=value\n", ""},
    {"KeyOnly", "KEY", ""},
    {"OtherSeparator", "KEY:value\n", ""},
    {"OtherCase", "key=value\n", ""},
    {"LongerKey", "KEYS=value\n", ""},
    {"ShorterKey", "KE=value\n", ""},
    {"BlankInKey", "K EY=value\n", ""},
    {"NulAfterKey", "KEY\0=value\n"sv, ""},
    {"NulBeforeKey", "\0KEY=value\n"sv, ""},
    {"ByteOrderMarkLater", "\n\xEF\xBB\xBFKEY=value\n", ""},
    {"CarriageReturnAloneEndsNoLine", "A=1\rKEY=value\r", ""},
};

class GoodConfigText : public testing::TestWithParam<GoodText> {};
class ConfigTextWithoutKey : public testing::TestWithParam<GoodText> {};

std::string rowName(const testing::TestParamInfo<GoodText>& info) {
    return std::string(info.param.name);
}

} // namespace

TEST_P(GoodConfigText, GivesTheValue) {
    const auto value = findConfigValue(GetParam().text, "=", "KEY");
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(*value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Table, GoodConfigText, testing::ValuesIn(GOOD_TEXTS), rowName);

TEST_P(ConfigTextWithoutKey, GivesNothing) {
    EXPECT_EQ(findConfigValue(GetParam().text, "=", "KEY"), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Table, ConfigTextWithoutKey, testing::ValuesIn(TEXTS_WITHOUT_KEY),
                         rowName);

TEST(ConfigParser, OtherSeparatorsSeparate) {
    EXPECT_EQ(findConfigValue("KEY:a=b\n", ":", "KEY"), "a=b");
    EXPECT_EQ(findConfigValue("KEY   value\n", " ", "KEY"), "value");
    EXPECT_EQ(findConfigValue("KEY:=:value\n", ":=", "KEY"), ":value");
    EXPECT_EQ(findConfigValue("KEY=value\n", ":=", "KEY"), std::nullopt);
}

TEST(ConfigParser, EmptySeparatorOrKeyFindsNothing) {
    EXPECT_EQ(findConfigValue("KEY=value\n", "", "KEY"), std::nullopt);
    EXPECT_EQ(findConfigValue("KEY\n", "", "KEY"), std::nullopt);
    EXPECT_EQ(findConfigValue("=value\n", "=", ""), std::nullopt);
}

TEST(ConfigParser, LongLinesAreReadWhole) {
    const std::string longValue(1'000'000, 'x');
    const std::string text = "OTHER=" + longValue + "\nLONG=" + longValue + "\nKEY=value\n";
    EXPECT_EQ(findConfigValue(text, "=", "LONG"), longValue);
    EXPECT_EQ(findConfigValue(text, "=", "KEY"), "value");
}

// Whatever the bytes: the value lies within the text, on one line, after the key, and it is found
// again when it stands alone.
TEST(ConfigParser, AnyBytesGiveAValueThatIsFoundAgain) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    constexpr std::string_view ALPHABET = "KKEY==# \t\r\n\n\0x"sv;
    int found = 0;
    for (int run = 0; run < 20'000; ++run) {
        std::string text = run % 2 == 0 ? "KEY=" : "";
        for (auto length = random() % 40; length > 0; --length) {
            text += ALPHABET[random() % ALPHABET.size()];
        }
        const auto value = findConfigValue(text, "=", "KEY");
        if (!value) {
            continue;
        }
        ++found;
        const auto offset = static_cast<std::size_t>(value->data() - text.data());
        ASSERT_GE(offset, 4U);
        ASSERT_LE(offset + value->size(), text.size());
        ASSERT_EQ(value->find('\n'), std::string_view::npos);
        const std::string alone = "KEY=" + std::string(*value) + "\n";
        ASSERT_EQ(findConfigValue(alone, "=", "KEY"), *value);
    }
    EXPECT_GE(found, 10'000);
}
