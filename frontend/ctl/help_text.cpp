#include "frontend/ctl/help_text.h"

#include "frontend/ctl/command_text.h"
#include "frontend/ctl/output.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr const char* MARGIN = "  ";
constexpr std::size_t USAGE_INDENT = 11;
constexpr std::size_t LONGEST_HEAD = 28; // a longer one has a line to itself

using Entry = std::pair<std::string, std::string>; // what, and what it means

std::size_t columnOf(const std::vector<Entry>& entries) {
    std::size_t longest = 0;
    for (const auto& [head, meaning] : entries) {
        longest = head.size() <= LONGEST_HEAD ? std::max(longest, head.size()) : longest;
    }
    return 2 + longest + 2;
}

std::string sectionText(const std::string& title, const std::vector<Entry>& entries) {
    if (entries.empty()) {
        return {};
    }
    const std::size_t column = columnOf(entries);
    std::string text = "\n" + title + ":\n";
    for (const auto& [head, meaning] : entries) {
        std::string line = MARGIN + head;
        line += head.size() <= LONGEST_HEAD ? std::string(column - line.size(), ' ')
                                            : "\n" + std::string(column, ' ');
        text += line + wrapText(meaning, HELP_WIDTH - column, column) + "\n";
    }
    return text;
}

std::vector<Entry> entriesOf(const std::vector<OptionText>& options) {
    std::vector<Entry> entries;
    entries.reserve(options.size());
    for (const OptionText& option : options) {
        entries.emplace_back(headOf(option), wholeHelp(option));
    }
    return entries;
}

std::vector<Entry> commandEntries(const CLI::App& app) {
    std::vector<Entry> entries;
    for (const CLI::App* command : commandsOf(app)) {
        const CommandText text = describeCommand(*command);
        entries.emplace_back(text.name, text.summary);
    }
    return entries;
}

std::string notesText(const std::string& notes) {
    std::string text;
    bool wasVerbatim = true;
    for (const std::string& paragraph : paragraphsOf(notes)) {
        // Lines that stand as they are belong to the line before them.
        text += isVerbatim(paragraph) && !wasVerbatim ? "" : "\n";
        text += isVerbatim(paragraph) ? paragraph : wrapText(paragraph, HELP_WIDTH, 0) + "\n";
        wasVerbatim = isVerbatim(paragraph);
    }
    return text;
}

std::string usageLine(const CLI::App& app, const CommandText& text) {
    return app.get_parent() == nullptr ? "certificatectl COMMAND [OPTION...]"
                                       : "certificatectl " + usageOf(text);
}

std::string commonOptionsText(const CLI::App& app) {
    if (app.get_parent() == nullptr) {
        return {};
    }
    std::vector<std::string> heads;
    for (const OptionText& option : commonOptions(*app.get_parent())) {
        heads.push_back(headOf(option));
    }
    return "\n" + wrapText("As every command it takes " + joined(heads) + " too.", HELP_WIDTH, 0) +
           "\n";
}

} // namespace

std::string wrapText(const std::string& text, std::size_t width, std::size_t indent) {
    std::istringstream words(text);
    std::string wrapped;
    std::size_t column = 0;
    for (std::string word; words >> word;) {
        if (column > 0 && column + 1 + word.size() > width) {
            wrapped += "\n" + std::string(indent, ' ');
            column = 0;
        } else if (column > 0) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped;
}

std::string HelpText::make_help(const CLI::App* app, std::string /*name*/,
                                CLI::AppFormatMode /*mode*/) const {
    const CommandText text = describeCommand(*app);
    return "Usage: " + wrapText(usageLine(*app, text), HELP_WIDTH - USAGE_INDENT, USAGE_INDENT) +
           "\n\n" + wrapText(text.summary + " " + text.more, HELP_WIDTH, 0) + "\n" +
           sectionText("Commands", commandEntries(*app)) +
           sectionText("Arguments", entriesOf(text.arguments)) +
           sectionText("Options", entriesOf(text.options)) + commonOptionsText(*app) +
           notesText(text.notes);
}
