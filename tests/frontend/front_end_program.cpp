#include "tests/frontend/front_end_program.h"

#include "tests/support/certificates.h"
#include "tests/support/child_process.h"
#include "tests/support/fake_backend.h"
#include "tests/support/wait.h"

#include <csignal>
#include <stdexcept>

nlohmann::json ProgramResult::json() const {
    return nlohmann::json::parse(output, nullptr, false);
}

void PrintTo(const ProgramResult& result, std::ostream* stream) {
    *stream << "status " << result.status << "\n" << result.output << "---\n" << result.errors;
}

ProgramResult runFrontEnd(const std::vector<std::string>& arguments) {
    return FrontEndProcess(arguments).finish();
}

FrontEndProcess::FrontEndProcess(const std::vector<std::string>& arguments) {
    ChildProcessOptions options;
    options.arguments = {FRONT_END_PROGRAM};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    options.outputFile = directory.file("output");
    options.errorFile = directory.file("errors");
    process = std::make_unique<ChildProcess>(options);
}

FrontEndProcess::~FrontEndProcess() = default;

void FrontEndProcess::interrupt() {
    process->signal(SIGINT);
}

std::string FrontEndProcess::errors() const {
    return readFileIfAny(directory.file("errors"));
}

ProgramResult FrontEndProcess::finish() {
    const auto status = process->waitForExit(WAIT_LIMIT_SECONDS);
    const std::string output = readFileIfAny(directory.file("output"));
    if (!status) {
        throw std::runtime_error("certificatectl does not end\n" + output + errors());
    }
    return {*status, output, errors()};
}

std::string identity(const std::vector<std::pair<std::string, std::string>>& subject) {
    CertificateOptions options;
    options.subject = subject;
    options.extensions = {{"keyUsage", "digitalSignature"}, {"extendedKeyUsage", "serverAuth"}};
    const TestCertificate made = makeSelfSigned(options);
    return made.certificate + made.privateKey;
}

FrontEndTest::FrontEndTest() {
    writeConnectionFiles(server);
    const ProgramResult seeded = runFrontEnd({"init"});
    if (seeded.status != 0) {
        throw std::runtime_error("init failed: " + seeded.errors);
    }
}

void FrontEndTest::startDaemon() {
    daemon = std::make_unique<DaemonProcess>();
    daemon->waitUntilReady(server);
}

void FrontEndTest::startSteerableDaemon() {
    DaemonOptions options;
    options.libraryPath = fakeBackendDirectory();
    daemon = std::make_unique<DaemonProcess>(options);
    daemon->waitUntilReady(server);
}

std::string FrontEndTest::fileWith(const std::string& text) {
    std::string path = directory.file("input");
    writeFile(path, text);
    return path;
}

std::string FrontEndTest::install(const std::string& text) {
    const ProgramResult result = runFrontEnd({"create", COLLECTION, fileWith(text)});
    EXPECT_EQ(result.status, 0) << result.errors;
    return members().at(0);
}

std::vector<std::string> FrontEndTest::requestKeys() {
    std::vector<std::string> found;
    for (const std::string& key : client.keys()) {
        if (key.find("/Requests/") != std::string::npos) {
            found.push_back(key);
        }
    }
    return found;
}

std::vector<std::string> FrontEndTest::members() {
    std::vector<std::string> uris;
    for (const std::string& entry : client.list("&&" + COLLECTION + "/Members")) {
        uris.push_back(entry.substr(entry.find(' ') + 1));
    }
    return uris;
}
