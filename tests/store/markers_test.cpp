// The hand-made matching of markers against the regular expressions that it stands for.

#include "store/markers.h"

#include <gtest/gtest.h>

#include <regex>
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

const std::vector<std::string> PIECES = {"&&ObjectRef", "&&Object", "&&Array", " ",
                                         "  ",          "a",        "\""};

std::vector<std::string> tokensOf(const std::string& text) {
    std::vector<std::string> tokens;
    std::string token;
    for (const char character : text + " ") {
        if (character != ' ') {
            token += character;
        } else if (!token.empty()) {
            tokens.push_back(token);
            token.clear();
        }
    }
    return tokens;
}

MarkerKind kindOf(const std::string& keyword) {
    return keyword == "&&Object"      ? MarkerKind::OBJECT
           : keyword == "&&Array"     ? MarkerKind::ARRAY
           : keyword == "&&ObjectRef" ? MarkerKind::REFERENCE
                                      : MarkerKind::NONE;
}

} // namespace

TEST(Markers, ReferencesMatchTheirPatterns) {
    const std::regex hashPattern("^&&ObjectRef +[^ ]+ +[^ ]+");
    const std::regex listPattern("^&&ObjectRef +[^ ]+");
    for (const std::string& text : textsOf(PIECES, 5)) {
        ASSERT_EQ(isHashReference(text), std::regex_search(text, hashPattern)) << text;
        ASSERT_EQ(isListReference(text), std::regex_search(text, listPattern)) << text;
    }
}

TEST(Markers, RawStringTextsMatchTheirPattern) {
    const std::regex pattern("^\"&&[^ ]+ +.*\"$");
    for (const std::string& text : textsOf({"\"", "&&", "&", " ", "x"}, 6)) {
        ASSERT_EQ(isRawStringText(text), std::regex_search(text, pattern)) << text;
    }
}

TEST(Markers, SplitAtBlanksAndCountTokens) {
    const std::regex structured("^(&&Object|&&Array) +");
    for (const std::string& text : textsOf(PIECES, 5)) {
        const auto tokens = tokensOf(text);
        if (text.rfind("&&", 0) == 0) {
            const Marker inHash = parseHashMarker(text);
            ASSERT_EQ(inHash.kind, tokens.size() == 3 ? kindOf(tokens[0]) : MarkerKind::NONE)
                << text;
            const Marker inList = parseListMarker(text);
            ASSERT_EQ(inList.kind, tokens.size() == 2 ? kindOf(tokens[0]) : MarkerKind::NONE)
                << text;
            if (inHash.kind != MarkerKind::NONE) {
                ASSERT_EQ(inHash.member, tokens[1]);
                ASSERT_EQ(inHash.target, tokens[2]);
            }
            if (inList.kind != MarkerKind::NONE) {
                ASSERT_EQ(inList.target, tokens[1]);
            }
        }
        const bool hasNestedKey = std::regex_search(text, structured) && tokens.size() == 2;
        ASSERT_EQ(nestedKeyOf(text), hasNestedKey ? tokens[1] : "") << text;
    }
}

TEST(Markers, PrefixIsTwoAmpersands) {
    EXPECT_TRUE(hasMarkerPrefix("&&"));
    EXPECT_TRUE(hasMarkerPrefix("&&Foo"));
    EXPECT_FALSE(hasMarkerPrefix("&Foo"));
    EXPECT_FALSE(hasMarkerPrefix(" &&"));
    EXPECT_FALSE(hasMarkerPrefix(""));
}

// A pattern matcher that recurses for every character would not come back from these.
TEST(Markers, LongTextsAreMatchedInConstantSpace) {
    const std::string megabyte(1 << 20, 'x');
    EXPECT_TRUE(isHashReference("&&ObjectRef " + megabyte + " " + megabyte));
    EXPECT_TRUE(isListReference("&&ObjectRef " + megabyte));
    EXPECT_TRUE(isRawStringText("\"&&" + megabyte + " " + megabyte + "\""));
    EXPECT_EQ(parseHashMarker("&&Object a " + megabyte).target, megabyte);
}
