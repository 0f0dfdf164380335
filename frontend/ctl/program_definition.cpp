#include "frontend/ctl/program_definition.h"

#include "frontend/ctl/command_line.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/ctl/help_text.h"

#include <memory>

namespace {

constexpr const char* DESCRIPTION =
    "Play the web front end's part against a running CertificateService. A command stores a "
    "request in Redis, announces it, waits for the daemon's answer and shows it.";

constexpr const char* EXAMPLES = R"(
Examples:
  certificatectl init
  certificatectl create \
      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates server.pem
  certificatectl list
  certificatectl watch --seconds 60

`certificatectl COMMAND --help` tells more about each command.)";

void describeProgram(CLI::App& app) {
    app.name("certificatectl");
    app.description(DESCRIPTION);
    app.footer("Exit status:\n" + exitCodeHelp() + EXAMPLES);
    app.formatter(std::make_shared<HelpText>());
    app.set_help_flag("-h,--help", "show this help");
    app.set_version_flag("--version", "certificatectl " CERTIFICATECTL_VERSION, "show the version");
    app.require_subcommand(1);
    app.fallthrough();
}

void addCommonOptions(CLI::App& app, CommonOptions& common) {
    app.add_flag("--json", common.json, "show the result as JSON");
    app.add_option("--timeout", common.timeout,
                   "seconds to wait for the daemon (default: 30, and 600 for a task)")
        ->type_name("SECONDS")
        ->check(positiveCheck());
}

} // namespace

// The commands in the order in which --help lists them.
void defineProgram(CLI::App& app, CommonOptions& common, Command& chosen) {
    describeProgram(app);
    addCommonOptions(app, common);
    addInit(app, chosen);
    addList(app, chosen);
    addShow(app, chosen);
    addGet(app, chosen);
    addCreate(app, chosen);
    addReplace(app, chosen);
    addRollback(app, chosen);
    addDelete(app, chosen);
    addGenerateCsr(app, chosen);
    addRequests(app, chosen);
    addTasks(app, chosen);
    addWatch(app, chosen);
    addPing(app, chosen);
    addCheck(app, chosen);
    addAction(app, chosen);
}
