#include "platform/certificate_backend/utf8.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

TEST(PrintableLength, CountsCharacters) {
    using Row = std::pair<std::string_view, std::size_t>;
    for (const auto& [text, length] :
         {Row("", 0), Row("board-1 ~", 9), Row("M\xc3\xbcnchen", 7), Row("\xe2\x82\xac", 1),
          Row("\xf0\x9f\x94\x91", 1), Row("\xc2\xa0", 1), Row("\xf4\x8f\xbf\xbf", 1)}) {
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
