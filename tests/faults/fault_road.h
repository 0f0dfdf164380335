#pragma once

// What the tests of spoilt connections share: a daemon with the steerable backend that reaches the
// server through the proxy, and the faults.

#include "tests/faults/fault_proxy.h"
#include "tests/system/request_road.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

inline const std::string CERTIFICATE = COLLECTION + "/1a2b"; // seed() stores it

struct Fault {
    std::string name;
    FaultKind kind;
    std::string error;

    friend void PrintTo(const Fault& fault, std::ostream* out) {
        *out << fault.name;
    }
};

// Lost connections, and every error with which a server refuses a sound command.
[[nodiscard]] std::vector<Fault> connectionFaults();

[[nodiscard]] std::size_t openDescriptors(int pid);

class FaultRoad : public RequestRoad {
protected:
    FaultRoad();

    // A new daemon and database, without a fault planned.
    void restart();

    // Empties the database and stores what the requests need.
    void seed();

    FaultProxy proxy;
};
