#include "frontend/ctl/usage_error.h"

#include "frontend/ctl/command_text.h"

#include <algorithm>
#include <numeric>

namespace {

using Texts = std::vector<std::string>;

// How many characters must be added, dropped or changed to make one word of the other.
std::size_t distanceOf(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

Texts commandNames(const CLI::App& program) {
    Texts names;
    for (const CLI::App* command : commandsOf(program)) {
        names.push_back(command->get_name());
    }
    return names;
}

void addLongNames(const CLI::App& command, Texts& names) {
    for (const OptionText& option : describeCommand(command).options) {
        std::copy_if(option.names.begin(), option.names.end(), std::back_inserter(names),
                     [](const std::string& name) { return name.starts_with("--"); });
    }
}

std::string didYouMean(const std::string& word, const Texts& names) {
    const std::string nearest = nearestName(word, names);
    return nearest.empty() ? std::string() : " Did you mean `" + nearest + "`?";
}

std::string unknownCommand(const CLI::App& program, const Texts& words) {
    const auto word = std::find_if(words.begin(), words.end(),
                                   [](const auto& each) { return !each.starts_with("-"); });
    if (word == words.end()) {
        return "Name a command.";
    }
    return "There is no command '" + *word + "'." + didYouMean(*word, commandNames(program));
}

// Empty when every word is understood, but something else is wrong.
std::string unknownWord(const CLI::App& program, const CLI::App& command) {
    const Texts words = program.remaining(true);
    if (words.empty()) {
        return {};
    }
    const std::string& word = words.front();
    if (!word.starts_with("-")) {
        return "`" + command.get_name() + "` does not take '" + word + "'.";
    }
    Texts names;
    addLongNames(command, names);
    addLongNames(program, names);
    return "`" + command.get_name() + "` has no option '" + word + "'." + didYouMean(word, names);
}

} // namespace

std::string nearestName(const std::string& word, const std::vector<std::string>& names) {
    const std::size_t farthest = std::max<std::size_t>(2, word.size() / 3);
    std::string nearest;
    std::size_t least = farthest + 1;
    for (const std::string& name : names) {
        const std::size_t distance = distanceOf(word, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::vector<std::string> usageErrorLines(const CLI::App& program, const CLI::ParseError& error) {
    const auto chosen = program.get_subcommands();
    if (chosen.empty()) {
        return {unknownCommand(program, program.remaining()),
                "  `certificatectl --help` lists the commands."};
    }
    const CLI::App& command = *chosen.front();
    const std::string unknown = unknownWord(program, command);
    return {unknown.empty() ? error.what() : unknown,
            "  Usage: certificatectl " + usageOf(describeCommand(command)),
            "  `certificatectl " + command.get_name() + " --help` tells more."};
}
