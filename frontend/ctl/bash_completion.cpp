#include "frontend/ctl/bash_completion.h"

#include "frontend/ctl/command_text.h"

#include <algorithm>

namespace {

using Texts = std::vector<std::string>;

constexpr const char* BEGINNING = R"(# Made by scripts/manual from the definitions of the commands.

_certificatectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' words='' files=no word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
)";

constexpr const char* MIDDLE = R"(                command=$word
                break ;;
        esac
    done
    # What the word before asks for; else what the command takes.
    case "$command $previous" in
)";

constexpr const char* ENDING = R"(    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    if [ $files = yes ] && [[ $current != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    fi
}
complete -F _certificatectl certificatectl
)";

constexpr const char* FILE_VALUE = "FILE";

std::string between(const Texts& texts, const std::string& separator) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : separator) + text;
    }
    return all;
}

std::string indentedRow(const std::string& pattern, const std::string& work) {
    return "        " + pattern + ")" + (work.empty() ? "" : " " + work) + " ;;\n";
}

// The words behind an option: the values that are offered, files, or nothing.
std::string valueWork(const OptionText& option) {
    if (option.value == FILE_VALUE) {
        return "files=yes";
    }
    return option.values.empty() ? std::string() : "words='" + between(option.values, " ") + "'";
}

// A row for each option that takes a value. The command is a name, or a star for any.
std::string valueRows(const std::string& command, const std::vector<OptionText>& options) {
    std::string rows;
    for (const OptionText& option : options) {
        Texts patterns;
        for (const std::string& name : option.names) {
            patterns.push_back(command);
            patterns.back().append("' ").append(name).append("'");
        }
        rows +=
            option.value.empty() ? "" : indentedRow(between(patterns, " | "), valueWork(option));
    }
    return rows;
}

Texts namesOf(const std::vector<OptionText>& options) {
    Texts names;
    for (const OptionText& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

bool takesFile(const CommandText& command) {
    return std::any_of(command.arguments.begin(), command.arguments.end(),
                       [](const OptionText& argument) { return argument.value == FILE_VALUE; });
}

std::string commandRow(const CommandText& command, const std::vector<OptionText>& common) {
    const std::string words =
        between(namesOf(command.options), " ") + " " + between(namesOf(common), " ");
    return indentedRow(command.name + "' '*",
                       "words='" + words + "'" + (takesFile(command) ? " files=yes" : ""));
}

} // namespace

std::string bashCompletion(const CLI::App& program) {
    const std::vector<OptionText> common = commonOptions(program);
    Texts names;
    std::string values = valueRows("*", common);
    std::string rows;
    for (const CLI::App* each : commandsOf(program)) {
        const CommandText command = describeCommand(*each);
        names.push_back(command.name);
        values += valueRows(command.name, command.options);
        rows += commandRow(command, common);
    }
    const std::string all =
        between(names, " ") + " " + between(namesOf(describeCommand(program).options), " ");
    return BEGINNING + std::string("            ") + between(names, " | ") + ")\n" + MIDDLE +
           values + rows + indentedRow("*", "words='" + all + "'") + ENDING;
}
