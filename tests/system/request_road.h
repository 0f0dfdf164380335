#pragma once

// What the tests of whole requests start from: a server, the daemon with the steerable backend, and
// the front end's part. The daemon talks TCP and the test the Unix socket, so that a recording of
// commands tells them apart.

#include "tests/support/command_monitor.h"
#include "tests/support/daemon_process.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

inline const std::string COLLECTION = "/redfish/v1/Managers/1/Certificates";
inline const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
inline const std::string GENERATE_CSR =
    "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
inline const std::string REPLACE_CERTIFICATE =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";
inline const std::string DAEMON_CLIENTS = "127.0.0.1:";
constexpr int ABORTED = 128 + 6; // ended by SIGABRT

class RequestRoad : public testing::Test {
protected:
    // The server gets the TCP port that the daemon knows. One with a password refuses a connection
    // that is too many when it logs in.
    explicit RequestRoad(const RedisServerOptions& options = {});

    // Starts the daemon and waits until it listens. An empty library path means the backend of the
    // build.
    void start(const std::map<std::string, std::string>& configuration = {},
               const std::string& libraryPath = fakeBackendDirectory());

    // The same without waiting.
    void launch(const std::map<std::string, std::string>& configuration = {},
                const std::string& libraryPath = fakeBackendDirectory());

    // The request goes its whole road.
    FrontEndAnswer send(const FrontEndRequest& request);

    // Announces a stored request and waits for nothing.
    void announce(const FrontEndRequest& request, const std::string& message);

    void storeAndAnnounce(const FrontEndRequest& request);

    // The daemon's log without times.
    [[nodiscard]] std::string log() const;

    // Whether the daemon ends by an uncaught exception when it is given this request, and leaves
    // everything stored as it was.
    [[nodiscard]] bool abortsUnharmed(const FrontEndRequest& request);

    RedisServer server;
    RedisClient client;
    std::unique_ptr<DaemonProcess> daemon;
};

// Requests numbered from 1, so that several can be under way.
[[nodiscard]] FrontEndRequest creation(int number = 1);
[[nodiscard]] FrontEndRequest deletion(const std::string& certificateUri, int number = 1);

// A GenerateCSR request for COLLECTION with these further members, and "/tasks/<number>" as task.
[[nodiscard]] FrontEndRequest signing(const std::string& members, int number = 1);

[[nodiscard]] FrontEndRequest replacement(const std::string& certificateUri, int number = 1);

// A request of this kind that succeeds with a backend that says yes.
[[nodiscard]] FrontEndRequest soundRequest(RequestKind kind, int number = 1);

// Names the tests of one kind of request.
[[nodiscard]] std::string kindName(const testing::TestParamInfo<RequestKind>& info);

// Status word and message in one line: "FAILURE Base.1.9.X (a, b)"; "no reply" when none came.
[[nodiscard]] std::string describeAnswer(const FrontEndAnswer& answer);
