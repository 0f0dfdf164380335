// HTTP and TLS as certificateweb speaks them: framing, limits, who may ask.

#include "frontend/records/seed_records.h"
#include "tests/web/web_process.h"

#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using WebHttp = WebTest;

// Sends the bytes on a connection of their own; the first line of what comes back.
std::string statusLineOf(std::uint16_t port, const std::string& bytes) {
    TlsConnection connection(port);
    (void)connection.send(bytes);
    const std::string answer = connection.readUntil("\r\n");
    return answer.substr(0, answer.find("\r\n"));
}

TEST_F(WebHttp, WhoSaysNothingIsAskedToLogIn) {
    for (const std::string path : {"/redfish/v1/Managers", "/redfish/v1/nothing/at/all",
                                   "/redfish/v1/TaskService/TaskMonitors/1"}) {
        const HttpsAnswer answer =
            stranger()->get(path, {{"OData-Version", "3.0"}, {"Accept", "text/plain"}});
        EXPECT_EQ(answer.status, 401) << path;
        EXPECT_THAT(answer.header("WWW-Authenticate"), StartsWith("Basic realm="));
        EXPECT_EQ(answer.messageId(), "NoValidSession");
    }
}

TEST_F(WebHttp, WhatIsNotThereIsNotFound) {
    const HttpsAnswer answer = client->get("/redfish/v1/nothing");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.messageId(), "ResourceMissingAtURI");
    EXPECT_EQ(answer.header("OData-Version"), "4.0");
}

struct BrokenRequest {
    std::string name;
    std::string bytes;
    std::string status;
};

void PrintTo(const BrokenRequest& broken, std::ostream* stream) {
    *stream << broken.name;
}

class BrokenFraming : public WebTest, public testing::WithParamInterface<BrokenRequest> {};

TEST_P(BrokenFraming, IsRefused) {
    EXPECT_THAT(statusLineOf(web->port(), GetParam().bytes),
                StartsWith("HTTP/1.1 " + GetParam().status));
    EXPECT_EQ(client->get("/redfish/v1/nothing").status, 404);
}

const std::string REQUEST = "POST /redfish/v1/SessionService/Sessions HTTP/1.1\r\n";

INSTANTIATE_TEST_SUITE_P(
    Web, BrokenFraming,
    testing::Values(
        BrokenRequest{"NoHttp", "hello\r\n\r\n", "400"},
        BrokenRequest{"NoHost", "GET / HTTP/1.1\r\n\r\n", "400"},
        BrokenRequest{"TwoHosts", "GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", "400"},
        BrokenRequest{"LengthThatIsNone", REQUEST + "Host: a\r\nContent-Length: ten\r\n\r\n",
                      "400"},
        BrokenRequest{"NegativeLength", REQUEST + "Host: a\r\nContent-Length: -1\r\n\r\n", "400"},
        BrokenRequest{"TwoLengths",
                      REQUEST + "Host: a\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\n{}",
                      "400"},
        BrokenRequest{
            "LengthAndChunks",
            REQUEST + "Host: a\r\nContent-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n", "400"},
        BrokenRequest{"UnknownCoding", REQUEST + "Host: a\r\nTransfer-Encoding: gzip\r\n\r\n",
                      "501"},
        BrokenRequest{"ChunkWithoutSize",
                      REQUEST + "Host: a\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n", "400"},
        BrokenRequest{"HeaderWithoutColon", "GET / HTTP/1.1\r\nHost: a\r\nbroken\r\n\r\n", "400"},
        BrokenRequest{"BlankBeforeColon", "GET / HTTP/1.1\r\nHost: a\r\nA : b\r\n\r\n", "400"},
        BrokenRequest{"BareLineFeed", "GET / HTTP/1.1\nHost: a\n\n", "400"},
        BrokenRequest{"ZeroByte", std::string("GET /\0 HTTP/1.1\r\nHost: a\r\n\r\n", 29), "400"},
        BrokenRequest{"UnknownVersion", "GET / HTTP/9.9\r\nHost: a\r\n\r\n", "400"},
        BrokenRequest{"LargeHeaders",
                      "GET / HTTP/1.1\r\nHost: a\r\nA: " + std::string(40000, 'a') + "\r\n\r\n",
                      "431"},
        BrokenRequest{"UnknownExpectation",
                      REQUEST + "Host: a\r\nExpect: wonders\r\nContent-Length: 2\r\n\r\n{}",
                      "417"}),
    [](const auto& each) { return each.param.name; });

