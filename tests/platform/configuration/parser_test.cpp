// The configuration file's syntax, as tables of texts with the value that they give.

#include "platform/configuration/parser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace std::string_view_literals;

TEST(ConfigParser, FindsTheFirstValueOfTheKey) {
    constexpr std::pair<std::string_view, std::string_view> ROWS[] = {
        {"KEY=value\n", "value"},
        {"KEY=value", "value"},
        {"KEY=\n", ""},
        {"KEY=", ""},
        {"KEY= \t \n", ""},
        {" \t KEY \t = \t value \t \n", "value"},
        {"KEY=a  b\tc\n", "a  b\tc"},
        {"OTHER=1\r\nKEY=value\r\nLAST=2\r\n", "value"},
        {"KEY=\r\n", ""},
        {"KEY=a=b==c\n", "a=b==c"},
        {"KEY==a\n", "=a"},
        {"KEY=/var/log/a#b # c\n", "/var/log/a#b # c"},
        {"KEY=\"a b\"\n", "\"a b\""},
        {"KEY=%s%n%d\n", "%s%n%d"},
        {"KEY=first\nKEY=second\n", "first"},
        {"KEY=\nKEY=second\n", ""},
        {"# KEY=no\n  #KEY=no\nKEY=yes\n", "yes"},
        {"\n\r\n  \nKEY=value\n", "value"},
        {"KEY\nKEY value\nKEY=value\n", "value"},
        {"=no\nKEY=value\n", "value"},
        {"KEY2=no\nKE=no\nMY_KEY=no\nKEY=value\n", "value"},
        {"key=no\nKey=no\nKEY=value\n", "value"},
        {"OTHER=KEY=no\nKEY=value\n", "value"},
        {"\xEF\xBB\xBFKEY=value\n", "value"}, // a byte order mark
        {"KEY=gr\xC3\xBC\xC3\x9F\n", "gr\xC3\xBC\xC3\x9F"},
        {"\xFF\xFE=\x80\nKEY=\xFF\n", "\xFF"},
        {"A\0KEY=no\nKEY=value\n"sv, "value"},
        {"KEY=a\0b\n"sv, "a\0b"sv},
    };
    for (const auto& [text, value] : ROWS) {
        EXPECT_EQ(findConfigValue(text, "=", "KEY"), value) << testing::PrintToString(text);
    }
}

TEST(ConfigParser, FindsNothingWhenNoLineSetsTheKey) {
    for (const std::string_view text :
         {""sv, "\n\n\n"sv, "#KEY=value\n"sv, " \t#KEY=value\n"sv, "KEY"sv, "KEY:value\n"sv,
          "key=value\n"sv, "KEYS=value\n"sv, "KE=value\n"sv, "K EY=value\n"sv, "KEY\0=value\n"sv,
          "\0KEY=value\n"sv, "\n\xEF\xBB\xBFKEY=value\n"sv, "A=1\rKEY=value\r"sv}) {
        EXPECT_EQ(findConfigValue(text, "=", "KEY"), std::nullopt) << testing::PrintToString(text);
    }
}

TEST(ConfigParser, TakesAnySeparatorButAnEmptyOne) {
    EXPECT_EQ(findConfigValue("KEY:a=b\n", ":", "KEY"), "a=b");
    EXPECT_EQ(findConfigValue("KEY   value\n", " ", "KEY"), "value");
    EXPECT_EQ(findConfigValue("KEY:=:value\n", ":=", "KEY"), ":value");
    EXPECT_EQ(findConfigValue("KEY=value\n", ":=", "KEY"), std::nullopt);
    EXPECT_EQ(findConfigValue("KEY=value\n", "", "KEY"), std::nullopt);
    EXPECT_EQ(findConfigValue("KEY\n", "", "KEY"), std::nullopt);
    EXPECT_EQ(findConfigValue("=value\n", "=", ""), std::nullopt);
}

TEST(ConfigParser, ReadsLongLinesWhole) {
    const std::string longValue(1'000'000, 'x');
    const std::string text = "OTHER=" + longValue + "\nLONG=" + longValue + "\nKEY=value\n";
    EXPECT_EQ(findConfigValue(text, "=", "LONG"), longValue);
    EXPECT_EQ(findConfigValue(text, "=", "KEY"), "value");
}
