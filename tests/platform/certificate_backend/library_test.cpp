// The shared library through its exported functions: directory, configuration, and what becomes of
// a fault of the machine.

#include "platform/certificate_backend.h"
#include "tests/support/certificates.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

constexpr const char* CONFIGURATION = "/usr/local/etc/nginx/CertificateService.conf";
constexpr const char* TRUSTED = "/redfish/v1/AccountService/LDAP/TrustedCertificates";
constexpr const char* INSTALLED = "/var/lib/CertificateService/installed/";
constexpr const char* FILE_NAME = "+redfish+v1+AccountService+LDAP+TrustedCertificates+1.pem";

CreateCertResult createTrusted() {
    return createCertificateHandler({TRUSTED, makeAuthority().certificate, "PEM", "1", ""});
}

void expectMachineFault(std::int32_t code, const MessageInfo& message) {
    EXPECT_EQ(code, 500);
    EXPECT_EQ(message.MessageId, "Base.1.9.InternalError");
    EXPECT_TRUE(message.MessageArgs.empty());
    EXPECT_TRUE(message.RelatedProperties.empty());
}

} // namespace

// Each case begins without a configuration file and without anything installed.
class BackendLibrary : public testing::Test {
protected:
    BackendLibrary() {
        std::filesystem::remove(CONFIGURATION);
        std::filesystem::remove_all("/var/lib/CertificateService/installed");
        std::filesystem::remove_all("/var/lib/CertificateService/requests");
    }
};

TEST_F(BackendLibrary, KeepsItsFilesInVarLib) {
    EXPECT_EQ(createTrusted().code, 200);
    EXPECT_TRUE(fileExists(std::string(INSTALLED) + FILE_NAME));
    EXPECT_EQ(deleteCertificateHandler(std::string(TRUSTED) + "/1").code, 200);
    EXPECT_FALSE(fileExists(std::string(INSTALLED) + FILE_NAME));
}

TEST_F(BackendLibrary, KeepsItsFilesWhereTheConfigurationSays) {
    TempDirectory temporary;
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=" + temporary.file("elsewhere") + "/\n");
    EXPECT_EQ(createTrusted().code, 200);
    EXPECT_TRUE(fileExists(temporary.file("elsewhere/installed/") + FILE_NAME));
    EXPECT_EQ(fileMode(temporary.file("elsewhere")), 0700U);
}

TEST_F(BackendLibrary, ReportsARelativeDirectory) {
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=certificates\n");
    const OutputCapture errors(2);
    const CreateCertResult result = createTrusted();
    expectMachineFault(result.code, result.message);
    EXPECT_EQ(errors.text(), "[ERROR] certificate backend: create: CERTIFICATE_DIRECTORY is not an "
                             "absolute path\n");
}

TEST_F(BackendLibrary, ReportsADirectoryThatCannotBeMadeFromEveryHandler) {
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=/proc/certificates\n");
    const OutputCapture errors(2);
    const CreateCertResult created = createTrusted();
    expectMachineFault(created.code, created.message);
    const DeleteCertResult deleted = deleteCertificateHandler("/x");
    expectMachineFault(deleted.code, deleted.message);
    const CSRResult request =
        generateCSRHandler({"/c", 0, {}, {{"CommonName", "bmc"}, {"ChallengePassword", "secret"}}});
    expectMachineFault(request.code, request.message);
    EXPECT_EQ(request.csr, "");
    const CreateCertResult replaced = replaceCertificateHandler({"/c/1", "", "PEM", ""});
    expectMachineFault(replaced.code, replaced.message);
    std::string lines;
    for (const char* operation : {"create", "delete", "signing request", "replace"}) {
        lines += std::string("[ERROR] certificate backend: ") + operation +
                 ": cannot make the directory /proc/certificates: No such file or directory\n";
    }
    EXPECT_EQ(errors.text(), lines);
}

TEST_F(BackendLibrary, ReportsRootsThatCannotBeRead) {
    const TestCertificate made = makeSelfSigned();
    const OutputCapture errors(2);
    const CreateCertResult result = createCertificateHandler(
        {"/c", made.privateKey + made.certificate, "PEM", "1", "/etc/missing.pem"});
    expectMachineFault(result.code, result.message);
    EXPECT_EQ(errors.text(), "[ERROR] certificate backend: create: cannot read trusted roots from "
                             "/etc/missing.pem\n");
}

TEST_F(BackendLibrary, CarriesACertificateFromItsRequestToItsRenewal) {
    const TestCertificate authority = makeAuthority();
    writeFile("/tmp/root.pem", authority.certificate);
    const CSRResult request = generateCSRHandler({"/c", 0, {}, {{"CommonName", "bmc"}}});
    ASSERT_EQ(request.code, 200);
    const std::string first = signRequest(request.csr, authority);
    const CreateCertResult created =
        createCertificateHandler({"/c", first, "PEM", "1", "/tmp/root.pem"});
    ASSERT_EQ(created.code, 200);
    EXPECT_EQ(created.privateKeyValue, "/var/lib/CertificateService/installed/+c+1.pem");
    const std::string second = signRequest(request.csr, authority);
    const CreateCertResult replaced =
        replaceCertificateHandler({"/c/1", second, "PEM", "/tmp/root.pem"});
    EXPECT_EQ(replaced.code, 200);
    EXPECT_EQ(replaced.message.MessageId, "");
    EXPECT_TRUE(readFile(created.privateKeyValue).ends_with(second));
    const CreateCertResult again =
        replaceCertificateHandler({"/c/1", second, "PEM", "/tmp/root.pem"});
    EXPECT_EQ(again.code, 200);
    EXPECT_EQ(again.message.MessageId, "Base.1.9.NoOperation");
    EXPECT_EQ(deleteCertificateHandler("/c/1").code, 200);
}

TEST_F(BackendLibrary, JudgesByTheClockOfTheMachine) {
    const TestCertificate old =
        makeSelfSigned({.notBefore = "20190101000000Z", .notAfter = "20200101000000Z"});
    const CreateCertResult result =
        createCertificateHandler({TRUSTED, old.certificate, "PEM", "1", ""});
    EXPECT_EQ(result.code, 400);
    EXPECT_EQ(result.message.MessageArgs.at(0), "the certificate expired at 2020-01-01T00:00:00Z");
}
