#pragma once

// The daemon's one log: timestamped lines of two levels in a file that is renamed aside when it has
// grown too large, or plain lines on standard error.
//
// The fields are set by init() before any other thread exists and only read afterwards. There is no
// lock: every line is put together first and handed to the system in one write, so lines of
// different threads follow each other and never mix. Nothing here fails its caller; the logger
// reports its own problems on standard error.
//
// A control character of a message is written as "?", so that no data can begin a line. Only a line
// feed that ends the format itself stays, and leaves an empty line.

#include <cstdarg>
#include <ctime>
#include <string>

class Logger {
public:
    // Takes the settings from the configuration file and creates the log file. Messages go to
    // standard error without a usable file, or when the process that LOG_SYSTEM names is running
    // at this moment.
    void init(const std::string& configurationPath);

    // True when lines go to the file, false when they go to standard error.
    [[nodiscard]] bool isFileMode() const;

    // Writes an "[Error]" line. The format is printf's; data goes into the arguments, never into
    // it.
    void error(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Writes a "[Debug]" line, unless LOG_LEVEL is "error".
    void debug(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Writes one line of the level (0 error, 1 debug), to standard error when the file cannot be
    // opened. The date is in the local time of the moment, whatever time zone was set before.
    // Consumes the arguments.
    void write(int lineLevel, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));

    // Renames the log file to its name followed by now (seconds since the epoch) when it has
    // reached the configured size. Renamed files are never removed.
    void rotateIfNeeded(std::time_t now);

private:
    bool toFile = false;
    std::string filePath;
    long maxFileSize = 0; // bytes; 0 = never rotate
    int level = 1;        // 1 = error and debug lines, 0 = error lines only
};

// The logger of the process: made first of all by the entry point, never freed.
extern Logger* gLogger;

// Write a text that is itself a printf format without arguments: a percent sign in it must be
// doubled (see escapeFormat). A control character is written as "?", a line feed at the end too.
// With a null logger the text is no format and goes to standard error, as "[DEBUG] text" or
// "[Error] text"; readers of the console tell the first from the logger's own "[Debug]" by its
// case.
void logDebugText(Logger* logger, std::string text);
void logErrorText(Logger* logger, std::string text);

// The text with every percent sign doubled, so that it arrives literally where a format is taken.
[[nodiscard]] std::string escapeFormat(const std::string& text);
