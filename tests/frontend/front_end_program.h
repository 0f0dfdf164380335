#pragma once

// The front end's program as a test uses it, and what it needs around it.

#include "tests/support/daemon_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

class ChildProcess;

struct ProgramResult {
    int status = -1;
    std::string output; // standard output
    std::string errors; // standard error

    // The output as JSON; discarded when it is none.
    [[nodiscard]] nlohmann::json json() const;

    bool operator==(const ProgramResult&) const = default;
};

// For the messages of failed expectations.
void PrintTo(const ProgramResult& result, std::ostream* stream);

// Runs certificatectl to its end. Throws std::runtime_error when it does not end.
ProgramResult runFrontEnd(const std::vector<std::string>& arguments);

// certificatectl running beside the test.
class FrontEndProcess {
public:
    explicit FrontEndProcess(const std::vector<std::string>& arguments);
    ~FrontEndProcess();
    FrontEndProcess(const FrontEndProcess&) = delete;
    FrontEndProcess& operator=(const FrontEndProcess&) = delete;

    void interrupt();
    [[nodiscard]] std::string errors() const;

    // Waits for the end.
    ProgramResult finish();

private:
    TempDirectory directory;
    std::unique_ptr<ChildProcess> process;
};

// A server's certificate and its private key.
[[nodiscard]] std::string
identity(const std::vector<std::pair<std::string, std::string>>& subject = {{"CN", "a.example"}});

// A Redis server with connection files, and what `certificatectl init` sets up.
class FrontEndTest : public testing::Test {
protected:
    FrontEndTest();

    // The daemon with the reference backend, or with the steerable one.
    void startDaemon();
    void startSteerableDaemon();

    // The text in a file of the test; the file's path.
    std::string fileWith(const std::string& text);

    // Installs the text in COLLECTION; the new member.
    std::string install(const std::string& text);

    // Keys of request records that are there.
    std::vector<std::string> requestKeys();

    // Members of the collection, newest first.
    std::vector<std::string> members();

    TempDirectory directory;
    RedisServer server;
    RedisClient client{server};
    std::unique_ptr<DaemonProcess> daemon;
};

inline const std::string COLLECTION = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
inline const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
inline const std::string TASKS = "/redfish/v1/TaskService/Tasks";
