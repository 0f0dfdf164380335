#include "frontend/ctl/output.h"

#include "core/protocol/status_words.h"
#include "frontend/ctl/backend_directory.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/exchange/redfish_messages.h"
#include "frontend/exchange/service_answer.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

using nlohmann::json;

const char* colourCode(Colour colour) {
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

void print(std::FILE* file, const std::string& line, Colour colour) {
    const bool coloured =
        colour != Colour::NONE && isatty(fileno(file)) == 1 && std::getenv("NO_COLOR") == nullptr;
    (void)std::fprintf(file, "%s%s%s\n", coloured ? colourCode(colour) : "",
                       printableText(line).c_str(), coloured ? "\033[0m" : "");
    (void)std::fflush(file);
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

void printLine(const std::string& line, Colour colour) {
    print(stdout, line, colour);
}

void printNote(const std::string& line, Colour colour) {
    print(stderr, line, colour);
}

void printField(const std::string& name, const std::string& text) {
    constexpr std::size_t WIDTH = 12;
    std::string line = "  " + name;
    line.append(name.size() < WIDTH ? WIDTH - name.size() : 1, ' ');
    printLine(line + text);
}

void printJson(const nlohmann::json& document, bool compact) {
    const std::string text =
        document.dump(compact ? -1 : 2, ' ', false, nlohmann::json::error_handler_t::replace);
    (void)std::fprintf(stdout, "%s\n", text.c_str());
    (void)std::fflush(stdout);
}

int reportRefusal(const ServiceAnswer& answer, bool json) {
    const std::string text = describeMessage(answer.messageId, answer.messageArgs);
    printNote((answer.status == STATUS_FAILURE ? "Refused: " : "Failed: ") + text, Colour::BAD);
    printNote("  status      " + answer.status, Colour::SOFT);
    if (!answer.messageId.empty()) {
        printNote("  message     " + answer.messageId, Colour::SOFT);
    }
    if (!answer.relatedProperties.empty()) {
        printNote("  concerns    " + joined(answer.relatedProperties), Colour::SOFT);
    }
    // A fault of the service is told to clients without its cause; the machine's own may look.
    const std::string cause =
        answer.status == STATUS_EXCEPTION ? installationObstacle() : std::string();
    if (!cause.empty()) {
        printNote("  cause       " + cause, Colour::SOFT);
    }
    if (json) {
        nlohmann::json document = {{"status", answer.status},
                                   {"messageId", answer.messageId},
                                   {"messageArgs", answer.messageArgs},
                                   {"relatedProperties", answer.relatedProperties},
                                   {"text", text}};
        if (!cause.empty()) {
            document["cause"] = cause;
        }
        printJson(document);
    }
    return EXIT_REFUSED;
}

int reportError(const FrontEndError& error, bool json) {
    printNote(std::string("certificatectl: ") + error.what(), Colour::BAD);
    const std::string ownHint = commandLineHint(error.kind);
    const std::string hint =
        error.hint + (error.hint.empty() || ownHint.empty() ? "" : " ") + ownHint;
    if (!hint.empty()) {
        printNote("  " + hint, Colour::SOFT);
    }
    const int exitCode = exitCodeOf(error.kind);
    if (json) {
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
