#include "frontend/ctl/output.h"

#include "core/protocol/status_words.h"
#include "frontend/ctl/backend_directory.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/exchange/redfish_messages.h"
#include "frontend/exchange/service_answer.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using nlohmann::json;

std::string colourCode(Colour colour) {
    switch (colour) {
    case Colour::GOOD:
        return "\033[32m";
    case Colour::WARNING:
        return "\033[33m";
    case Colour::BAD:
        return "\033[31m";
    case Colour::SOFT:
        return "\033[2m";
    case Colour::NONE:
        break;
    }
    return "";
}

std::string lineFor(std::FILE* file, const std::string& line, Colour colour) {
    const bool coloured =
        colour != Colour::NONE && isatty(fileno(file)) == 1 && std::getenv("NO_COLOR") == nullptr;
    const std::string text = printableText(line);
    return (coloured ? colourCode(colour) + text + "\033[0m" : text) + "\n";
}

// A line below what is reported; none for an empty text.
void printRemark(const std::string& beginning, const std::string& text) {
    if (!text.empty()) {
        printNote(beginning + text, Colour::SOFT);
    }
}

void addIfAny(json& document, const char* name, const std::string& text) {
    if (!text.empty()) {
        document[name] = text;
    }
}

} // namespace

std::string printableText(std::string_view text) {
    constexpr const char* DIGITS = "0123456789abcdef";
    std::string printable;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            printable += "\\n";
        } else if (character == '\t') {
            printable += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            printable += "\\x";
            printable += DIGITS[byte >> 4U];
            printable += DIGITS[byte & 0xfU];
        } else {
            printable += character;
        }
    }
    return printable;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string line;
    for (const std::string& text : texts) {
        line += (line.empty() ? "" : ", ") + text;
    }
    return line;
}

void occupyStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // The lowest free descriptor is this one; used the wrong way round it gives an error.
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void printText(const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!isWritten || std::fflush(stdout) != 0) {
        throw FrontEndError(FailureKind::LOCAL_FILE,
                            std::string("standard output: ") + std::strerror(errno));
    }
}

void printLine(const std::string& line, Colour colour) {
    printText(lineFor(stdout, line, colour));
}

void printNote(const std::string& line, Colour colour) {
    (void)std::fputs(lineFor(stderr, line, colour).c_str(), stderr);
}

void printField(const std::string& name, const std::string& text) {
    constexpr std::size_t WIDTH = 12;
    std::string line = "  " + name;
    line.append(name.size() < WIDTH ? WIDTH - name.size() : 1, ' ');
    printLine(line + text);
}

void printJson(const nlohmann::json& document, bool compact) {
    printText(
        document.dump(compact ? -1 : 2, ' ', false, nlohmann::json::error_handler_t::replace) +
        "\n");
}

int reportRefusal(const ServiceAnswer& answer, const std::string& hint, bool json) {
    const std::string text = describeMessage(answer.messageId, answer.messageArgs);
    // A fault of the service is told to clients without its cause; the machine's own may look.
    const std::string cause =
        answer.status == STATUS_EXCEPTION ? installationObstacle() : std::string();
    printNote((answer.status == STATUS_FAILURE ? "Refused: " : "Failed: ") + text, Colour::BAD);
    printRemark("  status      ", answer.status);
    printRemark("  message     ", answer.messageId);
    printRemark("  concerns    ", joined(answer.relatedProperties));
    printRemark("  cause       ", cause);
    printRemark("  ", hint);
    if (json) {
        nlohmann::json document = {{"status", answer.status},
                                   {"messageId", answer.messageId},
                                   {"messageArgs", answer.messageArgs},
                                   {"relatedProperties", answer.relatedProperties},
                                   {"text", text}};
        addIfAny(document, "cause", cause);
        addIfAny(document, "hint", hint);
        printJson(document);
    }
    return EXIT_REFUSED;
}

int reportError(const FrontEndError& error, bool json) {
    printNote(std::string("certificatectl: ") + error.what(), Colour::BAD);
    const std::string ownHint = commandLineHint(error.kind);
    const std::string hint =
        error.hint + (error.hint.empty() || ownHint.empty() ? "" : " ") + ownHint;
    printRemark("  ", hint);
    const int exitCode = exitCodeOf(error.kind);
    if (json && std::ferror(stdout) == 0) { // which may be the error
        printJson({{"error", error.what()}, {"hint", hint}, {"exitCode", exitCode}});
    }
    return exitCode;
}

std::string durationText(double seconds) {
    std::array<char, 32> text{};
    if (seconds < 1.0) {
        (void)std::snprintf(text.data(), text.size(), "%.0f ms", seconds * 1000.0);
    } else {
        (void)std::snprintf(text.data(), text.size(), "%.1f s", seconds);
    }
    return text.data();
}
