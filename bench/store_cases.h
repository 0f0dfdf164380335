#pragma once

// The operations of the resource store, each beside a replay of its own wire bytes with the same
// exchanges over the same connection.

#include "bench/function_cases.h"

#include <memory>

class StoreBench {
public:
    // Starts a Redis server of its own. The cases may be run while this object lives.
    explicit StoreBench(bool quick);
    ~StoreBench();
    StoreBench(const StoreBench&) = delete;
    StoreBench& operator=(const StoreBench&) = delete;

    [[nodiscard]] const FunctionCases& cases() const;

    // Costs at growing sizes; every case named here is one of cases().
    [[nodiscard]] const GrowthGroups& growth() const;

private:
    struct State;
    std::unique_ptr<State> mState;
};
