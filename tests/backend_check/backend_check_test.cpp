// certificate-backend-check against the reference backend, which keeps the contract, and against
// backends with one fault each, which it must find.

#include "tests/support/child_process.h"
#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cctype>
#include <map>
#include <ostream>
#include <string_view>

namespace {

using testing::HasSubstr;

constexpr double PATIENCE = 250; // seconds

struct Report {
    int status;
    std::string text;
};

Report runCheck(const std::string& library, const std::vector<std::string>& options = {},
                const std::map<std::string, std::string>& environment = {}) {
    const TempDirectory folder;
    ChildProcessOptions program;
    program.arguments = {BACKEND_CHECK_PROGRAM, library};
    program.arguments.insert(program.arguments.end(), options.begin(), options.end());
    program.environment = environment;
    program.outputFile = folder.file("report");
    program.errorFile = folder.file("report");
    ChildProcess process(program);
    const auto status = process.waitForExit(PATIENCE);
    return {status.value_or(-1), readFile(folder.file("report"))};
}

TEST(BackendCheck, FindsNoFaultInTheReferenceBackend) {
    const Report report = runCheck(REFERENCE_BACKEND, {"--limit", "200"});
    EXPECT_EQ(report.status, 0) << report.text;
    EXPECT_THAT(report.text, HasSubstr(" 0 with faults, 0 with notes"));
    EXPECT_TRUE(listDirectory("/var/lib/CertificateService/installed").empty());
}

struct Planted {
    const char* name;  // as faulty_backend.cpp has it
    const char* check; // words of the check that must find it
    const char* found; // words of the report
};

void PrintTo(const Planted& planted, std::ostream* out) {
    *out << planted.name << ", " << planted.check;
}

constexpr Planted PLANTED[] = {
    {"killed", "Every signing request", "signal 9 (Killed), while asked for this: a request"},
    {"exits", "Every signing request", "ended itself, with status 7"},
    {"exception", "Every signing request", "leaves the handler: a planted exception"},
    {"exception of no known kind", "Every signing request", "an exception leaves the handler"},
    {"refusals are faults", "Wrong certificates", "code 400 was expected, not 500"},
    {"no code", "Wrong certificates", "code 400 was expected, not 0"},
    {"argument is missing", "Wrong certificates", "in its registry, here 1"},
    {"identifier without registry", "Wrong certificates", "\"InternalError\" is none"},
    {"everything is accepted", "Wrong certificates", "an empty text: was accepted"},
    {"everything is accepted", "Hostile certificate", "an empty text: was accepted"},
    {"killed", "Hostile parameters", "while asked for this: an empty text as CommonName"},
    {"text is missing", "with its private key", "the certificate's text is empty"},
    {"key in the text", "with its private key", "the certificate's text holds a private key"},
    {"key as its place", "with its private key", "the result holds the private key"},
    {"key is printed", "with its private key", "the library has printed a private key"},
    {"local time", "with its private key", "not ISO 8601 in UTC"},
    {"wrong date", "with its private key", "the validity is another than the certificate's"},
    {"short names", "with its private key", "\"CN\", which Redfish's Identifier has not"},
    {"usage by another name", "with its private key", "is none of Redfish's"},
    {"name that is no text", "with its private key", "CommonName is not UTF-8"},
    {"root is passed over", "With a root file", "not in the root file: was accepted"},
    {"creation overwrites", "never overwrites", "the same identifier: was accepted"},
    {"deletion does nothing", "What is deleted", "its deletion once more: was accepted"},
    {"no operation is not told", "Another certificate", "Base.1.9.NoOperation was expected"},
    {"everything is no operation", "Another certificate", "is told to be the installed one"},
    {"replacement describes another", "Another certificate", "describes another certificate"},
    {"replacement where nothing is", "Nothing is replaced", "nothing is installed: was accepted"},
    {"replacement in two steps", "refused replacement", "is another one afterwards"},
    {"replacement in two steps", "is killed", "neither the old nor the new"},
    {"password is told", "challenge password", "the message tells the password"},
    {"one key for all", "Every signing request", "two requests have the same key"},
    {"longer key", "RSA", "its key has not 2048 bits"},
    {"request is none", "P-256", "the result is no PEM text of a PKCS #10 request"},
    {"subject is cut", "P-256", "its subject lacks a part"},
    {"results are shared", "eight threads", "the result is another thread's"},
    {"requests are shared", "eight threads", "the result is another thread's"},
    {"identifiers are not compared", "Of eight", "8 were carried out"},
    {"key stays", "goes with its certificate", "the private key is still in"},
    {"key for everybody", "goes with its certificate", "others may read the private key"},
    {"refusal leaves a file", "leaves nothing on disk", "has written"},
    {"descriptor stays open", "The process stays", "the number of open descriptors is"},
    {"mask is set", "The process stays", "the mask of file modes is"},
    {"folder is changed", "The process stays", "the working folder is"},
    {"signal is ignored", "The process stays", "what is done about ALRM is ignored"},
    {"path is followed", "Paths in identifiers", "was followed"},
    {"deletion follows paths", "Paths in deletions", "a deletion followed a path"},
};

class PlantedFault : public testing::TestWithParam<Planted> {};

TEST_P(PlantedFault, IsFound) {
    const auto& [name, check, found] = GetParam();
    const TempDirectory openFolder;
    ASSERT_EQ(chmod(openFolder.path().c_str(), 0755), 0);
    const Report report =
        runCheck(FAULTY_BACKEND,
                 {"--only", check, "--limit", "200", "--directory", "/var/lib/CertificateService",
                  "--directory", openFolder.path()},
                 {{"PLANTED_FAULT", name}, {"OPEN_FOLDER", openFolder.path()}});
    EXPECT_EQ(report.status, 1) << report.text;
    EXPECT_THAT(report.text, HasSubstr(found));
}

std::string nameOf(const testing::TestParamInfo<Planted>& info) {
    std::string name;
    for (const char* words : {info.param.name, info.param.check}) {
        bool isFirst = true;
        for (const char character : std::string_view(words)) {
            const bool isLetter = std::isalnum(static_cast<unsigned char>(character)) != 0;
            if (isLetter) {
                name += isFirst ? static_cast<char>(std::toupper(character)) : character;
            }
            isFirst = !isLetter;
        }
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(BackendCheck, PlantedFault, testing::ValuesIn(PLANTED), nameOf);

TEST(BackendCheck, FindsABackendThatNeverReturns) {
    const Report report =
        runCheck(FAULTY_BACKEND, {"--only", "Every signing request", "--limit", "5"},
                 {{"PLANTED_FAULT", "never returns"}});
    EXPECT_EQ(report.status, 1);
    EXPECT_THAT(report.text, HasSubstr("no answer came in time, while asked for this: a request"));
}

TEST(BackendCheck, SaysWhyALibraryCannotBeUsed) {
    const TempDirectory folder;
    writeFile(folder.file("empty.so"), "");
    for (const auto& [library, reason] : std::vector<std::pair<std::string, std::string>>{
             {folder.file("missing.so"), "cannot open shared object file"},
             {folder.file("empty.so"), "file too short"},
             {OTHER_LIBRARY, "createCertificateHandler is missing"},
             {OLD_ABI_BACKEND, "it was built with the old std::string"},
         }) {
        const Report report = runCheck(library);
        EXPECT_EQ(report.status, 3) << report.text;
        EXPECT_THAT(report.text, HasSubstr(reason));
    }
}

TEST(BackendCheck, RefusesAWrongCommandLine) {
    EXPECT_EQ(runCheck("--unknown").status, 2);
    EXPECT_EQ(runCheck(REFERENCE_BACKEND, {"--only", "no such words"}).status, 2);
    EXPECT_EQ(runCheck("--list").status, 0);
}

} // namespace
