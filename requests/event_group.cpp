#include "requests/event_group.h"

#include "core/logger.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/redis_commands.h"

#include <atomic>
#include <limits>
#include <optional>
#include <stdexcept>

namespace {

// Stands both for "not read yet" and for the maximum when the setting is unusable.
constexpr std::int32_t UNSET_MAXIMUM = std::numeric_limits<std::int32_t>::max();
std::atomic<std::int32_t> gMaxEventGroupId = UNSET_MAXIMUM;

// The setting's value; nothing, with the reason in the log, when it is no number in range.
std::optional<std::int32_t> parseMaximum(const std::string& text, Logger* logger) {
    try {
        const std::int32_t maximum = std::stoi(text);
        if (maximum >= 1) {
            return maximum;
        }
        logDebugText(logger, "The default max value was set to invalid value.");
    } catch (const std::invalid_argument& failure) {
        logDebugText(logger, std::string("Max EventGroupId value type error ") + failure.what());
    } catch (const std::out_of_range& failure) {
        logDebugText(logger, std::string("Max EventGroupId value out of range ") + failure.what());
    }
    return std::nullopt;
}

void setCounter(redisContext* context, const std::string& value, Logger* logger) {
    if (redisHSet(context, EVENT_SERVICE_URI, EVENT_GROUP_COUNTER_FIELD, value) == 0) {
        logDebugText(logger, "Failed to reset the EventGroupId counter.");
    }
}

// The advanced counter. An error reply gives 0, which the caller takes for a counter to restart.
std::int32_t advanceCounter(redisContext* context, Logger* logger) {
    int counter = 0;
    if (redisHIncrBy(context, EVENT_SERVICE_URI, EVENT_GROUP_COUNTER_FIELD, 1, counter) == 0) {
        logDebugText(logger,
                     std::string("Failed to increase the counter ") + EVENT_GROUP_COUNTER_FIELD);
        counter = 1;
        setCounter(context, std::to_string(counter), logger);
    }
    return counter;
}

} // namespace

std::uint32_t getMaxEventGroupId(redisContext* context, Logger* logger) {
    const std::int32_t known = gMaxEventGroupId.load(std::memory_order_relaxed);
    if (known != UNSET_MAXIMUM) {
        return static_cast<std::uint32_t>(known);
    }
    const std::string text = redisHGet(context, WEB_DEFAULT_VALUE, MAX_EVENT_GROUP_ID);
    // A fraction is not reported.
    const auto maximum =
        text.find('.') == std::string::npos ? parseMaximum(text, logger) : std::nullopt;
    if (!maximum) {
        return UNSET_MAXIMUM;
    }
    gMaxEventGroupId.store(*maximum, std::memory_order_relaxed);
    return static_cast<std::uint32_t>(*maximum);
}

std::uint32_t getNextEventGroupId(redisContext* context, Logger* logger) {
    const auto counter = static_cast<std::uint32_t>(advanceCounter(context, logger));
    const std::uint32_t maximum = getMaxEventGroupId(context, logger);
    if (counter <= maximum && counter % maximum != 0) {
        return counter;
    }
    setCounter(context, "0", logger);
    return maximum;
}
