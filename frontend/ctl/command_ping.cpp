// Asks the daemon for an action that no service has, so that nothing is changed, and tells how long
// the answer took.

#include "core/protocol/channels.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/interrupt.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

constexpr const char* UNKNOWN_ACTION_URI =
    "/redfish/v1/CertificateService/Actions/CertificateService.Ping";

// A signal that ends the pause is noticed after this time.
constexpr std::chrono::milliseconds LONGEST_SLEEP(100);

constexpr const char* DEAF_HINT =
    "A daemon that runs all the same was dropped by Redis and hears nothing more: restart it.";

struct PingOptions {
    int tries = 1;
    double pause = 60; // seconds
};

// The service has no such action, and that is the answer.
bool isExpected(const ServiceAnswer& answer) {
    return answer.messageId.ends_with(".ActionNotSupported");
}

// Each listener has a connection of its own, which Redis may have dropped alone.
void checkListeners(redisContext* session) {
    for (const char* channel : {CREATE_CHANNEL, DELETE_CHANNEL, ACTION_CHANNEL}) {
        if (!isListenedTo(session, channel)) {
            throw FrontEndError(FailureKind::NOBODY_LISTENS,
                                std::string("Nobody listens on channel ") + channel + ".",
                                DEAF_HINT);
        }
    }
}

// Seconds from storing the request to its answer.
double askOnce(const CommonOptions& common) {
    const RedisConnection session = openRedisSession();
    checkListeners(session.get());
    const RequestHead head = {ACTION_CHANNEL, UNKNOWN_ACTION_URI, "",
                              timeoutOr(common, DEFAULT_TIMEOUT)};
    const Clock::time_point start = Clock::now();
    ServiceRequest request(session.get(), head, nullptr);
    ServiceAnswer answer = request.awaitAnswer();
    const double seconds = secondsSince(start);
    if (!isExpected(answer)) {
        throw ServiceRefusal(std::move(answer));
    }
    return seconds;
}

void pauseFor(double seconds) {
    const Clock::time_point end = deadlineIn(seconds);
    while (Clock::now() < end && !wasInterrupted()) {
        std::this_thread::sleep_for(std::min<Clock::duration>(end - Clock::now(), LONGEST_SLEEP));
    }
    if (wasInterrupted()) {
        throw FrontEndError(FailureKind::INTERRUPTED,
                            "Interrupted before the daemon had answered.");
    }
}

// Asks again only while the daemon is silent: a failure of another kind says nothing about it.
double askUntilAnswered(const CommonOptions& common, const PingOptions& options) {
    for (int tried = 1;; ++tried) {
        try {
            return askOnce(common);
        } catch (const FrontEndError& error) {
            if (tried >= options.tries || exitCodeOf(error.kind) != EXIT_NO_ANSWER) {
                throw;
            }
            printNote(std::string("certificatectl: ") + error.what() + " (try " +
                      std::to_string(tried) + " of " + std::to_string(options.tries) + ")");
        }
        pauseFor(options.pause);
    }
}

void runPing(const CommonOptions& common, const PingOptions& options) {
    const double seconds = askUntilAnswered(common, options);
    if (common.json) {
        printJson({{"answered", true}, {"seconds", seconds}});
    } else {
        printLine("The daemon answered in " + durationText(seconds) + ".", Colour::GOOD);
    }
}

} // namespace

void addPing(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<PingOptions>();
    CLI::App* command = app.add_subcommand(
        "ping", "Ask whether the daemon answers, and how fast. Nothing is changed.");
    command
        ->add_option("--tries", options->tries, "ask so many times before giving up (default: 1)")
        ->type_name("N")
        ->check(positiveCheck());
    command->add_option("--pause", options->pause, "seconds between two tries (default: 60)")
        ->type_name("SECONDS")
        ->check(positiveCheck());
    command->footer(
        "The exit status is 4 when one of the daemon's channels has no listener or no "
        "answer comes, in every one of the tries; 3 when Redis cannot be reached, which "
        "ends it at once.\n"
        "\nExample:\n"
        "  certificatectl ping --tries 3 --pause 20 --timeout 10\n");
    chooseWhenNamed(*command, chosen, options, runPing);
}
