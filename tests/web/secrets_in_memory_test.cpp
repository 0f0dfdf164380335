// What the memory of certificateweb still holds of a secret that has served: its heap, freed blocks
// included, and the stacks of its threads. The connections that brought the secrets stay open.

#include "tests/support/certificates.h"
#include "tests/support/process_memory.h"
#include "tests/support/wait.h"
#include "tests/web/web_process.h"

namespace {

using nlohmann::json;

const std::string SESSIONS = "/redfish/v1/SessionService/Sessions";

// WEB_USER and WEB_PASSWORD as basic authentication sends them, but for the last group.
const std::string BASIC_LOGIN = "b3BlcmF0b3I6Y29ycmVjdCBob3JzZTogYmF0dGVyeSBzdGFwb";

class WebSecrets : public WebTest {
protected:
    HttpsAnswer logIn(HttpsClient& stranger) {
        return stranger.post(SESSIONS, {{"UserName", WEB_USER}, {"Password", WEB_PASSWORD}});
    }

    [[nodiscard]] std::size_t tracesOf(const std::vector<std::string>& secrets) const {
        return countInMemory(web->pid(), secrets);
    }

    // The answer may arrive before the thread that made it has cleared up.
    void expectNoTraceOf(const std::vector<std::string>& secrets) const {
        EXPECT_TRUE(waitUntil([&] { return tracesOf(secrets) == 0; }, 10))
            << tracesOf(secrets) << " of " << testing::PrintToString(secrets) << " are left";
    }
};

TEST_F(WebSecrets, APrivateKeyLeavesNoLineOfItself) {
    const TestCertificate first = makeSelfSigned();
    const TestCertificate second = makeSelfSigned({.key = KeyKind::RSA_2048});
    json replacement = creationOf(second.certificate + second.privateKey);
    replacement["CertificateUri"] = {{"@odata.id", install(first.certificate + first.privateKey)}};
    EXPECT_EQ(client->post(REPLACE_CERTIFICATE, replacement).status, 200);
    expectNoTraceOf(secretLines(first.privateKey));
    expectNoTraceOf(secretLines(second.privateKey));
}

TEST_F(WebSecrets, APrivateKeyInARefusedBodyLeavesNoLineOfItself) {
    const TestCertificate refused = makeSelfSigned();
    json body = creationOf(refused.certificate + refused.privateKey);
    body["NoSuchProperty"] = refused.privateKey;
    EXPECT_EQ(client->post(COLLECTION, body).status, 400);
    EXPECT_EQ(client->send({"POST", COLLECTION, body.dump() + "}"}).status, 400);
    expectNoTraceOf(secretLines(refused.privateKey));
}

TEST_F(WebSecrets, APasswordLeavesNothingOfItself) {
    const auto visitor = stranger();
    EXPECT_EQ(logIn(*visitor).status, 201);
    EXPECT_EQ(client->get(SESSIONS).status, 200);
    expectNoTraceOf({WEB_PASSWORD, BASIC_LOGIN});
}

TEST_F(WebSecrets, ATokenLeavesNothingOfItself) {
    const auto visitor = stranger();
    const std::string token = logIn(*visitor).header("X-Auth-Token");
    HttpsClient holder(web->port(), Login{"", "", token});
    EXPECT_EQ(holder.get(SESSIONS).status, 200);
    expectNoTraceOf({token});
}

TEST_F(WebSecrets, AChallengePasswordLeavesNothingOfItself) {
    const std::string password = "a challenge for nobody else";
    const HttpsAnswer answer =
        client->post(GENERATE_CSR, {{"CertificateCollection", {{"@odata.id", COLLECTION}}},
                                    {"CommonName", "a.example"},
                                    {"Organization", "Example"},
                                    {"OrganizationalUnit", "Boards"},
                                    {"City", "Athens"},
                                    {"State", "Attica"},
                                    {"Country", "GR"},
                                    {"KeyPairAlgorithm", "TPM_ALG_ECDSA"},
                                    {"ChallengePassword", password}});
    EXPECT_EQ(answer.status, 200) << answer.body;
    expectNoTraceOf({password});
}

} // namespace
