#include "frontend/ctl/command_text.h"

#include "frontend/ctl/output.h"

#include <algorithm>
#include <sstream>

namespace {

using Texts = std::vector<std::string>;

// CLI11 joins an option's type and the values that are offered for it: "NAME:{PEM,PKCS7}".
constexpr const char* VALUES_BEGIN = ":{";

Texts splitAt(const std::string& text, char separator) {
    Texts parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

Texts offeredValues(const std::string& typeName) {
    const std::size_t begin = typeName.find(VALUES_BEGIN);
    const std::size_t end = typeName.rfind('}');
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    const std::size_t first = begin + std::string(VALUES_BEGIN).size();
    return splitAt(typeName.substr(first, end - first), ',');
}

std::string longestName(const CLI::Option& option) {
    if (option.get_positional()) {
        return option.get_name(true);
    }
    return option.get_lnames().empty() ? "-" + option.get_snames().front()
                                       : "--" + option.get_lnames().front();
}

// " (not with --a, --b)"; sorted, because the library keeps them by address.
std::string companions(const std::string& words, const std::set<CLI::Option*>& options) {
    Texts names;
    for (const CLI::Option* option : options) {
        names.push_back(longestName(*option));
    }
    std::sort(names.begin(), names.end());
    return names.empty() ? std::string() : " (" + words + " " + joined(names) + ")";
}

OptionText describeOption(const CLI::Option& option) {
    OptionText text;
    for (const std::string& name : option.get_snames()) {
        text.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        text.names.push_back("--" + name);
    }
    const bool isFlag = option.get_items_expected_max() == 0;
    const std::string typeName = isFlag ? std::string() : option.get_type_name();
    text.value = option.get_positional() ? option.get_name(true)
                                         : typeName.substr(0, typeName.find(VALUES_BEGIN));
    text.values = offeredValues(typeName);
    text.isRequired = option.get_required();
    text.help = option.get_description();
    text.remark = companions("not with", option.get_excludes()) +
                  companions("with", option.get_needs()) +
                  (text.isRequired && !option.get_positional() ? " (required)" : "");
    return text;
}

} // namespace

CommandText describeCommand(const CLI::App& command) {
    CommandText text;
    text.name = command.get_name();
    const std::string description = command.get_description();
    const std::size_t end = std::min(description.find(". "), description.size() - 1) + 1;
    text.summary = description.substr(0, end);
    text.more = description.substr(std::min(end + 1, description.size()));
    text.notes = command.get_footer();
    for (const CLI::Option* option : command.get_options()) {
        if (option != command.get_help_ptr()) {
            (option->get_positional() ? text.arguments : text.options)
                .push_back(describeOption(*option));
        }
    }
    text.options.push_back(describeOption(*command.get_help_ptr()));
    return text;
}

std::vector<OptionText> commonOptions(const CLI::App& program) {
    std::vector<OptionText> options;
    for (const CLI::Option* option : program.get_options()) {
        if (option != program.get_help_ptr() && option != program.get_version_ptr()) {
            options.push_back(describeOption(*option));
        }
    }
    return options;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& program) {
    return program.get_subcommands([](const CLI::App* /*each*/) { return true; });
}

std::string usageOf(const CommandText& command) {
    std::string usage = command.name + " [OPTION...]";
    for (const OptionText& option : command.options) {
        usage += option.isRequired ? " " + headOf(option) : "";
    }
    for (const OptionText& argument : command.arguments) {
        usage += argument.isRequired ? " " + argument.value : " [" + argument.value + "]";
    }
    return usage;
}

std::string headOf(const OptionText& option) {
    return joined(option.names) + (option.names.empty() || option.value.empty() ? "" : " ") +
           option.value;
}

std::string wholeHelp(const OptionText& option) {
    return option.help + (option.values.empty() ? "" : ": " + joined(option.values)) +
           option.remark;
}

std::vector<std::string> paragraphsOf(const std::string& notes) {
    Texts paragraphs(1);
    for (const std::string& line : splitAt(notes, '\n')) {
        std::string& last = paragraphs.back();
        // Where flowing and standing lines meet, another paragraph begins.
        const bool isOther = !last.empty() && isVerbatim(last) != isVerbatim(line);
        if (line.empty() ? !last.empty() : isOther) {
            paragraphs.emplace_back();
        }
        paragraphs.back() += line.empty() ? "" : line + "\n";
    }
    std::erase(paragraphs, "");
    return paragraphs;
}

bool isVerbatim(const std::string& line) {
    return line.starts_with(' ');
}
