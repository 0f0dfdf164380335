// What the daemon's memory still holds of a secret that has served: its heap, freed blocks
// included, and the stacks of its threads.

#include "tests/support/certificates.h"
#include "tests/support/process_memory.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

const std::string MAY_ANSWER = "/tmp/backend-may-answer";
const std::string REFERENCE_BACKEND;

TestCertificate makeWithKey(KeyKind kind) {
    CertificateOptions options;
    options.key = kind;
    return makeSelfSigned(options);
}

// The steerable backend waits for a file in the middle of its work.
void holdBackend(const TestCertificate& certificate) {
    std::filesystem::remove(MAY_ANSWER);
    const nlohmann::json answer = {{"waitForFile", MAY_ANSWER},
                                   {"certificateString", certificate.certificate}};
    setBackendAnswers(nlohmann::json{{"create", answer}, {"replace", answer}}.dump());
}

class PrivateKey : public RequestRoad {
protected:
    // Stores the request with the certificate and its key for text.
    void store(const FrontEndRequest& request, const TestCertificate& certificate) {
        storeRequest(client, request);
        // With its line ends as they are: reading does not undo escapes of them.
        client.command("HSET", request.bodyKey, "CertificateString",
                       '"' + certificate.certificate + certificate.privateKey + '"');
    }

    FrontEndAnswer sendWithKey(const FrontEndRequest& request, const TestCertificate& certificate) {
        store(request, certificate);
        return sendStoredRequest(server, request);
    }

    std::size_t tracesOf(const TestCertificate& certificate) {
        return countInMemory(daemon->pid(), secretLines(certificate.privateKey));
    }

    // The answer may arrive before the handler has finished.
    void expectNoTraceOf(const TestCertificate& certificate) {
        EXPECT_TRUE(waitUntil([&] { return tracesOf(certificate) == 0; }, 10))
            << tracesOf(certificate) << " lines are left";
    }

    // Looks at the memory while the backend has the key in its hands too: there is something to
    // find.
    void expectNoTraceAfter(const FrontEndRequest& request, const TestCertificate& certificate) {
        const std::size_t callsBefore = backendCalls().size();
        holdBackend(certificate);
        store(request, certificate);
        announce(request, requestMessage(request));
        ASSERT_TRUE(waitUntil([&] { return backendCalls().size() > callsBefore; }));
        EXPECT_GT(tracesOf(certificate), 0U);
        writeFile(MAY_ANSWER, "");
        ASSERT_TRUE(waitUntil([&] { return !client.hash(request.statusKey).empty(); }));
        expectNoTraceOf(certificate);
    }
};

TEST_F(PrivateKey, leavesNoLineOfItselfAfterACreation) {
    start();
    expectNoTraceAfter(creation(), makeWithKey(KeyKind::EC_P384));
}

TEST_F(PrivateKey, leavesNoLineOfItselfAfterAReplacement) {
    start();
    const std::string uri = send(creation()).status.at("&&Location");
    expectNoTraceAfter(replacement(uri, 2), makeWithKey(KeyKind::RSA_2048));
}

TEST_F(PrivateKey, leavesNoLineOfItselfWithTheReferenceBackend) {
    start({}, REFERENCE_BACKEND);
    const TestCertificate first = makeWithKey(KeyKind::RSA_2048);
    const TestCertificate second = makeWithKey(KeyKind::EC_P384);
    const FrontEndAnswer created = sendWithKey(creation(), first);
    ASSERT_EQ(describeAnswer(created), "OK");
    const std::string uri = created.status.at("&&Location");
    ASSERT_EQ(describeAnswer(sendWithKey(replacement(uri, 2), second)), "OK_RES");
    expectNoTraceOf(first);
    expectNoTraceOf(second);
}

TEST(RedisPassword, standsOnceInTheDaemonsMemory) {
    RedisServerOptions options;
    options.password = "a password of many letters";
    const RedisServer server(options);
    writeConnectionFiles(server);
    DaemonProcess daemon;
    daemon.waitUntilReady(server);
    EXPECT_EQ(countInMemory(daemon.pid(), {options.password}), 1U);
}

} // namespace
