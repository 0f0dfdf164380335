// The hand-made matching of markers against the regular expressions that it stands for.

#include "store/markers.h"
#include "tests/models/marker_rules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// All texts of up to so many of these pieces.
std::vector<std::string> textsOf(const std::vector<std::string>& pieces, int length) {
    std::vector<std::string> texts = {""};
    std::size_t start = 0;
    for (int i = 0; i < length; ++i) {
        const std::size_t end = texts.size();
        for (; start < end; ++start) {
            for (const std::string& piece : pieces) {
                texts.push_back(texts[start] + piece);
            }
        }
    }
    return texts;
}

} // namespace

TEST(Markers, EveryShortTextMatchesAsThePatternsDo) {
    const std::vector<std::string> markerPieces = {"&&ObjectRef", "&&Object", "&&Array", " ",
                                                   "  ",          "a",        "\""};
    for (const std::string& text : textsOf(markerPieces, 5)) {
        ASSERT_EQ(brokenMarkerRule(text), "") << text;
    }
    for (const std::string& text : textsOf({"\"", "&&", "&", " ", "x"}, 6)) {
        ASSERT_EQ(brokenMarkerRule(text), "") << text;
    }
}

// A pattern matcher that recurses for every character would not come back from these.
TEST(Markers, LongTextsAreMatchedInConstantSpace) {
    const std::string megabyte(1 << 20, 'x');
    EXPECT_TRUE(isHashReference("&&ObjectRef " + megabyte + " " + megabyte));
    EXPECT_TRUE(isListReference("&&ObjectRef " + megabyte));
    EXPECT_TRUE(isRawStringText("\"&&" + megabyte + " " + megabyte + "\""));
    EXPECT_EQ(parseHashMarker("&&Object a " + megabyte).target, megabyte);
}

// Blanks before the keyword were once skipped like those behind it.
TEST(Markers, AnEntryThatBeginsWithABlankNamesNoNestedKey) {
    EXPECT_EQ(nestedKeyOf(" &&Array 3 "), "");
    EXPECT_EQ(nestedKeyOf(" &&Object k"), "");
    EXPECT_EQ(nestedKeyOf("&&Object k"), "k");
}
