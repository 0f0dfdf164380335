#pragma once

// What the tests of spoilt connections share: a daemon with the steerable backend that reaches the
// server through the proxy, and the faults.

#include "tests/faults/fault_proxy.h"
#include "tests/support/daemon_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

extern const std::string COLLECTION;  // a collection that seed() stores
extern const std::string CERTIFICATE; // a certificate in it

struct Fault {
    std::string name;
    FaultKind kind;
    std::string error;
};

void PrintTo(const Fault& fault, std::ostream* stream);

// Lost connections, and every error with which a server refuses a sound command.
[[nodiscard]] std::vector<Fault> connectionFaults();

[[nodiscard]] std::size_t openDescriptors(int pid);

// A fixture's base. The tests' own client goes to the server directly.
class FaultRoad {
protected:
    FaultRoad();

    // A new daemon, without a fault planned.
    void restartDaemon();

    // Empties the database and stores what the requests need.
    void seed();

    RedisServer mServer;
    FaultProxy mProxy;
    RedisClient mClient;
    std::unique_ptr<DaemonProcess> mDaemon;
};
