// The answer to a request that changed nothing.

#include "requests/no_operation.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

namespace {

using NoOperation = RequestFixture;

// Every blank and line end of this text is compared by front ends.
const std::string BODY =
    "\"{\n"
    "                \"error\": {\n"
    "                    \"@Message.ExtendedInfo\": [\n"
    "                        {\n"
    "                            \"@odata.type\": \"#Message.v1_1_2.Message\",\n"
    "                            \"Resolution\": \"Add properties in the JSON object and resubmit "
    "the request.\",\n"
    "                            \"MessageSeverity\": \"Warning\",\n"
    "                            \"Message\": \"The request body submitted contain no data to act "
    "upon and no changes to the resource took place.\",\n"
    "                            \"MessageId\": \"Base.1.9.NoOperation\"\n"
    "                        }\n"
    "                    ],\n"
    "                    \"code\": \"Base.1.9.NoOperation\",\n"
    "                    \"message\": \"The request body submitted contain no data to act upon and "
    "no changes to the resource took place.\"\n"
    "                }\n"
    "            }\"";

TEST_F(NoOperation, BodyIsTheTemplateWithTypeAndMessageFilledIn) {
    writeNoOperationResponse(context(), "q/42", "Base.1.9.NoOperation");
    const std::string stored = client.hash("q/42/ResponseData").at("&&RawJSON");
    EXPECT_EQ(stored, BODY);
    // 771 characters with "ODATA_TYPE" once and "MESSAGE_ID" twice.
    const std::size_t filledIn = std::string("#Message.v1_1_2.Message").size() +
                                 2 * std::string("Base.1.9.NoOperation").size();
    EXPECT_EQ(stored.size(), 771 - 3 * std::string("MESSAGE_ID").size() + filledIn);
}

TEST_F(NoOperation, AnotherMessageStandsInBothPlaces) {
    writeNoOperationResponse(context(), "q/42", "X");
    const std::string stored = client.hash("q/42/ResponseData").at("&&RawJSON");
    EXPECT_NE(stored.find("\"MessageId\": \"X\"\n"), std::string::npos);
    EXPECT_NE(stored.find("\"code\": \"X\",\n"), std::string::npos);
    EXPECT_EQ(stored.find("Base.1.9"), std::string::npos);
}

TEST_F(NoOperation, SetsThreeFieldsAndLeavesTheRest) {
    client.command("HSET", "q/42", "&&Location", "/c/1");
    CommandMonitor monitor(server);
    writeNoOperationResponse(context(), "q/42", "Base.1.9.NoOperation");
    EXPECT_EQ(monitor.commands(), (Commands{{"HSET", "q/42", "&&ReturnStatus", "OK_RES"},
                                            {"HSET", "q/42", "&&ResponseData", "q/42/ResponseData"},
                                            {"HSET", "q/42/ResponseData", "&&RawJSON", BODY}}));
    EXPECT_EQ(client.hash("q/42").at("&&Location"), "/c/1");
}

TEST_F(NoOperation, FailedCommandsAreIgnored) {
    client.command("SET", "q/42", "no hash");
    writeNoOperationResponse(context(), "q/42", "Base.1.9.NoOperation");
    EXPECT_EQ(client.hash("q/42/ResponseData").at("&&RawJSON"), BODY);
    EXPECT_EQ(client.command("GET", "q/42").text, "no hash");
    EXPECT_EQ(log(), "");
}

} // namespace
