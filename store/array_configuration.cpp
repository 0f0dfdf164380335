#include "store/array_configuration.h"

#include "store/store_log.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace {

constexpr std::int64_t MAX_STYLE = 3;
constexpr std::int64_t NO_STYLE = -1;

// Longer than any list, and far enough below the largest number to be added to.
constexpr std::size_t UNLIMITED = std::numeric_limits<std::size_t>::max() / 4;

std::size_t wholeEntries(double size) {
    return size < static_cast<double>(UNLIMITED) ? static_cast<std::size_t>(size) : UNLIMITED;
}

// A fraction loses what is behind its point, as other integers of a configuration do.
std::int64_t parseStyle(const nlohmann::json& style) {
    const auto number = style.get<double>();
    const bool isStyle = number > -1 && number < static_cast<double>(MAX_STYLE + 1);
    return isStyle ? style.get<std::int64_t>() : NO_STYLE;
}

} // namespace

std::optional<ArrayMaximum> arrayMaximum(double maxSize) {
    if (!(maxSize > 0)) {
        return std::nullopt;
    }
    return ArrayMaximum{wholeEntries(std::floor(maxSize)), wholeEntries(std::ceil(maxSize))};
}

std::optional<ArrayConfiguration> parseArrayConfiguration(const nlohmann::json& configuration) {
    ArrayConfiguration parsed;
    try {
        parsed.style = parseStyle(configuration.at("ArrayStyle"));
        parsed.maxSize = configuration.at("ArrayMaxSize").get<double>();
        parsed.fillNull = configuration.at("ArrayNullElement").get<bool>();
    } catch (const nlohmann::json::exception&) {
        logStoreError("Reads array configuration failed!");
        return std::nullopt;
    }
    if (parsed.style == NO_STYLE) {
        logStoreError("Array style is incorrect.");
        return std::nullopt;
    }
    parsed.maximum = arrayMaximum(parsed.maxSize);
    return parsed;
}
