// certificatectl: plays the web front end's part against a running daemon.
//
// The commands describe themselves, each in a file of its own; here they come together, and what
// ends them becomes an exit code.

#include "core/secret.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/interrupt.h"

#include <cstdio>
#include <exception>

namespace {

constexpr const char* DESCRIPTION =
    "certificatectl plays the web front end's part against a running CertificateService:\n"
    "it stores a request in Redis, announces it, waits for the daemon's answer and shows it.";

constexpr const char* EXAMPLES = R"(
Examples:
  certificatectl init
  certificatectl create /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates server.pem
  certificatectl get /redfish/v1/CertificateService/CertificateLocations
  certificatectl watch --seconds 60

`certificatectl COMMAND --help` tells more about each command.)";

void describeProgram(CLI::App& app) {
    app.footer("\nExit status:\n" + exitCodeHelp() + EXAMPLES);
    app.get_formatter()->column_width(34);
    app.set_version_flag("--version", "certificatectl " CERTIFICATECTL_VERSION);
    app.require_subcommand(1);
    app.failure_message([](const CLI::App* /*failed*/, const CLI::Error& error) {
        return "certificatectl: " + std::string(error.what()) +
               "\n  `certificatectl COMMAND --help` tells what a command takes.\n";
    });
    app.fallthrough();
}

void addCommonOptions(CLI::App& app, CommonOptions& common) {
    app.add_flag("--json", common.json, "show the result as JSON");
    app.add_option("--timeout", common.timeout,
                   "seconds to wait for the daemon (default: 30, and 600 for a task)")
        ->type_name("SECONDS")
        ->check(positiveCheck());
}

// In the order in which --help lists them.
void addCommands(CLI::App& app, Command& chosen) {
    addInit(app, chosen);
    addGet(app, chosen);
    addList(app, chosen);
    addShow(app, chosen);
    addCreate(app, chosen);
    addDelete(app, chosen);
    addReplace(app, chosen);
    addRollback(app, chosen);
    addGenerateCsr(app, chosen);
    addRequests(app, chosen);
    addCheck(app, chosen);
    addAction(app, chosen);
    addTasks(app, chosen);
    addWatch(app, chosen);
    addPing(app, chosen);
}

int runChosen(const Command& chosen, const CommonOptions& common) {
    try {
        chosen(common);
        return EXIT_DONE;
    } catch (const ServiceRefusal& refusal) {
        return reportRefusal(refusal.answer, common.json);
    } catch (const LeftDifferent&) {
        return EXIT_REFUSED;
    } catch (const CertificatesExpire&) {
        return EXIT_EXPIRING;
    } catch (const FrontEndError& error) {
        return reportError(error, common.json);
    } catch (const std::exception& error) {
        return reportError(FrontEndError(FailureKind::LOCAL_FILE, error.what()), common.json);
    }
}

int runProgram(int argc, char** argv) {
    CLI::App app(DESCRIPTION, "certificatectl");
    CommonOptions common;
    Command chosen;
    describeProgram(app);
    addCommonOptions(app, common);
    addCommands(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_DONE : EXIT_USAGE;
    }
    return runChosen(chosen, common);
}

} // namespace

int main(int argc, char** argv) {
    forbidCoreFiles(); // private keys and passwords pass through
    installInterruptHandler();
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) { // of the library that reads the command line
        (void)std::fprintf(stderr, "certificatectl: %s\n", error.what());
        return EXIT_USAGE;
    }
}
