#include "core/logger.h"

#include "platform/configuration.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

Logger* gLogger = nullptr;

namespace {

constexpr int CONFIG_VALUE_SIZE = 128;
constexpr const char* LEVEL_LABELS[] = {"[Error]", "[Debug]"};
constexpr int ERROR_LEVEL = 0;
constexpr int DEBUG_LEVEL = 1;

struct FileCloser {
    void operator()(std::FILE* file) const {
        (void)std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// The value of a key, empty when it is missing.
std::string readSetting(const std::string& path, const char* key) {
    char buffer[CONFIG_VALUE_SIZE] = "";
    const bool found = getPropertyValue(path.c_str(), "=", key, buffer, CONFIG_VALUE_SIZE) == 0;
    return found ? std::string(buffer) : std::string();
}

bool isProcessRunning(const std::string& name) {
    // NOLINTNEXTLINE(bugprone-command-processor,cert-env33-c): the administrator names the process
    return std::system(("pidof " + name).c_str()) == 0;
}

long parseFileSize(const std::string& text) {
    if (text.empty()) {
        return 0;
    }
    try {
        return std::max(std::stoi(text), 0);
    } catch (const std::exception& conversionError) {
        (void)std::fprintf(stderr, "Error: %s\n", conversionError.what());
        return 0;
    }
}

void keepPreviousLog(const std::string& path, const std::string& backupPath) {
    if (!backupPath.empty()) {
        // There is nothing to keep at the first start, so a failure is no news.
        (void)std::rename(path.c_str(), backupPath.c_str());
    }
}

// "Nov  4 09:45:15" in local time; empty when the time cannot be told.
std::string formatDate(std::time_t now) {
    std::tm local{};
    if (localtime_r(&now, &local) == nullptr) {
        return {};
    }
    char buffer[64] = "";
    if (std::strftime(buffer, sizeof buffer, "%b %e %T", &local) == 0) {
        (void)std::fprintf(stderr, "Fail to compose date time string.\n");
        return {};
    }
    return buffer;
}

long fileSize(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return 0;
    }
    return std::ftell(file);
}

} // namespace

void Logger::init(const std::string& configurationPath) {
    const std::string logSystem = readSetting(configurationPath, "LOG_SYSTEM");
    if (!logSystem.empty() && isProcessRunning(logSystem)) {
        (void)std::fprintf(stderr, "%s is found. Messages will be written to stderr.\n",
                           logSystem.c_str());
        return;
    }
    filePath = readSetting(configurationPath, "LOG_FILE");
    const std::string backupPath = readSetting(configurationPath, "LOG_FILE_BAK");
    maxFileSize = parseFileSize(readSetting(configurationPath, "LOG_FILE_SIZE"));
    if (readSetting(configurationPath, "LOG_LEVEL") == "error") {
        level = ERROR_LEVEL;
    }
    if (filePath.empty()) {
        (void)std::fprintf(stderr,
                           "Log filename is not specified. Messages will be written to stderr.\n");
        return;
    }
    keepPreviousLog(filePath, backupPath);
    toFile = File(std::fopen(filePath.c_str(), "w")) != nullptr;
    if (!toFile) {
        (void)std::fprintf(
            stderr, "Failed to create the log filename - %s Messages will be written to stderr.\n",
            filePath.c_str());
    }
}

bool Logger::isFileMode() const {
    return toFile;
}

void Logger::error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write(ERROR_LEVEL, format, arguments);
    va_end(arguments);
}

void Logger::debug(const char* format, ...) {
    if (level <= 0) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    write(DEBUG_LEVEL, format, arguments);
    va_end(arguments);
}

void Logger::write(int lineLevel, const char* format, va_list arguments) {
    const char* label = LEVEL_LABELS[lineLevel];
    File file;
    std::time_t now = 0;
    std::string date;
    if (toFile) {
        now = std::time(nullptr);
        date = formatDate(now);
        rotateIfNeeded(now);
        file.reset(std::fopen(filePath.c_str(), "a"));
    }
    std::FILE* output = file ? file.get() : stderr;
    if (file) {
        (void)std::fprintf(output, "%s %ld %s: ", date.c_str(), static_cast<long>(now), label);
    } else {
        (void)std::fprintf(output, "%s: ", label);
    }
    (void)std::vfprintf(output, format, arguments);
    (void)std::fputc('\n', output);
    (void)std::fflush(output);
}

void Logger::rotateIfNeeded(std::time_t now) {
    if (maxFileSize == 0 || !toFile) {
        return;
    }
    File file(std::fopen(filePath.c_str(), "r"));
    if (!file || fileSize(file.get()) < maxFileSize) {
        return;
    }
    file.reset();
    try {
        const std::string asideName = filePath + std::to_string(static_cast<long>(now));
        (void)std::rename(filePath.c_str(), asideName.c_str());
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "Error: %s\n", failure.what());
    }
}

// The text is the format: that is the contract of these two functions, and callers that pass data
// escape it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

void logDebugText(Logger* logger, const std::string& text) {
    if (logger == nullptr) {
        (void)std::fprintf(stderr, "[DEBUG] %s\n", text.c_str());
        return;
    }
    logger->debug(text.c_str());
}

void logErrorText(Logger* logger, const std::string& text) {
    if (logger == nullptr) {
        (void)std::fprintf(stderr, "[Error] %s\n", text.c_str());
        return;
    }
    logger->error(text.c_str());
}

#pragma GCC diagnostic pop

std::string escapeFormat(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        escaped.append(character == '%' ? 2 : 1, character);
    }
    return escaped;
}
