#include "tests/web/web_process.h"

#include "frontend/records/seed_records.h"
#include "tests/support/certificates.h"
#include "tests/support/child_process.h"
#include "tests/support/wait.h"

#include <sys/stat.h>

#include <csignal>
#include <iostream>
#include <stdexcept>

WebProcess::WebProcess(const std::vector<std::string>& moreArguments) {
    const std::string password = directory.file("password");
    writeFile(password, WEB_PASSWORD + "\n");
    (void)chmod(password.c_str(), 0600);
    ChildProcessOptions options;
    options.arguments = {WEB_PROGRAM, "--listen",        "127.0.0.1:0", "--user",
                         WEB_USER,    "--password-file", password};
    options.arguments.insert(options.arguments.end(), moreArguments.begin(), moreArguments.end());
    options.outputFile = directory.file("output");
    options.errorFile = directory.file("errors");
    process = std::make_unique<ChildProcess>(options);
    const bool listens = waitUntil([&] { return output().ends_with('\n') || !process->running(); });
    if (!listens || output().empty()) {
        throw std::runtime_error("certificateweb does not listen\n" + errors());
    }
}

WebProcess::~WebProcess() = default;

std::uint16_t WebProcess::port() const {
    const std::string text = output();
    return static_cast<std::uint16_t>(std::stoul(text.substr(text.rfind(':') + 1)));
}

std::string WebProcess::output() const {
    return readFileIfAny(directory.file("output"));
}

std::string WebProcess::errors() const {
    return readFileIfAny(directory.file("errors"));
}

std::optional<int> WebProcess::end() {
    process->signal(SIGTERM);
    return process->waitForExit(WAIT_LIMIT_SECONDS);
}

int WebProcess::pid() const {
    return process->pid();
}

WebTest::WebTest() {
    writeConnectionFiles(server);
    (void)seedRecords(redis.context(), {COLLECTION});
    daemon = std::make_unique<DaemonProcess>();
    daemon->waitUntilReady(server);
    web = std::make_unique<WebProcess>();
    client = newClient();
}

void WebTest::TearDown() {
    if (HasFailure() && web) {
        std::cerr << "certificateweb has printed:\n" << web->errors();
    }
}

std::unique_ptr<HttpsClient> WebTest::newClient() const {
    return std::make_unique<HttpsClient>(web->port(), Login{WEB_USER, WEB_PASSWORD, ""});
}

std::unique_ptr<HttpsClient> WebTest::stranger() const {
    return std::make_unique<HttpsClient>(web->port(), Login{});
}

std::string WebTest::install(const std::string& text) {
    const HttpsAnswer answer = client->post(COLLECTION, creationOf(text));
    EXPECT_EQ(answer.status, 201) << answer.body;
    return answer.header("Location");
}

std::string serverIdentity(const std::string& commonName) {
    CertificateOptions options;
    options.subject = {{"CN", commonName}};
    options.extensions = {{"keyUsage", "digitalSignature"}, {"extendedKeyUsage", "serverAuth"}};
    const TestCertificate made = makeSelfSigned(options);
    return made.certificate + made.privateKey;
}

nlohmann::json creationOf(const std::string& text) {
    return {{"CertificateString", text}, {"CertificateType", "PEM"}};
}
