// Faults of the certificate files under the whole daemon with the reference backend: what the front
// end is told, and that the next request works once the fault is mended.

#include "tests/support/certificates.h"
#include "tests/support/temp_files.h"
#include "tests/system/request_road.h"

#include <linux/capability.h>
#include <sys/prctl.h>

#include <filesystem>
#include <fstream>

namespace {

const std::string BUILT_BACKEND; // no folder before the build's own
const std::string DIRECTORY = "/tmp/certificates";
const std::string SMALL_DISK = "/mnt"; // 64 KiB
const std::string ROOTS = "/tmp/roots.pem";
const std::string MACHINE_FAULT = "EXCEPTION Base.1.9.InternalError ()";

// Leaves no room on the disk, in a file that is to be removed.
std::string fillSmallDisk() {
    const std::string path = SMALL_DISK + "/filler";
    std::ofstream file(path, std::ios::binary);
    while (file.put('x').flush()) {
    }
    return path;
}

// Makes file permissions count for programs started from now on, the superuser's too.
void obeyFilePermissions() {
    // Refused where the test has no such rights, which is as good.
    (void)::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    (void)::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

void forbidAccess(const std::string& path) {
    std::filesystem::permissions(path, std::filesystem::perms::none);
}

void allowAccess(const std::string& path) {
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

class BackendFaults : public RequestRoad {
protected:
    BackendFaults() {
        std::filesystem::remove_all(DIRECTORY);
        std::filesystem::remove(ROOTS);
    }

    void startIn(const std::string& directory) {
        start({{"CERTIFICATE_DIRECTORY", directory}}, BUILT_BACKEND);
    }

    // Sends a request with this text as the certificate.
    FrontEndAnswer sendText(const FrontEndRequest& request, const std::string& text) {
        storeRequest(client, request);
        // With its line ends as they are: reading does not undo escapes of them.
        client.command("HSET", request.bodyKey, "CertificateString", '"' + text + '"');
        return sendStoredRequest(server, request);
    }

    // Creates the certificate; what the front end is told.
    std::string create(int number) {
        return describeAnswer(sendText(creation(number), made.privateKey + made.certificate));
    }

    // No certificate has been stored or linked.
    void expectNothingStored() {
        EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), std::vector<std::string>());
        EXPECT_EQ(client.list("&&" + LOCATIONS + "/Links/Certificates"),
                  std::vector<std::string>());
    }

    TestCertificate made = makeSelfSigned();
};

TEST_F(BackendFaults, AFileInThePlaceOfTheDirectoryIsMended) {
    writeFile(DIRECTORY, "in the way");
    startIn(DIRECTORY);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_EQ(readFile(DIRECTORY), "in the way");
    expectNothingStored();
    std::filesystem::remove(DIRECTORY);
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, AFileInThePlaceOfAPartIsMended) {
    std::filesystem::create_directory(DIRECTORY);
    writeFile(DIRECTORY + "/installed", "in the way");
    startIn(DIRECTORY);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_EQ(readFile(DIRECTORY + "/installed"), "in the way");
    expectNothingStored();
    std::filesystem::remove(DIRECTORY + "/installed");
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, AReadOnlyFileSystemIsMendedByAnotherDirectory) {
    startIn("/usr/share/certificates");
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_NE(daemon->standardError().find("Read-only file system"), std::string::npos);
    expectNothingStored();
    // The directory is read from the configuration at every call.
    writeFile("/usr/local/etc/nginx/CertificateService.conf",
              "CERTIFICATE_DIRECTORY=" + DIRECTORY + "\n");
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, AFullDiskIsMended) {
    startIn(SMALL_DISK + "/certificates");
    const std::string filler = fillSmallDisk();
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_NE(daemon->standardError().find("No space left on device"), std::string::npos);
    expectNothingStored();
    std::filesystem::remove(filler);
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, AFullDiskLeavesTheOldPairInAReplacement) {
    startIn(SMALL_DISK + "/certificates");
    const FrontEndAnswer created = sendText(creation(1), made.privateKey + made.certificate);
    ASSERT_EQ(describeAnswer(created), "OK");
    const std::string uri = created.status.at("&&Location");
    const std::string filler = fillSmallDisk();
    const TestCertificate other = makeSelfSigned();
    const std::string text = other.privateKey + other.certificate;
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 2), text)), MACHINE_FAULT);
    std::filesystem::remove(filler);
    // The old certificate is still the installed one: it changes nothing.
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 3), made.certificate)), "OK_RES");
    EXPECT_EQ(client.hash("status/3/result/ResponseData").count("&&RawJSON"), 1U);
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 4), text)), "OK_RES");
    EXPECT_EQ(client.command("EXISTS", "status/4/result/ResponseData").integer, 0);
}

TEST_F(BackendFaults, ADirectoryWithoutPermissionIsMended) {
    std::filesystem::create_directory(DIRECTORY);
    obeyFilePermissions();
    startIn(DIRECTORY);
    forbidAccess(DIRECTORY);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_NE(daemon->standardError().find("Permission denied"), std::string::npos);
    expectNothingStored();
    allowAccess(DIRECTORY);
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, AnInstalledPairWithoutPermissionStaysAsItIs) {
    obeyFilePermissions();
    startIn(DIRECTORY);
    const FrontEndAnswer created = sendText(creation(1), made.privateKey + made.certificate);
    ASSERT_EQ(describeAnswer(created), "OK");
    const std::string uri = created.status.at("&&Location");
    const TestCertificate other = makeSelfSigned();
    const std::string text = other.privateKey + other.certificate;
    forbidAccess(DIRECTORY + "/installed");
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 2), text)), MACHINE_FAULT);
    EXPECT_EQ(describeAnswer(send(deletion(uri, 3))), MACHINE_FAULT);
    allowAccess(DIRECTORY + "/installed");
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 4), text)), "OK_RES");
    EXPECT_EQ(describeAnswer(send(deletion(uri, 5))), "OK_EMPTY");
}

TEST_F(BackendFaults, RootsWithoutPermissionAreMended) {
    writeFile(ROOTS, made.certificate);
    forbidAccess(ROOTS);
    obeyFilePermissions();
    start({{"CERTIFICATE_DIRECTORY", DIRECTORY}, {"ROOT_CA_FILE", ROOTS}}, BUILT_BACKEND);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    expectNothingStored();
    allowAccess(ROOTS);
    EXPECT_EQ(create(2), "OK");
}

TEST_F(BackendFaults, MissingRootsAreMended) {
    start({{"CERTIFICATE_DIRECTORY", DIRECTORY}, {"ROOT_CA_FILE", ROOTS}}, BUILT_BACKEND);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    expectNothingStored();
    writeFile(ROOTS, made.certificate);
    EXPECT_EQ(create(2), "OK");
}

} // namespace
