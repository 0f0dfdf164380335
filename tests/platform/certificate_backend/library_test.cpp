// The shared library through its exported functions: directory, configuration, and what becomes of
// a fault of the machine.

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/certificate_backend.h"
#include "tests/support/certificates.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

namespace {

constexpr const char* CONFIGURATION = "/usr/local/etc/nginx/CertificateService.conf";
constexpr const char* TRUSTED = "/redfish/v1/AccountService/LDAP/TrustedCertificates";
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

TEST(BackendLibrary, KeepsItsFilesInVarLib) {
    EXPECT_EQ(createTrusted().code, 200);
    EXPECT_TRUE(fileExists(std::string("/var/lib/CertificateService/installed/") + FILE_NAME));
    EXPECT_EQ(deleteCertificateHandler(std::string(TRUSTED) + "/1").code, 200);
    EXPECT_FALSE(fileExists(std::string("/var/lib/CertificateService/installed/") + FILE_NAME));
}

TEST(BackendLibrary, KeepsItsFilesWhereTheConfigurationSays) {
    TempDirectory temporary;
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=" + temporary.file("elsewhere") + "/\n");
    EXPECT_EQ(createTrusted().code, 200);
    EXPECT_TRUE(fileExists(temporary.file("elsewhere/installed/") + FILE_NAME));
    struct stat status = {};
    ASSERT_EQ(stat(temporary.file("elsewhere").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST(BackendLibrary, ReportsARelativeDirectory) {
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=certificates\n");
    const OutputCapture errors(2);
    const CreateCertResult result = createTrusted();
    expectMachineFault(result.code, result.message);
    EXPECT_EQ(errors.text(), "[ERROR] certificate backend: create: CERTIFICATE_DIRECTORY is not an "
                             "absolute path\n");
}

TEST(BackendLibrary, ReportsADirectoryThatCannotBeMade) {
    writeFile(CONFIGURATION, "CERTIFICATE_DIRECTORY=/proc/certificates\n");
    const OutputCapture errors(2);
    const CreateCertResult created = createTrusted();
    expectMachineFault(created.code, created.message);
    const DeleteCertResult deleted = deleteCertificateHandler("/x");
    expectMachineFault(deleted.code, deleted.message);
    EXPECT_EQ(errors.text(),
              "[ERROR] certificate backend: create: cannot make the directory /proc/certificates: "
              "No such file or directory\n"
              "[ERROR] certificate backend: delete: cannot make the directory /proc/certificates: "
              "No such file or directory\n");
}

TEST(BackendLibrary, ReportsRootsThatCannotBeRead) {
    const TestCertificate made = makeSelfSigned();
    const OutputCapture errors(2);
    const CreateCertResult result = createCertificateHandler(
        {"/c", made.privateKey + made.certificate, "PEM", "1", "/etc/missing.pem"});
    expectMachineFault(result.code, result.message);
    EXPECT_EQ(errors.text(), "[ERROR] certificate backend: create: cannot read trusted roots from "
                             "/etc/missing.pem\n");
}

TEST(BackendLibrary, PassesRefusalsOn) {
    const CreateCertResult created = createCertificateHandler({TRUSTED, "", "PEM", "1", ""});
    EXPECT_EQ(created.code, 400);
    EXPECT_EQ(created.message.MessageId, "Base.1.9.PropertyValueFormatError");
    const DeleteCertResult deleted = deleteCertificateHandler("/nothing");
    EXPECT_EQ(deleted.code, 400);
    EXPECT_EQ(deleted.message.MessageId, "Base.1.9.ResourceMissingAtURI");
    EXPECT_EQ(deleted.message.MessageArgs, std::vector<std::string>{"/nothing"});
}

TEST(BackendLibrary, JudgesByTheClockOfTheMachine) {
    CertificateOptions options;
    options.notAfter = "20200101000000Z";
    options.notBefore = "20190101000000Z";
    const CreateCertResult result =
        createCertificateHandler({TRUSTED, makeSelfSigned(options).certificate, "PEM", "1", ""});
    EXPECT_EQ(result.code, 400);
    EXPECT_EQ(result.message.MessageArgs.at(0), "the certificate expired at 2020-01-01T00:00:00Z");
}
