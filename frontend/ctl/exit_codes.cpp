#include "frontend/ctl/exit_codes.h"

#include <algorithm>
#include <array>

namespace {

struct Meaning {
    int code;
    const char* text;
};

// clang-format off
constexpr std::array<Meaning, 8> MEANINGS = {{
    {EXIT_DONE,        "done"},
    {EXIT_REFUSED,     "the service refused or failed; or check found differences"},
    {EXIT_USAGE,       "the command line is wrong"},
    {EXIT_NO_REDIS,    "Redis is not there, or refuses a command"},
    {EXIT_NO_ANSWER,   "no answer: the daemon does not listen, or not in time"},
    {EXIT_LOCAL_FILE,  "a file or standard output cannot be used"},
    {EXIT_EXPIRING,    "list --expiring found certificates"},
    {EXIT_INTERRUPTED, "interrupted"},
}};

struct Failure {
    FailureKind kind;
    int code;
    const char* hint;
};

constexpr std::array<Failure, 9> FAILURES = {{
    {FailureKind::NO_REDIS,       EXIT_NO_REDIS,    ""},
    {FailureKind::NOBODY_LISTENS, EXIT_NO_ANSWER,   ""},
    {FailureKind::TIMED_OUT,      EXIT_NO_ANSWER,   "--timeout gives it longer."},
    {FailureKind::NO_ANSWER,      EXIT_NO_ANSWER,   ""},
    {FailureKind::INTERRUPTED,    EXIT_INTERRUPTED, ""},
    {FailureKind::LOCAL_FILE,     EXIT_LOCAL_FILE,  ""},
    {FailureKind::BAD_INPUT,      EXIT_USAGE,       ""},
    {FailureKind::NOT_THERE,      EXIT_REFUSED,     ""},
    {FailureKind::TOO_LARGE,      EXIT_REFUSED,     ""},
}};
// clang-format on

const Failure& failureOf(FailureKind kind) {
    return *std::find_if(FAILURES.begin(), FAILURES.end(),
                         [kind](const Failure& failure) { return failure.kind == kind; });
}

} // namespace

int exitCodeOf(FailureKind kind) {
    return failureOf(kind).code;
}

std::string commandLineHint(FailureKind kind) {
    return failureOf(kind).hint;
}

std::string exitCodeHelp() {
    constexpr std::size_t WIDTH = 5;
    std::string help;
    for (const Meaning& meaning : MEANINGS) {
        std::string code = std::to_string(meaning.code);
        code.resize(WIDTH, ' ');
        help += "  " + code + meaning.text + "\n";
    }
    return help;
}