TEST_F(WebHttp, ABodyAboveAMebibyteIsTooLargeDeclaredOrChunkedWithAndWithoutExpect) {
    const std::string body(1024 * 1024 + 1, ' ');
    for (const Headers& headers :
         {Headers{{"Expect", ""}}, Headers{{"Expect", "100-continue"}},
          Headers{{"Transfer-Encoding", "chunked"}, {"Expect", ""}},
          Headers{{"Transfer-Encoding", "chunked"}, {"Expect", "100-continue"}}}) {
        const HttpsAnswer answer = newClient()->send({"POST", COLLECTION, body, headers});
        EXPECT_EQ(answer.status, 413);
        EXPECT_TRUE(answer.json().contains("error"));
    }
}

TEST_F(WebHttp, AnUnknownMethodIsNotImplemented) {
    EXPECT_EQ(client->send({"BREW", "/redfish/v1/nothing", std::nullopt}).status, 501);
}

TEST_F(WebHttp, AnotherODataVersionFailsThePrecondition) {
    EXPECT_EQ(client->get("/redfish/v1/nothing", {{"OData-Version", "3.0"}}).status, 412);
    EXPECT_EQ(client->get("/redfish/v1/nothing", {{"OData-Version", "4.0"}}).status, 404);
}

TEST_F(WebHttp, UnknownDollarQueriesAreNotImplementedAndOthersIgnored) {
    EXPECT_EQ(client->get("/redfish/v1/nothing?$expand=.").status, 501);
    EXPECT_EQ(client->get("/redfish/v1/nothing?a=b&%24top=1").status, 501);
    EXPECT_EQ(client->get("/redfish/v1/nothing?a=$b&expand").status, 404);
}

TEST_F(WebHttp, APathThatLeavesItsPlaceIsNotFound) {
    for (const std::string path :
         {"/redfish/v1/../../etc/passwd", "/redfish/v1/%2e%2e/x", "/redfish//v1", "/etc/passwd",
          "/redfish/v1/&&/redfish/v1", "/redfish/v1/a%20b", "/redfish/v1/a%0d%0aX-Injected:%20yes",
          "/redfish/v1/%ff%fe", "/redfish/v1/%00"}) {
        const HttpsAnswer answer = client->get(path);
        EXPECT_EQ(answer.status, 404) << path;
        EXPECT_EQ(answer.header("X-Injected"), "");
    }
}

TEST_F(WebHttp, SilentAndHalfSentRequestsKeepNobodyOut) {
    std::vector<int> silent;
    std::vector<std::unique_ptr<TlsConnection>> halves;
    for (int i = 0; i < 40; ++i) {
        silent.push_back(silentConnection(web->port()));
    }
    for (int i = 0; i < 10; ++i) {
        halves.push_back(std::make_unique<TlsConnection>(web->port()));
        EXPECT_TRUE(halves.back()->send(REQUEST + "Host: a\r\nContent-Length: 100\r\n\r\n{"));
    }
    EXPECT_EQ(newClient()->get("/redfish/v1/nothing").status, 404);
    for (const int descriptor : silent) {
        ::close(descriptor);
    }
}

TEST_F(WebHttp, AnOldClientIsToldThatItsConnectionStays) {
    TlsConnection connection(web->port());
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(connection.send("GET /redfish HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"));
        EXPECT_THAT(connection.readUntil("\"}"), HasSubstr("Connection: keep-alive\r\n"));
    }
    ASSERT_TRUE(connection.send("GET /redfish HTTP/1.0\r\n\r\n"));
    EXPECT_THAT(connection.readToEnd(), HasSubstr("Connection: close\r\n"));
}

TEST_F(WebHttp, OldTlsIsRefusedAndNewTlsIsSpoken) {
    EXPECT_EQ(TlsConnection(web->port()).protocol(), "TLSv1.3");
}

TEST_F(WebHttp, RedisThatIsGoneIsSaidAndComesBack) {
    server.stop();
    const HttpsAnswer answer = client->get(COLLECTION);
    EXPECT_EQ(answer.status, 503);
    EXPECT_NE(answer.header("Retry-After"), "");
    EXPECT_THAT(answer.body, HasSubstr("Redis"));
    server.start();
    (void)seedRecords(RedisClient(server).context(), {COLLECTION});
    EXPECT_EQ(client->get(COLLECTION).status, 200);
}

TEST_F(WebHttp, ADaemonThatIsGoneIsSaidAndComesBack) {
    daemon->kill();
    const HttpsAnswer answer = client->post(COLLECTION, creationOf(serverIdentity()));
    EXPECT_EQ(answer.status, 503);
    EXPECT_NE(answer.header("Retry-After"), "");
    EXPECT_THAT(answer.body, HasSubstr("daemon"));
    daemon = std::make_unique<DaemonProcess>();
    daemon->waitUntilReady(server);
    install(serverIdentity());
}

TEST_F(WebHttp, TheProgramEndsAtASignal) {
    EXPECT_EQ(client->get("/redfish/v1/nothing").status, 404);
    EXPECT_EQ(web->end(), 0);
    EXPECT_EQ(web->errors(), "");
}

} // namespace
