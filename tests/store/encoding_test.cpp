// One member or element, and its marker.

#include "store/resource_encoding.h"
#include "store/sequence_id.h"
#include "tests/support/output_capture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

std::string marker(MarkerMode mode, const json& value, std::string nestedKey) {
    return makeMarker(mode, value, nestedKey, "Name");
}

} // namespace

TEST(Encoding, ScalarsHaveOnlyTheirText) {
    std::int64_t id = 7;
    const MemberEntry entry = makeMemberEntry("/x", id, "Name", "text");
    EXPECT_EQ(entry.valueText, "\"text\"");
    EXPECT_EQ(entry.memberName, "Name");
    EXPECT_EQ(entry.nestedKey, "");
    EXPECT_EQ(id, 7);
}

TEST(Encoding, ObjectMembersAreNamedAfterTheMember) {
    std::int64_t id = NO_SEQUENCE_ID;
    const MemberEntry entry = makeMemberEntry("/redfish/v1/X", id, "Status", json::object());
    EXPECT_EQ(entry.valueText, "");
    EXPECT_EQ(entry.nestedKey, "/redfish/v1/X/Status");
    EXPECT_EQ(id, NO_SEQUENCE_ID);
}

TEST(Encoding, ArrayElementsTakeASequenceId) {
    std::int64_t id = 42;
    EXPECT_EQ(makeMemberEntry("&&/x/A", id, "0", json::array()).nestedKey, "&&/x/A/42");
    EXPECT_EQ(id, 43);
    id = INT64_MAX;
    EXPECT_EQ(makeMemberEntry("&&/x/A", id, "0", json::array()).nestedKey,
              "&&/x/A/9223372036854775807");
    EXPECT_EQ(id, 1);
}

TEST(Encoding, MarkersHaveThreeTokensInAHash) {
    EXPECT_EQ(marker(MarkerMode::OBJECT_MEMBER, json::object(), "/x/Name"),
              "&&Object Name &&/x/Name");
    EXPECT_EQ(marker(MarkerMode::OBJECT_MEMBER, json::array(), "&&/x/Name"),
              "&&Array Name &&/x/Name");
    EXPECT_EQ(marker(MarkerMode::OBJECT_MEMBER, {{"@odata.id", "/y"}}, "/x/Name"),
              "&&ObjectRef Name /y");
}

TEST(Encoding, MarkersHaveTwoTokensInAList) {
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, {{"a", 1}}, "/x/1"), "&&Object &&/x/1");
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, json::array({1}), "/x/1"), "&&Array &&/x/1");
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, {{"@odata.id", "/y"}}, "/x/1"), "&&ObjectRef /y");
}

TEST(Encoding, TheNestedKeyGetsItsPrefixOnce) {
    std::string key = "/x";
    (void)makeMarker(MarkerMode::ARRAY_ELEMENT, json::object(), key, "");
    EXPECT_EQ(key, "&&/x");
    (void)makeMarker(MarkerMode::ARRAY_ELEMENT, json::object(), key, "");
    EXPECT_EQ(key, "&&/x");
}

TEST(Encoding, OnlyALoneUriStringIsAReference) {
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, {{"@odata.id", "/y"}, {"Name", "n"}}, "/x/1"),
              "&&Object &&/x/1");
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, {{"@odata.id", 5}}, "/x/1"), "&&Object &&/x/1");
    EXPECT_EQ(marker(MarkerMode::ARRAY_ELEMENT, {{"Name", "/y"}}, "/x/1"), "&&Object &&/x/1");
}

TEST(Encoding, RawElementsLoseTheirQuotes) {
    EXPECT_EQ(elementText("&&Foo bar", "\"&&Foo bar\""), "&&Foo bar");
    EXPECT_EQ(elementText("&&Foo", "\"&&Foo\""), "\"&&Foo\"");
    EXPECT_EQ(elementText("&&Foo \"q\"", R"("&&Foo \"q\"")"), "&&Foo \"q\"");
    EXPECT_EQ(elementText(5, "5"), "5");
}
