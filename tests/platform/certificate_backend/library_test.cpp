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
constexpr const char* TRUSTED = "/redfish/v1/AccountService/LDAP/Certificates";
constexpr const char* INSTALLED = "/var/lib/CertificateService/installed/";
constexpr const char* FILE_NAME = "+redfish+v1+AccountService+LDAP+Certificates+1.pem";

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
        std::filesystem::remove_all(CONFIGURATION);
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

TEST_F(BackendLibrary, InstallsNothingByRootsThatCannotBeUsed) {
    TempDirectory temporary;
    const std::string longName = temporary.file(std::string(200, 'x') + ".pem");
    const std::string strangers = temporary.file("strangers.pem");
    writeFile(strangers, makeAuthority("Strangers").certificate);
    const auto told = [](const std::string& file, const std::string& reason) {
        return "the root CA file " + file + " cannot be used: " + reason;
    };
    const std::string missing = "No such file or directory";
    const std::string configuration =
        std::string("the configuration ") + CONFIGURATION + " cannot be read: ";
    struct Row {
        std::string requested;
        std::string configured; // the whole file
        std::string told;
    };
    const TestCertificate made = makeSelfSigned();
    for (const Row& row : std::vector<Row>{
             {"/etc/missing.pem", "", told("/etc/missing.pem", missing)},
             {"/etc/missing.pem", "ROOT_CA_FILE=" + strangers, told("/etc/missing.pem", missing)},
             {"", "ROOT_CA_FILE=/etc/missing.pem", told("/etc/missing.pem", missing)},
             {"", "ROOT_CA_FILE=" + longName, told(longName, missing)},
             {"", "ROOT_CA_FILE=/dev/null", told("/dev/null", "it is no regular file")},
             {"", std::string("ROOT_CA_FILE=/x\0y", 17),
              configuration + "it holds a NUL character"},
             {"", "ROOT_CA_FILE=/x\n" + std::string(1 << 20, '#'),
              configuration + "it has more than 1048576 bytes"},
         }) {
        writeFile(CONFIGURATION, row.configured);
        const OutputCapture errors(2);
        const CreateCertResult created = createCertificateHandler(
            {"/c", made.privateKey + made.certificate, "PEM", "1", row.requested});
        expectMachineFault(created.code, created.message);
        const CreateCertResult replaced =
            replaceCertificateHandler({"/c/1", made.certificate, "PEM", row.requested});
        expectMachineFault(replaced.code, replaced.message);
        EXPECT_EQ(errors.text(), "[ERROR] certificate backend: create: " + row.told +
                                     "\n[ERROR] certificate backend: replace: " + row.told + "\n");
    }
    std::filesystem::remove(CONFIGURATION);
    std::filesystem::create_directory(CONFIGURATION);
    const OutputCapture errors(2);
    const CSRResult request = generateCSRHandler({"/c", 0, {}, {{"CommonName", "bmc"}}});
    expectMachineFault(request.code, request.message);
    EXPECT_EQ(errors.text(), "[ERROR] certificate backend: signing request: " + configuration +
                                 "it is no regular file\n");
}

TEST_F(BackendLibrary, TakesARootWithoutAValueForNone) {
    writeFile(CONFIGURATION, "ROOT_CA_FILE=\n");
    const TestCertificate made = makeSelfSigned();
    EXPECT_EQ(
        createCertificateHandler({"/c", made.privateKey + made.certificate, "PEM", "1", ""}).code,
        200);
    TempDirectory temporary;
    writeFile(temporary.file("strangers.pem"), makeAuthority("Strangers").certificate);
    writeFile(CONFIGURATION, "ROOT_CA_FILE=" + temporary.file("strangers.pem") + "\n");
    EXPECT_EQ(
        createCertificateHandler({"/c", made.privateKey + made.certificate, "PEM", "2", ""}).code,
        400);
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
    EXPECT_EQ(
        result.message.MessageArgs.at(0),
        "Certificate 0 of the chain (CN=test.example) expired at 2020-01-01T00:00:00Z. Send one "
        "that is valid now.");
}
