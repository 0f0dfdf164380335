// What clients see of the daemon's events.

#include "frontend/web/service/event_document.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

const std::string URI = "/redfish/v1/Chassis/1/Certificates/1";

TEST(EventDocument, SaysWhatHappenedToWhichResource) {
    struct Row {
        std::string operation;
        std::string type;
        std::string messageId;
        std::string message;
    };
    const std::string subject = "The resource " + URI;
    for (const Row& row : {Row{"add", "ResourceAdded", "ResourceEvent.1.0.ResourceCreated",
                               subject + " was created."},
                           Row{"change", "ResourceUpdated", "ResourceEvent.1.0.ResourceChanged",
                               subject + " was changed."},
                           Row{"delete", "ResourceRemoved", "ResourceEvent.1.0.ResourceRemoved",
                               subject + " was removed."}}) {
        const auto facts = factsOf({row.operation, URI, "Certificate", "12"});
        ASSERT_TRUE(facts.has_value()) << row.operation;
        json document = eventDocument(*facts, 7);
        const json moment = document["Events"][0]["EventTimestamp"];
        EXPECT_TRUE(moment.get<std::string>().ends_with("Z"));
        const json expected = {{"@odata.type", "#Event.v1_7_0.Event"},
                               {"Id", "7"},
                               {"Name", "Resource Event"},
                               {"Context", ""},
                               {"Events@odata.count", 1},
                               {"Events",
                                {{{"EventGroupId", 12},
                                  {"EventId", "7"},
                                  {"EventTimestamp", moment},
                                  {"EventType", row.type},
                                  {"MemberId", "1"},
                                  {"Message", row.message},
                                  {"MessageArgs", json::array()},
                                  {"MessageId", row.messageId},
                                  {"MessageSeverity", "OK"},
                                  {"OriginOfCondition", {{"@odata.id", URI}}},
                                  {"Severity", "OK"}}}}};
        EXPECT_EQ(document, expected);
    }
}

TEST(EventDocument, HasNoGroupWhenTheGroupIsNoNumber) {
    for (const std::string group : {"", "x", "1x", "1.5", "99999999999999999999"}) {
        const auto facts = factsOf({"add", URI, "Certificate", group});
        EXPECT_FALSE(eventDocument(*facts, 1)["Events"][0].contains("EventGroupId")) << group;
    }
}

TEST(EventDocument, OtherOperationsAndWhatIsNoResourceOfTheServiceAreNone) {
    EXPECT_FALSE(factsOf({"Add", URI, "", ""}).has_value());
    EXPECT_FALSE(factsOf({"read", URI, "", ""}).has_value());
    EXPECT_FALSE(factsOf({"add", "&&" + URI, "", ""}).has_value());
    EXPECT_FALSE(factsOf({"add", "/redfish/v2/x", "", ""}).has_value());
}

TEST(EventDocument, StandsInTheStreamAsOneIdAndOneLineOfData) {
    const json document = {{"Text", "two\nlines"}};
    EXPECT_EQ(eventStreamText(document, 3), "id: 3\ndata: {\"Text\":\"two\\nlines\"}\n\n");
    EXPECT_EQ(eventStreamComment("here"), ": here\n\n");
}

} // namespace
