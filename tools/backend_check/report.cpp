#include "tools/backend_check/report.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::size_t MOST_SHOWN = 12;

std::vector<Finding> allFindings(const Outcome& outcome) {
    std::vector<Finding> findings = outcome.findings;
    if (!outcome.end.empty()) {
        const std::string during =
            outcome.lastStep.empty() ? "" : ", while asked for this: " + outcome.lastStep;
        findings.push_back({Severity::FAULT, outcome.end + during});
    }
    return findings;
}

bool holds(const std::vector<Finding>& findings, Severity severity) {
    return std::any_of(findings.begin(), findings.end(),
                       [&](const Finding& finding) { return finding.severity == severity; });
}

void showFindings(const std::vector<Finding>& findings) {
    std::vector<std::string> shown;
    for (const auto& [severity, text] : findings) {
        const std::string line = (severity == Severity::FAULT ? "" : "(note) ") + text;
        if (std::find(shown.begin(), shown.end(), line) != shown.end()) {
            continue;
        }
        shown.push_back(line);
        if (shown.size() <= MOST_SHOWN) {
            (void)std::printf("         %s\n", line.c_str());
        }
    }
    if (shown.size() > MOST_SHOWN) {
        (void)std::printf("         and %zu more\n", shown.size() - MOST_SHOWN);
    }
}

} // namespace

void report(const std::string& check, const Outcome& outcome, Totals& totals) {
    const std::vector<Finding> findings = allFindings(outcome);
    const bool isFaulty = holds(findings, Severity::FAULT);
    const bool hasNotes = !isFaulty && holds(findings, Severity::NOTE);
    ++totals.checks;
    totals.faults += isFaulty ? 1 : 0;
    totals.notes += hasNotes ? 1 : 0;
    (void)std::printf("  %-6s %s\n", isFaulty ? "FAULT" : hasNotes ? "note" : "ok", check.c_str());
    showFindings(findings);
    (void)std::fflush(stdout);
}

void reportTotals(const Totals& totals) {
    (void)std::printf("\n%d checks: %d passed, %d with faults, %d with notes\n", totals.checks,
                      totals.checks - totals.faults - totals.notes, totals.faults, totals.notes);
}
