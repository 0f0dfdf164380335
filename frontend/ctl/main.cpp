// certificatectl: plays the web front end's part against a running daemon.
//
// The commands describe themselves, each in a file of its own; here what ends them becomes an exit
// code.

#include "core/secret.h"
#include "frontend/ctl/exit_codes.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/program_definition.h"
#include "frontend/ctl/send_request.h"
#include "frontend/ctl/usage_error.h"
#include "frontend/exchange/interrupt.h"

#include <cstdio>
#include <exception>
#include <sstream>
#include <utility>

namespace {

int runChosen(const Command& chosen, const CommonOptions& common) {
    try {
        chosen(common);
        return EXIT_DONE;
    } catch (const ServiceRefusal& refusal) {
        return reportRefusal(refusal.answer, refusal.hint, common.json);
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

// --help and --version end the reading of the command line like an error does.
int endReading(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        (void)app.exit(error, text, text);
        printText(text.str());
        return EXIT_DONE;
    }
    std::string beginning = "certificatectl: ";
    for (const std::string& line : usageErrorLines(app, error)) {
        printNote(std::exchange(beginning, "") + line);
    }
    return EXIT_USAGE;
}

int runProgram(int argc, char** argv) {
    CommonOptions common;
    Command chosen;
    CLI::App app;
    defineProgram(app, common, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return endReading(app, error);
    }
    return runChosen(chosen, common);
}

} // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    forbidCoreFiles(); // private keys and passwords pass through
    installInterruptHandler();
    try {
        return runProgram(argc, argv);
    } catch (const FrontEndError& error) { // of the last words on a command
        return reportError(error, false);
    } catch (const std::exception& error) {
        return reportError(FrontEndError(FailureKind::LOCAL_FILE, error.what()), false);
    }
}
