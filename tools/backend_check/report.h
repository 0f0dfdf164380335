#pragma once

// What a person reads of the checks.

#include "tools/backend_check/findings.h"

#include <string>

struct Totals {
    int checks = 0;
    int faults = 0; // checks with at least one
    int notes = 0;  // checks with notes alone
};

// Prints one check's outcome on standard output and counts it. Findings of the same words show
// once.
void report(const std::string& check, const Outcome& outcome, Totals& totals);

// The last line.
void reportTotals(const Totals& totals);
