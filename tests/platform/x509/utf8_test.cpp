#include "platform/x509/utf8.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

TEST(PrintableLength, CountsCharacters) {
    using Row = std::pair<std::string_view, std::size_t>;
    for (const auto& [text, length] :
         {Row("", 0), Row("board-1 ~", 9), Row("M\xc3\xbcnchen", 7), Row("\xe2\x82\xac", 1),
          Row("\xf0\x9f\x94\x91", 1), Row("\xc2\xa0", 1), Row("\xf4\x8f\xbf\xbd", 1)}) {
        EXPECT_EQ(printableLength(text), length) << testing::PrintToString(text);
    }
}

TEST(PrintableLength, IsNothingForControlCharactersAndWhatIsNotUtf8) {
    for (const std::string_view text : {"a\nb"sv,
                                        "\t"sv,
                                        "a\0b"sv,
                                        "\x7f"sv,
                                        "\x1b[31m"sv,
                                        "\xc2\x85"sv,
                                        "\x80"sv,
                                        "\xbf"sv,
                                        "\xc3"sv,
                                        "\xc3("sv,
                                        "\xc0\xaf"sv,
                                        "\xc1\xbf"sv,
                                        "\xe0\x9f\xbf"sv,
                                        "\xe2\x82"sv,
                                        "\xed\xa0\x80"sv,
                                        "\xed\xbf\xbf"sv,
                                        "\xf0\x8f\xbf\xbf"sv,
                                        "\xf4\x90\x80\x80"sv,
                                        "\xf8\x88\x80\x80\x80"sv,
                                        "\xff"sv,
                                        "M\xfcnchen"sv}) {
        EXPECT_EQ(printableLength(text), std::nullopt) << testing::PrintToString(text);
    }
}

TEST(MisleadingCharacters, AreNotPrintableAndShownAsTheirBytes) {
    for (const auto& [text, escaped] : std::vector<std::pair<std::string, std::string>>{
             {"\xd8\x9c", "\\D8\\9C"},
             {"\xe2\x80\x8e", "\\E2\\80\\8E"},
             {"\xe2\x80\x8f", "\\E2\\80\\8F"},
             {"\xe2\x80\xa8", "\\E2\\80\\A8"},
             {"\xe2\x80\xa9", "\\E2\\80\\A9"},
             {"\xe2\x80\xaa", "\\E2\\80\\AA"},
             {"\xe2\x80\xae", "\\E2\\80\\AE"},
             {"\xe2\x81\xa6", "\\E2\\81\\A6"},
             {"\xe2\x81\xa9", "\\E2\\81\\A9"},
             {"\xef\xb7\x90", "\\EF\\B7\\90"},
             {"\xef\xb7\xaf", "\\EF\\B7\\AF"},
             {"\xef\xbf\xbe", "\\EF\\BF\\BE"},
             {"\xf0\x9f\xbf\xbf", "\\F0\\9F\\BF\\BF"},
             {"\xf4\x8f\xbf\xbf", "\\F4\\8F\\BF\\BF"},
         }) {
        EXPECT_EQ(printableLength("a" + text), std::nullopt) << escaped;
        EXPECT_EQ(withMisleadingEscaped("a" + text + "b"), "a" + escaped + "b");
    }
}

TEST(MisleadingCharacters, AreNoneBesideThem) {
    for (const std::string_view text :
         {""sv, "a\\b"sv, "\xd8\x9d"sv, "\xe2\x80\x8d"sv, "\xe2\x80\x90"sv, "\xe2\x80\xaf"sv,
          "\xe2\x81\xa5"sv, "\xe2\x81\xaa"sv, "\xef\xb7\x8f"sv, "\xef\xb7\xb0"sv, "\xef\xbf\xbd"sv,
          "\xf4\x8f\xbf\xbd"sv, "\xd7\xa9"sv}) {
        EXPECT_NE(printableLength(text), std::nullopt) << testing::PrintToString(text);
        EXPECT_EQ(withMisleadingEscaped(text), text);
    }
    EXPECT_EQ(withMisleadingEscaped("\xff\n\xe2\x80"), "\xff\n\xe2\x80");
}

TEST(ShownInMessage, IsTheTextCutBetweenCharactersOrAReplacement) {
    std::string umlauts;
    for (int i = 0; i < 64; ++i) {
        umlauts += "\xc3\xbc";
    }
    for (const auto& [text, shown] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"M\xc3\xbcnchen", "M\xc3\xbcnchen"},
             {std::string(64, 'x'), std::string(64, 'x')},
             {umlauts, umlauts},
             {umlauts + "!", umlauts + "..."},
             {std::string(1 << 20, 'x'), std::string(64, 'x') + "..."},
             {"\xff\xfe", "(not a text)"},
             {"a\nb", "(not a text)"},
         }) {
        EXPECT_EQ(shownInMessage(text), shown);
    }
}

TEST(UnprintableCharacters, AreShownAsTheirBytes) {
    for (const auto& [text, shown] : std::vector<std::pair<std::string_view, std::string>>{
             {""sv, ""},
             {"M\xc3\xbcnchen, a\\b"sv, "M\xc3\xbcnchen, a\\b"},
             {"good.example\0.evil"sv, "good.example\\00.evil"},
             {"\x1b[31m\r\n"sv, "\\1B[31m\\0D\\0A"},
             {"\xc2\x85"sv, "\\C2\\85"},
             {"a\xe2\x80\xae"
              "b"sv,
              "a\\E2\\80\\AEb"},
             {"\xff\xc3("sv, "\\FF\\C3("},
         }) {
        EXPECT_EQ(withUnprintableEscaped(text), shown);
    }
}
