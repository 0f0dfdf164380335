// Logging in and out over HTTPS.

#include "tests/web/web_process.h"

#include <chrono>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string SERVICE = "/redfish/v1/SessionService";
const std::string SESSIONS = SERVICE + "/Sessions";

json credentials(const std::string& password = WEB_PASSWORD) {
    return {{"UserName", WEB_USER}, {"Password", password}};
}

class Sessions : public WebTest {
protected:
    HttpsAnswer logIn() {
        return stranger()->post(SESSIONS, credentials());
    }

    std::unique_ptr<HttpsClient> holder(const HttpsAnswer& login) {
        return std::make_unique<HttpsClient>(web->port(),
                                             Login{"", "", login.header("X-Auth-Token")});
    }

    void restartWith(const std::vector<std::string>& arguments) {
        web = std::make_unique<WebProcess>(arguments);
        client = newClient();
    }
};

TEST_F(Sessions, ALoginGivesATokenALocationAndTheSessionWithoutSecrets) {
    for (const std::string& uri : {SESSIONS, SESSIONS + "/Members", SESSIONS + "/"}) {
        const HttpsAnswer login = stranger()->post(uri, credentials());
        EXPECT_EQ(login.status, 201);
        const std::string token = login.header("X-Auth-Token");
        EXPECT_GE(token.size(), 16U);
        EXPECT_EQ(login.header("Set-Cookie"), "");
        EXPECT_THAT(login.body, Not(HasSubstr(token)));
        EXPECT_THAT(login.body, Not(HasSubstr(WEB_PASSWORD)));
        const HttpsAnswer session = holder(login)->get(login.header("Location"));
        EXPECT_EQ(session.status, 200);
        EXPECT_EQ(session.json(), login.json());
        EXPECT_EQ(session.json()["@odata.id"], login.header("Location"));
        EXPECT_EQ(session.json()["UserName"], WEB_USER);
        EXPECT_EQ(session.json()["ClientOriginIPAddress"], "127.0.0.1");
    }
}

TEST_F(Sessions, AWrongPasswordAndAWrongUserAreUnauthorized) {
    for (const json& wrong :
         {credentials("wrong"), credentials(""), credentials(WEB_PASSWORD + " "),
          json{{"UserName", "nobody"}, {"Password", WEB_PASSWORD}}}) {
        const HttpsAnswer answer = stranger()->post(SESSIONS, wrong);
        EXPECT_EQ(answer.status, 401) << wrong;
        EXPECT_THAT(answer.header("WWW-Authenticate"), StartsWith("Basic "));
        EXPECT_EQ(answer.header("X-Auth-Token"), "");
        EXPECT_EQ(answer.messageId(), "NoValidSession");
    }
    EXPECT_EQ(client->get(SESSIONS).json()["Members@odata.count"], 0);
}

TEST_F(Sessions, ALoginInAnotherFormIsABadRequestThatSaysWhy) {
    struct Row {
        std::string body;
        std::string message;
        std::string property; // the pointer to it; empty: none
    };
    for (const Row& row :
         {Row{"", "UnrecognizedRequestBody", ""}, Row{"{", "MalformedJSON", ""},
          Row{"[]", "MalformedJSON", ""}, Row{"{\"UserName\":\"\xff\"}", "MalformedJSON", ""},
          Row{std::string(50000, '['), "MalformedJSON", ""},
          Row{R"({"UserName":)" + std::string(50000, '[') + std::string(50000, ']') + "}",
              "MalformedJSON", ""},
          Row{R"({"Password":"a"})", "PropertyMissing", "#/UserName"},
          Row{R"({"UserName":"a"})", "PropertyMissing", "#/Password"},
          Row{R"({"UserName":5,"Password":"a"})", "PropertyValueTypeError", "#/UserName"},
          Row{R"({"UserName":"a","Password":["a"]})", "PropertyValueTypeError", "#/Password"},
          Row{R"({"UserName":"a","Password":null})", "PropertyValueTypeError", "#/Password"},
          Row{R"({"UserName":"a","Password":"a","Token":1})", "PropertyUnknown", "#/Token"}}) {
        const HttpsAnswer answer = stranger()->send({"POST", SESSIONS, row.body});
        EXPECT_EQ(answer.status, 400) << row.body.substr(0, 80);
        EXPECT_EQ(answer.messageId(), row.message) << row.body.substr(0, 80);
        const json message = answer.json()["error"]["@Message.ExtendedInfo"][0];
        EXPECT_EQ(message.value("RelatedProperties", json::array({""}))[0], row.property);
    }
}

