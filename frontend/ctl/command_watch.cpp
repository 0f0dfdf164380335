// Shows resource events and task states as they come.

#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/interrupt.h"
#include "frontend/exchange/subscription.h"
#include "frontend/records/event_script.h"
#include "frontend/records/timestamps.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ctime>

namespace {

using nlohmann::json;

constexpr double DAY_SECONDS = 86400.0;

struct WatchOptions {
    int count = 0;      // 0: without end
    double seconds = 0; // 0: without end
};

// The local time, "23:59:59".
std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    (void)localtime_r(&now, &local);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &local)};
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 0, ' ');
}

void showEvent(const ResourceEvent& event, bool asJson) {
    if (asJson) {
        printJson({{"time", isoTimeNow()},
                   {"kind", "event"},
                   {"operation", event.operation},
                   {"uri", event.uri},
                   {"type", event.type},
                   {"eventGroupId", event.groupId}},
                  true);
        return;
    }
    printLine(timeOfDay() + "  event  " + padded(event.operation, 10) + padded(event.type, 23) +
              event.uri + "  (group " + event.groupId + ")");
}

void showTaskChange(const TaskChange& change, bool asJson) {
    if (asJson) {
        printJson({{"time", isoTimeNow()},
                   {"kind", "task"},
                   {"state", change.state},
                   {"uri", change.taskUri}},
                  true);
        return;
    }
    printLine(timeOfDay() + "  task   " + padded(change.state, 10) + padded("Task", 23) +
              change.taskUri);
}

void showOther(const ChannelMessage& message, bool asJson) {
    if (asJson) {
        printJson({{"time", isoTimeNow()},
                   {"kind", "other"},
                   {"channel", message.channel},
                   {"text", message.text}},
                  true);
        return;
    }
    printLine(timeOfDay() + "  other  " + message.channel + "  " + message.text);
}

void showMessage(const ChannelMessage& message, bool asJson) {
    const auto change =
        message.channel == TASK_STATE_CHANNEL ? parseTaskStateMessage(message.text) : std::nullopt;
    const auto event =
        message.channel == RESOURCE_EVENT_CHANNEL ? parseEvent(message.text) : std::nullopt;
    if (event) {
        showEvent(*event, asJson);
    } else if (change) {
        showTaskChange(*change, asJson);
    } else {
        showOther(message, asJson);
    }
}

void runWatch(const CommonOptions& common, const WatchOptions& options) {
    const RedisConnection session = openRedisSession();
    subscribe(session.get(), {RESOURCE_EVENT_CHANNEL, TASK_STATE_CHANNEL});
    printNote("Watching resource events and task states; Ctrl-C ends it.", Colour::SOFT);
    const Clock::time_point end = deadlineIn(options.seconds);
    int shown = 0;
    while (!wasInterrupted() && (options.count == 0 || shown < options.count)) {
        const Clock::time_point deadline = options.seconds > 0 ? end : deadlineIn(DAY_SECONDS);
        const auto message = nextMessage(session.get(), deadline);
        if (message) {
            showMessage(*message, common.json);
            ++shown;
        } else if (options.seconds > 0 && Clock::now() >= end) {
            break;
        }
    }
}

} // namespace

void addWatch(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* command = app.add_subcommand(
        "watch", "Show resource events and task states as they come, until Ctrl-C.");
    command->add_option("--count", options->count, "end after so many lines")
        ->type_name("N")
        ->check(positiveCheck());
    command->add_option("--seconds", options->seconds, "end after so many seconds")
        ->type_name("N")
        ->check(positiveCheck());
    command->footer("Example:\n"
                    "  certificatectl watch --json --count 10\n");
    chooseWhenNamed(*command, chosen, options, runWatch);
}
