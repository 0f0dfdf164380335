// The manual page and the bash completion, which are made from the definitions of the commands.

#include "frontend/ctl/bash_completion.h"
#include "frontend/ctl/command_text.h"
#include "frontend/ctl/manual_page.h"
#include "frontend/ctl/program_definition.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAreArray;
using Texts = std::vector<std::string>;

const std::string MANUAL_FILE = std::string(PACKAGING_DIRECTORY) + "/certificatectl.1";
const std::string COMPLETION_FILE = std::string(PACKAGING_DIRECTORY) + "/certificatectl.bash";

class Documents : public testing::Test {
protected:
    Documents() {
        defineProgram(app, common, chosen);
    }

    CommonOptions common;
    Command chosen;
    CLI::App app;
};

using ManualPage = Documents;
using Completion = Documents;

Texts linesOf(const std::string& text) {
    std::istringstream stream(text);
    Texts lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST_F(Documents, InTheTreeAreThoseThatScriptsManualMakes) {
    EXPECT_EQ(readFile(MANUAL_FILE), manualPage(app));
    EXPECT_EQ(readFile(COMPLETION_FILE), bashCompletion(app));
}

// The page as a reader sees it, fonts aside.
std::string shownText(std::string page) {
    for (const auto& [roff, shown] : std::vector<std::pair<std::string, std::string>>{
             {"\\fB", ""}, {"\\fI", ""}, {"\\fP", ""}, {"\\-", "-"}, {"\\(aq", "'"}}) {
        for (std::size_t at = page.find(roff); at != std::string::npos; at = page.find(roff, at)) {
            page.replace(at, roff.size(), shown);
        }
    }
    return page;
}

TEST_F(ManualPage, ExplainsEveryCommandWithItsArgumentsAndOptions) {
    const std::string page = shownText(manualPage(app));
    for (const CLI::App* each : commandsOf(app)) {
        const CommandText command = describeCommand(*each);
        const std::size_t begin = page.find("\n.SS " + command.name + "\n");
        ASSERT_NE(begin, std::string::npos) << command.name;
        const std::string section = page.substr(begin, page.find("\n.S", begin + 1) - begin);
        EXPECT_THAT(section, HasSubstr("\ncertificatectl " + usageOf(command) + "\n"));
        EXPECT_THAT(section, HasSubstr("\n" + command.summary));
        for (const auto* list : {&command.arguments, &command.options}) {
            for (const OptionText& option : *list) {
                const bool isHelp = option.names == Texts{"-h", "--help"};
                EXPECT_EQ(section.find("\n.TP\n" + headOf(option) + "\n") == std::string::npos,
                          isHelp)
                    << command.name << ": " << headOf(option);
            }
        }
    }
}

TEST_F(ManualPage, TellsExitCodesAndExamplesInSectionsOfTheirOwn) {
    const std::string page = shownText(manualPage(app));
    EXPECT_THAT(page, HasSubstr("\n.SH EXIT STATUS\n.PP\n.nf\n  0    done\n"));
    EXPECT_THAT(page, HasSubstr("\n.SH EXAMPLES\n.PP\n.nf\n  certificatectl init\n"));
    EXPECT_THAT(page, HasSubstr("\n.TP\n--timeout SECONDS\n"));
}

TEST_F(ManualPage, IsWellFormed) {
    const std::set<std::string> macros = {".TH", ".SH", ".SS", ".TP", ".PP",  ".nf",
                                          ".fi", ".B",  ".I",  ".IR", ".\\\""};
    int open = 0;
    for (const std::string& line : linesOf(manualPage(app))) {
        EXPECT_FALSE(line.empty());
        EXPECT_FALSE(line.starts_with('\'')) << line;
        if (line.starts_with('.')) {
            EXPECT_EQ(macros.count(line.substr(0, line.find(' '))), 1U) << line;
        }
        EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char character) {
            return character >= ' ' && character <= '~';
        })) << line;
        open += line == ".nf" ? 1 : 0;
        open -= line == ".fi" ? 1 : 0;
        EXPECT_THAT(open, testing::AnyOf(0, 1)) << line;
    }
    EXPECT_EQ(open, 0);
}

TEST(ManualPageText, KeepsWhatRoffWouldTakeForItsOwn) {
    CLI::App app("Say so. A \\ and a ~.", "program");
    CLI::App* command = app.add_subcommand("one", "Do it.");
    command->footer(".dot\n  'quote' \"double\" ^\n");
    const std::string page = manualPage(app);
    EXPECT_THAT(page, HasSubstr("A \\e and a \\(ti.\n"));
    EXPECT_THAT(page, HasSubstr("\n.PP\n\\&.dot\n"));
    EXPECT_THAT(page, HasSubstr("\n  \\(aqquote\\(aq \\(dqdouble\\(dq \\(ha\n"));
}

// What bash offers for the last of the words behind "certificatectl".
Texts completionsOf(const Texts& words) {
    const TempDirectory directory;
    ChildProcessOptions options;
    options.arguments = {"bash", "-c",
                         ". \"$0\" && COMP_WORDS=(\"$@\") COMP_CWORD=$(($# - 1)) && "
                         "_certificatectl; printf '%s\\n' \"${COMPREPLY[@]}\"",
                         COMPLETION_FILE, "certificatectl"};
    options.arguments.insert(options.arguments.end(), words.begin(), words.end());
    options.outputFile = directory.file("output");
    EXPECT_EQ(ChildProcess(options).waitForExit(60), 0);
    Texts lines = linesOf(readFile(options.outputFile));
    std::erase(lines, "");
    return lines;
}

TEST_F(Completion, OffersEveryCommand) {
    Texts names;
    for (const CLI::App* command : commandsOf(app)) {
        names.push_back(command->get_name());
    }
    EXPECT_THAT(completionsOf({""}), IsSupersetOf(names));
    EXPECT_THAT(completionsOf({"--json", "cre"}), ElementsAre("create"));
}

TEST_F(Completion, OffersEveryOptionOfEveryCommand) {
    for (const CLI::App* each : commandsOf(app)) {
        Texts names = {"--json", "--timeout"};
        for (const OptionText& option : describeCommand(*each).options) {
            names.insert(names.end(), option.names.begin(), option.names.end());
        }
        EXPECT_THAT(completionsOf({each->get_name(), "-"}), UnorderedElementsAreArray(names))
            << each->get_name();
    }
}

TEST_F(Completion, OffersTheValuesOfAnOption) {
    EXPECT_THAT(completionsOf({"create", "--type", ""}), ElementsAre("PEM", "PEMchain", "PKCS7"));
    EXPECT_THAT(completionsOf({"generate-csr", "/x", "--curve", "P3"}), ElementsAre("P384"));
    EXPECT_THAT(completionsOf({"list", "--expiring", ""}), IsEmpty());
    EXPECT_THAT(completionsOf({"list", "--timeout", ""}), IsEmpty());
}

TEST_F(Completion, OffersFilesWhereAFileIsNamed) {
    const TempDirectory directory;
    writeFile(directory.file("server.pem"), "");
    const std::string beginning = directory.file("ser");
    for (const Texts& words : {Texts{"create", "/x"}, Texts{"tasks", "-o"},
                               Texts{"action", "--body"}, Texts{"generate-csr", "--output"}}) {
        Texts line = words;
        line.push_back(beginning);
        EXPECT_THAT(completionsOf(line), ElementsAre(directory.file("server.pem"))) << words[0];
    }
    EXPECT_THAT(completionsOf({"list", beginning}), IsEmpty());
}

} // namespace
