#pragma once

// certificateweb as a test uses it, and what it needs around it.

#include "tests/support/daemon_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"
#include "tests/web/https_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ChildProcess;

// The program with a user, on a free port. Connection files must stand there before. Started and
// listening at the end of construction, killed at destruction.
class WebProcess {
public:
    explicit WebProcess(const std::vector<std::string>& moreArguments = {});
    ~WebProcess();
    WebProcess(const WebProcess&) = delete;
    WebProcess& operator=(const WebProcess&) = delete;

    [[nodiscard]] std::uint16_t port() const;

    // What the program has printed.
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;

    // SIGTERM; the exit status, nothing when the program does not end.
    std::optional<int> end();

    [[nodiscard]] int pid() const;

private:
    TempDirectory directory;
    std::unique_ptr<ChildProcess> process;
};

inline const std::string WEB_USER = "operator";
inline const std::string WEB_PASSWORD = "correct horse: battery staple";

// A Redis server with connection files and what a front end keeps in it, the daemon with the
// reference backend, and certificateweb.
class WebTest : public testing::Test {
protected:
    WebTest();

    // Shows what certificateweb has printed, when the test has failed.
    void TearDown() override;

    // A client that says who it is with each request.
    [[nodiscard]] std::unique_ptr<HttpsClient> newClient() const;

    // One with no login.
    [[nodiscard]] std::unique_ptr<HttpsClient> stranger() const;

    // Installs the text (a certificate with its key) in COLLECTION; the new member.
    std::string install(const std::string& text);

    RedisServer server;
    RedisClient redis{server};
    std::unique_ptr<DaemonProcess> daemon;
    std::unique_ptr<WebProcess> web;
    std::unique_ptr<HttpsClient> client;
};

// A server's certificate and its private key as one text.
[[nodiscard]] std::string serverIdentity(const std::string& commonName = "a.example");

// The body of a creation with this text.
[[nodiscard]] nlohmann::json creationOf(const std::string& text);

inline const std::string COLLECTION = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
inline const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
inline const std::string GENERATE_CSR =
    "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
inline const std::string REPLACE_CERTIFICATE =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";
