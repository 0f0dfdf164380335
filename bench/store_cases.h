#pragma once

// What is measured of the resource store. The stage must live as long as the cases.

#include "bench/function_cases.h"

class StoreStage;

// Its operations on a certificate resource and on two large documents, and the same documents kept
// as one JSON text.
[[nodiscard]] FunctionCases storeCases(const StoreStage& stage, bool quick);

// Reading and writing at growing sizes.
[[nodiscard]] GrowthGroups storeGrowth(const StoreStage& stage, bool quick);

// A quick run takes an eighth of the rounds.
[[nodiscard]] inline int roundsOf(int full, bool quick) {
    return quick ? full / 8 + 4 : full;
}
