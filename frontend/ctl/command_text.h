#pragma once

// What the definitions of the command line say about each command, as records: help, manual page
// and completion are made from these.

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

struct OptionText {
    std::vector<std::string> names; // "-o", "--output"; empty for an argument
    std::string value;              // "FILE", or the argument's name; empty for a flag
    std::string help;
    std::vector<std::string> values; // that are offered for it; others may be taken too
    std::string remark;              // "(required)", "(not with --clear)"; may be empty
    bool isRequired = false;
};

// Notes are paragraphs, apart by an empty line. A line in them that begins with a blank stands as
// it is; the others flow.
struct CommandText {
    std::string name;
    std::string summary; // one sentence
    std::string more;    // what the description says after it
    std::string notes;
    std::vector<OptionText> arguments;
    std::vector<OptionText> options;
};

// Options in the order of their definition, the help flag last. Of the program itself as well.
[[nodiscard]] CommandText describeCommand(const CLI::App& command);

// The program's options that every command takes.
[[nodiscard]] std::vector<OptionText> commonOptions(const CLI::App& program);

// The commands of the program in the order of their definition.
[[nodiscard]] std::vector<const CLI::App*> commandsOf(const CLI::App& program);

// "list [OPTION...] [COLLECTION]"
[[nodiscard]] std::string usageOf(const CommandText& command);

// "-o, --output FILE", or the argument's name.
[[nodiscard]] std::string headOf(const OptionText& option);

// The help, the values that are offered, the remark.
[[nodiscard]] std::string wholeHelp(const OptionText& option);

// The notes' paragraphs, whose lines all end with a line feed and flow or stand as they are.
[[nodiscard]] std::vector<std::string> paragraphsOf(const std::string& notes);

// Whether the line, or the paragraph that begins with it, stands as it is.
[[nodiscard]] bool isVerbatim(const std::string& line);
