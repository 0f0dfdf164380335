#pragma once

// One operation of the resource store as a case: beside a replay of its wire bytes with the same
// exchanges, on a database with the same content.

#include "bench/function_cases.h"
#include "bench/store_stage.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>

inline constexpr const char* MEASURED_URI = "/redfish/v1/Example/Certificates/1";

using Document = std::shared_ptr<const nlohmann::json>;
using StoredContent = std::function<Exchanges()>;

// A call of what is measured. What it leaves in memory is freed by the other function, untimed,
// before each run.
struct Operation {
    StoreCall call;
    std::function<void()> release = [] {};
};

struct StoreCase {
    std::string name;
    double goal = 0; // largest ratio of the processor times; 0: none
    int rounds = 0;
    StoredContent content; // what stands in the database
    StoreCall captured;    // its exchanges are the floor
    Operation ours;        // the captured call, as a rule
    bool changes = true;   // the content is restored before each run, not only before the first
};

// The stage must live as long as the case.
[[nodiscard]] FunctionCase functionCase(const StoreStage& stage, const StoreCase& measured);

// The same, with the size of the wire bytes as the size of what is measured.
[[nodiscard]] GrowthPoint growthPoint(const StoreStage& stage, const StoreCase& measured);

// The store's operations at MEASURED_URI, as calls that throw std::runtime_error when they fail.
[[nodiscard]] StoreCall writing(const Document& document);
[[nodiscard]] StoreCall updating(const Document& change);
void removing(redisContext* context);
void reading(redisContext* context);
void readResource(redisContext* context, nlohmann::json& document);

// A call that reads into a document, which it leaves to its caller.
[[nodiscard]] Operation
readingInto(const std::function<void(redisContext*, nlohmann::json&)>& read);
[[nodiscard]] Operation readingIntoDocument();

[[nodiscard]] StoredContent nothing();

// What writing the document stores.
[[nodiscard]] StoredContent storedBy(const StoreStage& stage, const Document& document);
