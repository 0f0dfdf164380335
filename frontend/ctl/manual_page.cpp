#include "frontend/ctl/manual_page.h"

#include "frontend/ctl/command_text.h"

#include <cctype>
#include <sstream>

namespace {

constexpr const char* BEGINNING =
    R"(.\" Made by scripts/manual from the definitions of the commands.
.TH CERTIFICATECTL 1 "" "CertificateService )" CERTIFICATECTL_VERSION R"(" "User Commands"
)";

constexpr const char* ENDING = R"(.SH ENVIRONMENT
.TP
.B NO_COLOR
When it is set, nothing is coloured.
.SH FILES
.TP
.IR /var/run/redis.port ", " /var/run/redis.unixsocket ", " /var/run/redis.requirepass
How Redis is reached.
.TP
.I /var/nginx/pkey.tmp
The key that challenge passwords are encrypted with.
)";

// What roff would take for a command of its own is written as a name of the character.
std::string escaped(char character) {
    switch (character) {
    case '\\':
        return "\\e";
    case '-':
        return "\\-";
    case '\'':
        return "\\(aq";
    case '"':
        return "\\(dq";
    case '^':
        return "\\(ha";
    case '~':
        return "\\(ti";
    default:
        return {character};
    }
}

// What stands between backticks becomes bold.
std::string roffText(const std::string& text) {
    std::string roff;
    bool isBold = false;
    for (const char character : text) {
        if (character == '`') {
            isBold = !isBold;
            roff += isBold ? "\\fB" : "\\fP";
        } else {
            roff += escaped(character);
        }
    }
    return (text.starts_with('.') ? "\\&" : "") + roff;
}

std::string bold(const std::string& text) {
    return "\\fB" + roffText(text) + "\\fP";
}

// Whatever is in capitals stands for something else: "FILE", "[OPTION...]".
std::string roffUsage(const std::string& usage) {
    std::istringstream words(usage);
    std::string roff;
    for (std::string word; words >> word;) {
        const bool isName = word.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos;
        roff +=
            (roff.empty() ? "" : " ") + (isName ? bold(word) : "\\fI" + roffText(word) + "\\fP");
    }
    return roff;
}

std::string upperCase(std::string text) {
    for (char& character : text) {
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    }
    return text;
}

// Lines that stand as they are.
std::string verbatim(const std::string& paragraph) {
    std::istringstream lines(paragraph);
    std::string roff = ".PP\n.nf\n";
    for (std::string line; std::getline(lines, line);) {
        roff += roffText(line) + "\n";
    }
    return roff + ".fi\n";
}

std::string flowing(const std::string& paragraph) {
    return ".PP\n" + roffText(paragraph);
}

// "Exit status:" over lines that stand as they are is a section of the page.
std::string programNotes(const std::string& notes) {
    std::string roff;
    for (const std::string& paragraph : paragraphsOf(notes)) {
        if (isVerbatim(paragraph)) {
            roff += verbatim(paragraph);
        } else if (paragraph.ends_with(":\n")) {
            roff += ".SH " + upperCase(paragraph.substr(0, paragraph.size() - 2)) + "\n";
        } else {
            roff += flowing(paragraph);
        }
    }
    return roff;
}

std::string commandNotes(const std::string& notes) {
    std::string roff;
    for (const std::string& paragraph : paragraphsOf(notes)) {
        roff += isVerbatim(paragraph) ? verbatim(paragraph) : flowing(paragraph);
    }
    return roff;
}

std::string optionEntries(const std::vector<OptionText>& options) {
    std::string roff;
    for (const OptionText& option : options) {
        roff += ".TP\n" + roffUsage(headOf(option)) + "\n" + roffText(wholeHelp(option)) + "\n";
    }
    return roff;
}

std::string commandSection(const CLI::App& command) {
    CommandText text = describeCommand(command);
    text.options.pop_back(); // --help, which the page tells once
    return ".SS " + bold(text.name) + "\n" + roffUsage("certificatectl " + usageOf(text)) +
           "\n.PP\n" + roffText(text.summary + (text.more.empty() ? "" : " ") + text.more) + "\n" +
           optionEntries(text.arguments) + optionEntries(text.options) + commandNotes(text.notes);
}

// "play the part", as a line of the index of all pages has it.
std::string titleOf(const CommandText& program) {
    std::string title = program.summary;
    title.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(title.front())));
    return title.substr(0, title.find_last_not_of('.') + 1);
}

} // namespace

std::string manualPage(const CLI::App& program) {
    const CommandText text = describeCommand(program);
    std::string page = BEGINNING;
    page += ".SH NAME\ncertificatectl \\- " + roffText(titleOf(text)) + "\n";
    page += ".SH SYNOPSIS\n" + roffUsage("certificatectl COMMAND [OPTION...]") + "\n";
    page += ".SH DESCRIPTION\n" + roffText(text.summary + " " + text.more) + "\n";
    page += ".SH OPTIONS\nEvery command takes these too.\n" + optionEntries(text.options);
    page += ".SH COMMANDS\n";
    for (const CLI::App* command : commandsOf(program)) {
        page += commandSection(*command);
    }
    return page + programNotes(text.notes) + ENDING;
}
