#include "platform/certificate_backend/utf8.h"

#include <gtest/gtest.h>

TEST(Utf8, CountsTheCharactersOfPrintableText) {
    EXPECT_EQ(printableLength(""), 0U);
    EXPECT_EQ(printableLength("board-1 ~"), 9U);
    EXPECT_EQ(printableLength("M\xc3\xbcnchen"), 7U);
    EXPECT_EQ(printableLength("\xe2\x82\xac"), 1U);
    EXPECT_EQ(printableLength("\xf0\x9f\x94\x91"), 1U);
    EXPECT_EQ(printableLength("\xc2\xa0"), 1U);
    EXPECT_EQ(printableLength("\xf4\x8f\xbf\xbf"), 1U);
}

TEST(Utf8, RefusesControlCharacters) {
    for (const std::string& text :
         {std::string("a\nb"), std::string("\t"), std::string("a\0b", 3), std::string("\x7f"),
          std::string("\x1b[31m"), std::string("\xc2\x85")}) {
        EXPECT_EQ(printableLength(text), std::nullopt) << testing::PrintToString(text);
    }
}

TEST(Utf8, RefusesWhatIsNotUtf8) {
    for (const char* text :
         {"\x80", "\xbf", "\xc3", "\xc3(", "\xc0\xaf", "\xc1\xbf", "\xe0\x9f\xbf", "\xe2\x82",
          "\xed\xa0\x80", "\xed\xbf\xbf", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80",
          "\xf8\x88\x80\x80\x80", "\xff", "M\xfcnchen"}) {
        EXPECT_EQ(printableLength(text), std::nullopt) << testing::PrintToString(text);
    }
}

TEST(Utf8, ShowsShortTextAsItIs) {
    EXPECT_EQ(shownInMessage(""), "");
    EXPECT_EQ(shownInMessage("M\xc3\xbcnchen"), "M\xc3\xbcnchen");
    EXPECT_EQ(shownInMessage(std::string(64, 'x')), std::string(64, 'x'));
}

TEST(Utf8, CutsLongTextBetweenCharacters) {
    std::string sixtyFour;
    for (int i = 0; i < 64; ++i) {
        sixtyFour += "\xc3\xbc";
    }
    EXPECT_EQ(shownInMessage(sixtyFour), sixtyFour);
    EXPECT_EQ(shownInMessage(sixtyFour + "!"), sixtyFour + "...");
    EXPECT_EQ(shownInMessage(std::string(1 << 20, 'x')), std::string(64, 'x') + "...");
}

TEST(Utf8, DoesNotShowWhatIsNoText) {
    EXPECT_EQ(shownInMessage("\xff\xfe"), "(not a text)");
    EXPECT_EQ(shownInMessage("a\nb"), "(not a text)");
}
