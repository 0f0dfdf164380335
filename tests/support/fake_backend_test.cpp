// The steerable backend, linked as the daemon links the real one.

#include "platform/certificate_backend.h"
#include "tests/support/fake_backend.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>

TEST(FakeBackend, NotesCallsAndSucceedsWithoutOrders) {
    EXPECT_EQ(createCertificateHandler({"/c", "text", "PEM", "1a", "/ca"}).code, 200);
    EXPECT_EQ(deleteCertificateHandler("/c/1").code, 200);
    EXPECT_EQ(generateCSRHandler({"/c", 2048, {{"KeyUsage", {"a", "b"}}}, {{"City", "x"}}}).code,
              200);
    EXPECT_EQ(replaceCertificateHandler({"/c/1", "text", "PEM", ""}).code, 200);
    const std::vector<std::string> expected{
        R"({"certificateId":"1a","certificateString":"text","certificateType":"PEM","collectionUri":"/c","handler":"create","rootCaFile":"/ca"})",
        R"({"certificateUri":"/c/1","handler":"delete"})",
        R"({"arrayParameters":{"KeyUsage":["a","b"]},"collectionUri":"/c","handler":"generateCSR","keyBitLength":2048,"stringParameters":{"City":"x"}})",
        R"({"certificateString":"text","certificateType":"PEM","certificateUri":"/c/1","handler":"replace","rootCaFile":""})"};
    EXPECT_EQ(backendCalls(), expected);
}

TEST(FakeBackend, AnswersAsOrderedOneAfterTheOther) {
    setBackendAnswers(
        R"({"create":[{"keyUsage":["k"],"issuer":{"Email":"e"},"validNotAfter":"later",
        "privateKeyValue":"key"},{"code":400,"message":{"MessageId":"M","MessageArgs":["a"]}}],
        "generateCSR":{"csr":"request"},"delete":{"throw":"broken"}})");
    const CreateCertResult first = createCertificateHandler({});
    EXPECT_EQ(first.code, 200);
    EXPECT_EQ(first.keyUsage, std::vector<std::string>{"k"});
    EXPECT_EQ(first.issuer.at("Email"), "e");
    EXPECT_EQ(first.validNotAfter, "later");
    EXPECT_EQ(first.privateKeyValue, "key");
    for (int call = 0; call < 2; ++call) {
        const CreateCertResult later = createCertificateHandler({});
        EXPECT_EQ(later.code, 400);
        EXPECT_EQ(later.message.MessageId, "M");
        EXPECT_EQ(later.message.MessageArgs, std::vector<std::string>{"a"});
    }
    EXPECT_EQ(generateCSRHandler({}).csr, "request");
    EXPECT_THROW(deleteCertificateHandler("/c/1"), std::runtime_error);
}

TEST(FakeBackend, WaitsForAFile) {
    setBackendAnswers(R"({"delete":{"waitForFile":"/run/go","code":404}})");
    auto result = std::async(std::launch::async, [] { return deleteCertificateHandler("/c/1"); });
    EXPECT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    writeFile("/run/go", "");
    EXPECT_EQ(result.get().code, 404);
}
