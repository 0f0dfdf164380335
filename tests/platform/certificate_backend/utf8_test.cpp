#include "platform/certificate_backend/utf8.h"

#include <gtest/gtest.h>

TEST(PrintableLength, CountsCharacters) {
    for (const auto& [text, length] : std::vector<std::pair<std::string, std::size_t>>{
             {"", 0},
             {"board-1 ~", 9},
             {"M\xc3\xbcnchen", 7},
             {"\xe2\x82\xac", 1},
             {"\xf0\x9f\x94\x91", 1},
             {"\xc2\xa0", 1},
             {"\xf4\x8f\xbf\xbf", 1},
         }) {
        EXPECT_EQ(printableLength(text), length) << testing::PrintToString(text);
    }
}

TEST(PrintableLength, IsNothingForControlCharactersAndWhatIsNotUtf8) {
    for (const std::string& text : std::vector<std::string>{"a\nb",
                                                            "\t",
                                                            {"a\0b", 3},
                                                            "\x7f",
                                                            "\x1b[31m",
                                                            "\xc2\x85",
                                                            "\x80",
                                                            "\xbf",
                                                            "\xc3",
                                                            "\xc3(",
                                                            "\xc0\xaf",
                                                            "\xc1\xbf",
                                                            "\xe0\x9f\xbf",
                                                            "\xe2\x82",
                                                            "\xed\xa0\x80",
                                                            "\xed\xbf\xbf",
                                                            "\xf0\x8f\xbf\xbf",
                                                            "\xf4\x90\x80\x80",
                                                            "\xf8\x88\x80\x80\x80",
                                                            "\xff",
                                                            "M\xfcnchen"}) {
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
