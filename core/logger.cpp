#include "core/logger.h"

#include "core/open_file.h"
#include "platform/configuration.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string_view>

Logger* gLogger = nullptr;

namespace {

constexpr int CONFIG_VALUE_SIZE = 128;
constexpr const char* LEVEL_LABELS[] = {"[Error]", "[Debug]"};
constexpr int ERROR_LEVEL = 0;
constexpr int DEBUG_LEVEL = 1;

// Nothing when the key is not there.
std::optional<std::string> findSetting(const std::string& path, const char* key) {
    char value[CONFIG_VALUE_SIZE] = "";
    if (getPropertyValue(path.c_str(), "=", key, value, CONFIG_VALUE_SIZE) != 0) {
        return std::nullopt;
    }
    return value;
}

// Empty when the key is not there.
std::string settingText(const std::string& path, const char* key) {
    return findSetting(path, key).value_or("");
}

bool isProcessRunning(const std::string& name) {
    // NOLINTNEXTLINE(bugprone-command-processor,cert-env33-c): the administrator names the process
    return std::system(("pidof " + name).c_str()) == 0;
}

bool isLogSystemRunning(const std::string& configurationPath) {
    const auto name = findSetting(configurationPath, "LOG_SYSTEM");
    if (!name || !isProcessRunning(*name)) {
        return false;
    }
    (void)std::fprintf(stderr, "%s is found. Messages will be written to stderr.\n", name->c_str());
    return true;
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
    if (!path.empty() && !backupPath.empty()) {
        // There is nothing to keep at the first start, so a failure is no news.
        (void)std::rename(path.c_str(), backupPath.c_str());
    }
}

bool createFile(const std::string& path) {
    if (path.empty()) {
        (void)std::fprintf(stderr,
                           "Log filename is not specified. Messages will be written to stderr.\n");
        return false;
    }
    if (!OpenFile(std::fopen(path.c_str(), "w"))) {
        (void)std::fprintf(
            stderr, "Failed to create the log filename - %s Messages will be written to stderr.\n",
            path.c_str());
        return false;
    }
    return true;
}

// "Nov  4 09:45:15" in local time; empty when the time cannot be told.
std::string formatDate(std::time_t now) {
    tzset(); // the time zone may have been set since the last line
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

// Data must not begin a line of the log.
void hideControlCharacters(std::string::iterator begin, std::string::iterator end) {
    std::replace_if(
        begin, end, [](unsigned char character) { return std::iscntrl(character) != 0; }, '?');
}

__attribute__((format(printf, 1, 0))) std::string formatText(const char* format,
                                                             va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line above is not understood
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

__attribute__((format(printf, 1, 0))) std::string formatMessage(const char* format,
                                                                va_list arguments) {
    std::string message = formatText(format, arguments);
    const bool endsTheLine = std::string_view(format).ends_with('\n') && !message.empty();
    hideControlCharacters(message.begin(), message.end() - (endsTheLine ? 1 : 0));
    return message;
}

// Hands the line over in one piece, so that no other line gets in between.
void writeOnce(std::FILE* unbuffered, const std::string& line) {
    (void)std::fwrite(line.data(), 1, line.size(), unbuffered);
}

bool appendOnce(const std::string& path, const std::string& line) {
    const OpenFile file(std::fopen(path.c_str(), "a"));
    if (!file) {
        return false;
    }
    (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);
    writeOnce(file.get(), line);
    return true;
}

} // namespace

void Logger::init(const std::string& configurationPath) {
    if (isLogSystemRunning(configurationPath)) {
        return;
    }
    filePath = settingText(configurationPath, "LOG_FILE");
    const std::string backupPath = settingText(configurationPath, "LOG_FILE_BAK");
    maxFileSize = parseFileSize(settingText(configurationPath, "LOG_FILE_SIZE"));
    if (settingText(configurationPath, "LOG_LEVEL") == "error") {
        level = ERROR_LEVEL;
    }
    keepPreviousLog(filePath, backupPath);
    toFile = createFile(filePath);
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
    const std::string line =
        std::string(LEVEL_LABELS[lineLevel]) + ": " + formatMessage(format, arguments) + "\n";
    if (toFile) {
        const std::time_t now = std::time(nullptr);
        const std::string date = formatDate(now);
        rotateIfNeeded(now);
        if (appendOnce(filePath, date + " " + std::to_string(now) + " " + line)) {
            return;
        }
    }
    writeOnce(stderr, line);
}

void Logger::rotateIfNeeded(std::time_t now) {
    if (maxFileSize == 0 || !toFile) {
        return;
    }
    OpenFile file(std::fopen(filePath.c_str(), "r"));
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

void logDebugText(Logger* logger, std::string text) {
    hideControlCharacters(text.begin(), text.end());
    if (logger == nullptr) {
        writeOnce(stderr, "[DEBUG] " + text + "\n");
        return;
    }
    logger->debug(text.c_str());
}

void logErrorText(Logger* logger, std::string text) {
    hideControlCharacters(text.begin(), text.end());
    if (logger == nullptr) {
        writeOnce(stderr, "[Error] " + text + "\n");
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
