// The answer to a request that changed nothing.

#include "requests/no_operation.h"
#include "tests/requests/request_fixture.h"

namespace {

using NoOperation = RequestFixture;

// Every blank and line end of this text is compared by front ends.
const std::string BODY = R"("{
                "error": {
                    "@Message.ExtendedInfo": [
                        {
                            "@odata.type": "#Message.v1_1_2.Message",
                            "Resolution": "Add properties in the JSON object and resubmit the request.",
                            "MessageSeverity": "Warning",
                            "Message": "The request body submitted contain no data to act upon and no changes to the resource took place.",
                            "MessageId": "Base.1.9.NoOperation"
                        }
                    ],
                    "code": "Base.1.9.NoOperation",
                    "message": "The request body submitted contain no data to act upon and no changes to the resource took place."
                }
            }")";

TEST_F(NoOperation, SetsThreeFieldsAndLeavesTheRest) {
    client.command("HSET", "q/42", "&&Location", "/c/1");
    EXPECT_EQ(
        commandsOf([this] { writeNoOperationResponse(context(), "q/42", "Base.1.9.NoOperation"); }),
        "HSET q/42 &&ReturnStatus OK_RES\n"
        "HSET q/42 &&ResponseData q/42/ResponseData\n"
        "HSET q/42/ResponseData &&RawJSON " +
            describeText(BODY) + "\n");
    EXPECT_EQ(client.hash("q/42").at("&&Location"), "/c/1");
    // 771 characters with "ODATA_TYPE" once and "MESSAGE_ID" twice, all of which were filled in.
    const std::size_t filledIn = std::string("#Message.v1_1_2.Message").size() +
                                 2 * std::string("Base.1.9.NoOperation").size();
    EXPECT_EQ(BODY.size(), 771 - 3 * std::string("MESSAGE_ID").size() + filledIn);
}

TEST_F(NoOperation, NamesAnotherMessageInBothPlaces) {
    writeNoOperationResponse(context(), "q/42", "X");
    const std::string stored = client.hash("q/42/ResponseData").at("&&RawJSON");
    EXPECT_NE(stored.find("\"MessageId\": \"X\"\n"), std::string::npos);
    EXPECT_NE(stored.find("\"code\": \"X\",\n"), std::string::npos);
    EXPECT_EQ(stored.find("Base.1.9"), std::string::npos);
}

TEST_F(NoOperation, IgnoresFieldsThatCannotBeSet) {
    client.command("SET", "q/42", "no hash");
    writeNoOperationResponse(context(), "q/42", "Base.1.9.NoOperation");
    EXPECT_EQ(client.hash("q/42/ResponseData").at("&&RawJSON"), BODY);
    EXPECT_EQ(log(), "");
}

} // namespace