TEST_F(Sessions, ARefusedLoginDoesNotRepeatThePassword) {
    const HttpsAnswer answer =
        stranger()->post(SESSIONS, {{"UserName", {WEB_PASSWORD}}, {"Password", {WEB_PASSWORD}}});
    EXPECT_EQ(answer.status, 400);
    EXPECT_THAT(answer.body, Not(HasSubstr(WEB_PASSWORD)));
}

TEST_F(Sessions, ATokenEndsAtOnceWithItsSession) {
    const HttpsAnswer login = logIn();
    const HttpsAnswer other = logIn();
    const std::string uri = login.header("Location");
    const auto owner = holder(login);
    EXPECT_EQ(client->get(SESSIONS).json()["Members@odata.count"], 2);
    EXPECT_EQ(owner->remove(uri).status, 204);
    EXPECT_EQ(owner->get(SERVICE).status, 401);
    EXPECT_EQ(client->get(uri).status, 404);
    EXPECT_EQ(client->remove(uri).status, 404);
    EXPECT_EQ(holder(other)->get(SERVICE).status, 200);
    EXPECT_EQ(client->remove(other.header("Location")).status, 204);
    EXPECT_EQ(holder(other)->get(SERVICE).status, 401);
}

TEST_F(Sessions, TheServiceNamesItsTimeAndItsSessions) {
    const json service = client->get(SERVICE).json();
    EXPECT_EQ(service["SessionTimeout"], 1800);
    EXPECT_EQ(service["Sessions"]["@odata.id"], SESSIONS);
    const std::string uri = logIn().header("Location");
    const json expected = {{"@odata.id", SESSIONS},
                           {"@odata.type", "#SessionCollection.SessionCollection"},
                           {"Name", "Session Collection"},
                           {"Members", {{{"@odata.id", uri}}}},
                           {"Members@odata.count", 1}};
    EXPECT_EQ(client->get(SESSIONS).json(), expected);
}

TEST_F(Sessions, NobodySeesSessionsWithoutALogin) {
    const std::string uri = logIn().header("Location");
    for (const std::string& each : {SERVICE, SESSIONS, SESSIONS + "/Members", uri}) {
        EXPECT_EQ(stranger()->get(each).status, 401) << each;
    }
    EXPECT_EQ(stranger()->remove(uri).status, 401);
    EXPECT_EQ(stranger()->post(uri, credentials()).status, 401);
}

TEST_F(Sessions, WrongCredentialsOfAnyKindAreUnauthorized) {
    const std::string token = logIn().header("X-Auth-Token");
    for (const Headers& headers :
         {Headers{{"X-Auth-Token", token + "0"}}, Headers{{"X-Auth-Token", "0"}},
          Headers{{"Authorization", "Bearer " + token}}, Headers{{"Authorization", "Basic !!"}},
          Headers{{"Authorization", "Basic bm9ib2R5OmE="}},
          Headers{{"Cookie", "X-Auth-Token=" + token}}}) {
        EXPECT_EQ(stranger()->get(SERVICE, headers).status, 401) << headers[0].second;
    }
}

TEST_F(Sessions, MoreThanTheLimitAreRefusedUntilOneEnds) {
    restartWith({"--max-sessions", "2"});
    const std::string uri = logIn().header("Location");
    EXPECT_EQ(logIn().status, 201);
    const HttpsAnswer third = logIn();
    EXPECT_EQ(third.status, 503);
    EXPECT_EQ(third.messageId(), "SessionLimitExceeded");
    EXPECT_NE(third.header("Retry-After"), "");
    EXPECT_EQ(client->remove(uri).status, 204);
    EXPECT_EQ(logIn().status, 201);
}

// The delays are the least that may pass, however slow the machine is.
TEST_F(Sessions, WrongPasswordsAreAnsweredMoreAndMoreSlowly) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(stranger()->post(SESSIONS, credentials("wrong")).status, 401);
        EXPECT_EQ(stranger()->get(SERVICE, {{"Authorization", "Basic YTpi"}}).status, 401);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
    EXPECT_EQ(logIn().status, 201);
}

TEST_F(Sessions, NoSecretIsLogged) {
    const HttpsAnswer login = logIn();
    (void)stranger()->post(SESSIONS, credentials("another secret"));
    (void)stranger()->send({"POST", SESSIONS, R"({"Password":"another secret")"});
    (void)holder(login)->get(SERVICE);
    EXPECT_EQ(web->end(), 0);
    const std::string log = web->output() + web->errors();
    for (const std::string& secret :
         {WEB_PASSWORD, std::string("another secret"), login.header("X-Auth-Token")}) {
        EXPECT_THAT(log, Not(HasSubstr(secret)));
    }
}

} // namespace
