// What --help shows of the program and of every command.

#include "frontend/ctl/command_text.h"
#include "frontend/ctl/help_text.h"
#include "frontend/ctl/program_definition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

// The definitions, as the program makes them.
struct Program {
    Program() {
        defineProgram(app, common, chosen);
    }

    CommonOptions common;
    Command chosen;
    CLI::App app;
};

// The help of the program, under "", and of each command.
std::map<std::string, std::string> allHelps() {
    const Program program;
    std::map<std::string, std::string> helps = {{"", program.app.help()}};
    for (const CLI::App* command : commandsOf(program.app)) {
        helps[command->get_name()] = command->help("certificatectl");
    }
    return helps;
}

// The words behind "certificatectl" in each line that is an example; a line that ends with a
// backslash goes on in the next.
std::vector<std::string> examplesIn(const std::string& help) {
    constexpr const char* CALL = "certificatectl ";
    std::istringstream lines(help);
    std::vector<std::string> examples;
    bool goesOn = false;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t call = line.find(CALL);
        if (goesOn) {
            examples.back() += line;
        } else if (line.starts_with("  ") && call != std::string::npos) {
            examples.push_back(line.substr(call + std::string(CALL).size()));
        } else {
            continue;
        }
        goesOn = line.ends_with('\\');
        if (goesOn) {
            examples.back().pop_back();
        }
    }
    return examples;
}

TEST(Help, NoLineIsLongerThanEightyColumns) {
    for (const auto& [command, help] : allHelps()) {
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << command << ": " << line;
        }
    }
}

TEST(Help, EveryCommandHasAnExampleOfItsOwn) {
    for (const auto& [command, help] : allHelps()) {
        const auto examples = examplesIn(help);
        ASSERT_FALSE(examples.empty()) << command;
        for (const std::string& example : examples) {
            EXPECT_THAT(example, StartsWith(command));
        }
    }
}

TEST(Help, EveryExampleIsUnderstood) {
    for (const auto& [command, help] : allHelps()) {
        for (const std::string& example : examplesIn(help)) {
            Program program;
            EXPECT_NO_THROW(program.app.parse(example)) << example;
        }
    }
}

TEST(Help, EveryArgumentAndOptionIsExplained) {
    const Program program;
    for (const CLI::App* command : commandsOf(program.app)) {
        const CommandText text = describeCommand(*command);
        EXPECT_FALSE(text.summary.empty()) << text.name;
        for (const auto* list : {&text.arguments, &text.options}) {
            for (const OptionText& option : *list) {
                EXPECT_FALSE(option.help.empty()) << text.name << ": " << headOf(option);
            }
        }
    }
}

TEST(Help, ShowsUsageArgumentsOptionsAndNotes) {
    EXPECT_EQ(allHelps()["tasks"],
              R"(Usage: certificatectl tasks [OPTION...] [URI]

List the tasks with their states, or show one with its signing request.

Arguments:
  URI  one task (not with --clear)

Options:
  -o, --output FILE  file for the task's signing request; - for standard output
                     (with URI)
  --clear            remove tasks that have ended (not with URI)
  -h, --help         show this help

As every command it takes --json, --timeout SECONDS too.

Examples:
  certificatectl tasks --clear
  certificatectl tasks /redfish/v1/TaskService/Tasks/1 -o bmc.csr
)");
}

TEST(Help, NamesTheValuesThatAreOffered) {
    const auto helps = allHelps();
    EXPECT_THAT(helps.at("create"), HasSubstr(": PEM, PEMchain,\n               PKCS7\n"));
    EXPECT_THAT(helps.at("generate-csr"),
                HasSubstr("\n  --curve NAME                an elliptic-curve key: P256, P384, P521 "
                          "(not with\n                              --rsa)\n"));
}

TEST(Help, NamesEveryExitCode) {
    EXPECT_THAT(allHelps()[""],
                HasSubstr("\nExit status:\n"
                          "  0    done\n"
                          "  1    the service refused or failed; or check found differences\n"
                          "  2    the command line is wrong\n"
                          "  3    Redis is not there, or refuses a command\n"
                          "  4    no answer: the daemon does not listen, or not in time\n"
                          "  5    a file or standard output cannot be used\n"
                          "  6    list --expiring found certificates\n"
                          "  130  interrupted\n"));
}

TEST(WrappedText, IsBrokenAtBlanks) {
    EXPECT_EQ(wrapText("one two three", 7, 2), "one two\n  three");
    EXPECT_EQ(wrapText("one two three", 6, 0), "one\ntwo\nthree");
    EXPECT_EQ(wrapText("a very-long-word b", 4, 0), "a\nvery-long-word\nb");
    EXPECT_EQ(wrapText(" one \n two ", 80, 0), "one two");
    EXPECT_EQ(wrapText("", 80, 0), "");
}

TEST(Notes, AreCutWhereFlowingAndStandingLinesMeet) {
    EXPECT_EQ(paragraphsOf("one\ntwo\n\nthree:\n  a\n  b\n"),
              (std::vector<std::string>{"one\ntwo\n", "three:\n", "  a\n  b\n"}));
    EXPECT_EQ(paragraphsOf("\n\n"), std::vector<std::string>{});
}

} // namespace
