// Faults of the certificate files under the whole daemon with the reference backend: what the front
// end is told, and that the next request works once the fault is mended.

#include "tests/support/certificates.h"
#include "tests/support/temp_files.h"
#include "tests/system/request_road.h"

#include <linux/capability.h>
#include <sys/prctl.h>

#include <filesystem>
#include <fstream>
#include <functional>

namespace {

const std::string BUILT_BACKEND; // no folder before the build's own
const std::string DIRECTORY = "/tmp/certificates";
const std::string SMALL_DIRECTORY = "/mnt/certificates"; // on a disk of 64 KiB
const std::string FILLER = "/mnt/filler";
const std::string ROOTS = "/tmp/roots.pem";
const std::string MACHINE_FAULT = "EXCEPTION Base.1.9.InternalError ()";

// Leaves no room on the small disk.
void fillSmallDisk() {
    std::ofstream file(FILLER, std::ios::binary);
    while (file.put('x').flush()) {
    }
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
        for (const std::string& path : {DIRECTORY, ROOTS, SMALL_DIRECTORY, FILLER}) {
            std::filesystem::remove_all(path);
        }
    }

    void startIn(const std::string& directory) {
        start({{"CERTIFICATE_DIRECTORY", directory}, {"ROOT_CA_FILE", rootFile}}, BUILT_BACKEND);
    }

    // Sends a request with this text as the certificate.
    FrontEndAnswer sendText(const FrontEndRequest& request, const std::string& text) {
        storeRequest(client, request);
        // With its line ends as they are: reading does not undo escapes of them.
        client.command("HSET", request.bodyKey, "CertificateString", '"' + text + '"');
        return sendStoredRequest(server, request);
    }

    // What the front end is told of a creation or a replacement.
    std::string create(int number) {
        return describeAnswer(sendText(creation(number), made.privateKey + made.certificate));
    }
    std::string replace(const std::string& uri, int number) {
        return describeAnswer(
            sendText(replacement(uri, number), other.privateKey + other.certificate));
    }

    // The URI of a new certificate.
    std::string install() {
        EXPECT_EQ(create(1), "OK");
        return client.hash("status/1/result")["&&Location"];
    }

    std::string rootFile;
    const TestCertificate made = makeSelfSigned();
    const TestCertificate other = makeSelfSigned();
};

// ---- creations ----

struct Row {
    const char* name;
    std::string directory;
    std::function<void(const std::string& certificate)> spoil;
    std::function<void(const std::string& certificate)> mend;
    const char* told = ""; // on standard error
    bool hasRoots = false;

    friend void PrintTo(const Row& row, std::ostream* out) {
        *out << row.name;
    }
};

// What is in the way is no one else's to remove.
void removeWhatIsInTheWay(const std::string& path) {
    EXPECT_EQ(readFile(path), "in the way");
    std::filesystem::remove(path);
}

void nameAnotherDirectory(const std::string& /*certificate*/) {
    // The directory is read from the configuration at every call.
    writeFile("/usr/local/etc/nginx/CertificateService.conf",
              "CERTIFICATE_DIRECTORY=" + DIRECTORY + "\n");
}

// clang-format off
const Row ROWS[] = {
    {"AFileInThePlaceOfTheDirectory", DIRECTORY,
     [](const auto&) { writeFile(DIRECTORY, "in the way"); },
     [](const auto&) { removeWhatIsInTheWay(DIRECTORY); }},
    {"AFileInThePlaceOfAPart", DIRECTORY,
     [](const auto&) { writeFile(DIRECTORY + "/installed", "in the way"); },
     [](const auto&) { removeWhatIsInTheWay(DIRECTORY + "/installed"); }},
    {"AReadOnlyFileSystem", "/usr/share/certificates", [](const auto&) {}, nameAnotherDirectory,
     "Read-only file system"},
    {"AFullDisk", SMALL_DIRECTORY, [](const auto&) { fillSmallDisk(); },
     [](const auto&) { std::filesystem::remove(FILLER); }, "No space left on device"},
    {"ADirectoryWithoutPermission", DIRECTORY,
     [](const auto&) { std::filesystem::create_directory(DIRECTORY); forbidAccess(DIRECTORY); },
     [](const auto&) { allowAccess(DIRECTORY); }, "Permission denied"},
    {"RootsWithoutPermission", DIRECTORY,
     [](const auto& certificate) { writeFile(ROOTS, certificate); forbidAccess(ROOTS); },
     [](const auto&) { allowAccess(ROOTS); }, "", true},
    {"MissingRoots", DIRECTORY, [](const auto&) {},
     [](const auto& certificate) { writeFile(ROOTS, certificate); }, "", true},
};
// clang-format on

class MendedFault : public BackendFaults, public testing::WithParamInterface<Row> {};

TEST_P(MendedFault, IsToldWithNothingStoredAndGoneForTheNextRequest) {
    const Row& row = GetParam();
    rootFile = row.hasRoots ? ROOTS : "";
    obeyFilePermissions();
    startIn(row.directory);
    row.spoil(made.certificate);
    EXPECT_EQ(create(1), MACHINE_FAULT);
    EXPECT_NE(daemon->standardError().find(row.told), std::string::npos);
    EXPECT_TRUE(client.list("&&" + COLLECTION + "/Members").empty());
    EXPECT_TRUE(client.list("&&" + LOCATIONS + "/Links/Certificates").empty());
    row.mend(made.certificate);
    EXPECT_EQ(create(2), "OK");
}

INSTANTIATE_TEST_SUITE_P(Of, MendedFault, testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.name; });

// ---- what is installed ----

TEST_F(BackendFaults, OfAFullDiskLeaveTheOldPairInAReplacement) {
    startIn(SMALL_DIRECTORY);
    const std::string uri = install();
    fillSmallDisk();
    EXPECT_EQ(replace(uri, 2), MACHINE_FAULT);
    std::filesystem::remove(FILLER);
    // The old certificate is still the installed one: it changes nothing.
    EXPECT_EQ(describeAnswer(sendText(replacement(uri, 3), made.certificate)), "OK_RES");
    EXPECT_EQ(client.hash("status/3/result/ResponseData").count("&&RawJSON"), 1U);
    EXPECT_EQ(replace(uri, 4), "OK_RES");
    EXPECT_EQ(client.command("EXISTS", "status/4/result/ResponseData").integer, 0);
}

TEST_F(BackendFaults, OfPermissionsLeaveAnInstalledPairAsItIs) {
    obeyFilePermissions();
    startIn(DIRECTORY);
    const std::string uri = install();
    forbidAccess(DIRECTORY + "/installed");
    EXPECT_EQ(replace(uri, 2), MACHINE_FAULT);
    EXPECT_EQ(describeAnswer(send(deletion(uri, 3))), MACHINE_FAULT);
    allowAccess(DIRECTORY + "/installed");
    EXPECT_EQ(replace(uri, 4), "OK_RES");
    EXPECT_EQ(describeAnswer(send(deletion(uri, 5))), "OK_EMPTY");
}

} // namespace
