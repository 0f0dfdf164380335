// certificate-backend-check: tries a certificate backend against the contract of its header.
//
// The library is never loaded into this process. Every check runs in a child of its own, with keys
// and certificates that were made for this run.

#include "tools/backend_check/checks.h"
#include "tools/backend_check/child.h"
#include "tools/backend_check/report.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace {

constexpr int EXIT_PASSED = 0;
constexpr int EXIT_FAULTS = 1;
constexpr int EXIT_USAGE = 2;
constexpr int EXIT_NOT_LOADED = 3;

constexpr const char* DESCRIPTION =
    "Tries a certificate backend (libcertificate_backend.so.1) against the contract\n"
    "of platform/certificate_backend.h: good, refused and hostile requests to each\n"
    "handler, eight threads at once, kills, and what stays on disk.\n"
    "\n"
    "It installs certificates of its own in a collection of its own and removes them\n"
    "again; signing requests, which nothing can remove, stay. Try it where nothing is\n"
    "in use.";

constexpr const char* FOOTER = "\nExit status:\n"
                               "  0  no fault was found; notes may have been\n"
                               "  1  faults were found\n"
                               "  2  the command line is wrong\n"
                               "  3  the library cannot be loaded, or lacks handlers\n"
                               "\n"
                               "Example:\n"
                               "  certificate-backend-check ./libcertificate_backend.so.1";

struct Options {
    std::string library;
    std::string collection = "/redfish/v1/Managers/BackendCheck/NetworkProtocol/HTTPS/Certificates";
    std::vector<std::string> directories = {"/var/lib/CertificateService"};
    std::string only;
    double limit = 60;
    bool list = false;
};

void describe(CLI::App& app, Options& options) {
    app.footer(FOOTER);
    app.get_formatter()->column_width(24);
    app.add_option("LIBRARY", options.library, "the library's file")->type_name("");
    app.add_option("--collection", options.collection, "where to install; a server's or device's")
        ->type_name("URI");
    app.add_option("--directory", options.directories,
                   "where the backend keeps files; may be given again\n"
                   "(/var/lib/CertificateService)")
        ->type_name("DIR");
    app.add_option("--only", options.only, "run the checks whose statement holds these words")
        ->type_name("WORDS");
    app.add_option("--limit", options.limit, "seconds that a check may take (60)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 86400.0).description(""));
    app.add_flag("--list", options.list, "print the statements and try nothing");
}

std::vector<Check> allChecks() {
    std::vector<Check> checks;
    for (const auto& some : {signingChecks(), installationChecks(), replacementChecks(),
                             hostileChecks(), threadChecks(), machineChecks()}) {
        checks.insert(checks.end(), some.begin(), some.end());
    }
    return checks;
}

std::vector<Check> chosenChecks(const std::string& words) {
    std::vector<Check> checks = allChecks();
    std::erase_if(checks, [&](const Check& check) {
        return std::string(check.name).find(words) == std::string::npos;
    });
    return checks;
}

// A folder that is removed at the end of the scope.
struct ScratchFolder {
    ScratchFolder() : path(std::filesystem::temp_directory_path() / "backend-check.XXXXXX") {
        if (mkdtemp(path.data()) == nullptr) {
            throw std::runtime_error("no folder can be made at " + path);
        }
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string path;
};

// Loading is a check like others, but the rest makes no sense without it.
bool loads(const Options& options, Totals& totals) {
    const Outcome outcome = runInChild(
        [&](const Teller& teller) {
            const BackendLibrary backend = loadBackend(options.library);
            if (backend.soname != BACKEND_SONAME) {
                teller.find(Severity::NOTE, "its soname is \"" + backend.soname +
                                                "\"; the daemon looks for " + BACKEND_SONAME);
            }
        },
        options.limit);
    const int faultsBefore = totals.faults;
    report("It loads, with its four handlers", outcome, totals);
    return totals.faults == faultsBefore;
}

// What the library prints must not tell a key, and standard output is not its own.
void examineOutput(const Material& material, Outcome& outcome) {
    for (const KeyPair* pair : {&material.first, &material.second, &material.expired}) {
        if (holdsKey(outcome.output, pair->privateKey)) {
            outcome.findings.push_back({Severity::FAULT, "the library has printed a private key"});
            return;
        }
    }
}

struct Run {
    const Options& options;
    const Material& material;
    const Places& places;
};

Outcome tryCheck(const Run& run, const Check& check) {
    Outcome outcome = runInChild(
        [&](const Teller& teller) {
            check.run({loadBackend(run.options.library), run.material, run.places, teller});
        },
        run.options.limit);
    examineOutput(run.material, outcome);
    return outcome;
}

// What a check that ended early has left installed.
void cleanUp(const Run& run, const std::vector<std::string>& uris) {
    if (uris.empty()) {
        return;
    }
    const Outcome outcome = runInChild(
        [&](const Teller& teller) {
            const Trial trial = {loadBackend(run.options.library), run.material, run.places,
                                 teller};
            for (const std::string& uri : uris) {
                static_cast<void>(remove(trial, "cleaning up", uri));
            }
        },
        run.options.limit);
    for (const std::string& uri : uris) {
        if (outcome.findings.empty() && outcome.end.empty()) {
            continue;
        }
        (void)std::printf("         left installed: %s\n", uri.c_str());
    }
}

int runChecks(const Options& options) {
    Totals totals;
    (void)std::printf("%s\n", options.library.c_str());
    if (!loads(options, totals)) {
        return EXIT_NOT_LOADED;
    }
    const ScratchFolder scratch;
    const Material material = makeMaterial();
    const Places places = {options.collection, "check" + std::to_string(getpid()) + "-",
                           options.directories, scratch.path};
    const Run run = {options, material, places};
    for (const Check& check : chosenChecks(options.only)) {
        const Outcome outcome = tryCheck(run, check);
        report(check.name, outcome, totals);
        cleanUp(run, outcome.installed);
    }
    reportTotals(totals);
    return totals.faults == 0 ? EXIT_PASSED : EXIT_FAULTS;
}

int runProgram(int argc, char** argv) {
    CLI::App app(DESCRIPTION, "certificate-backend-check");
    Options options;
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_PASSED : EXIT_USAGE;
    }
    if (options.list) {
        for (const Check& check : chosenChecks(options.only)) {
            (void)std::printf("%s\n", check.name);
        }
        return EXIT_PASSED;
    }
    if (options.library.empty() || chosenChecks(options.only).empty()) {
        (void)std::fprintf(stderr, "certificate-backend-check: %s\n",
                           options.library.empty() ? "which library? See --help"
                                                   : "no check has these words; see --list");
        return EXIT_USAGE;
    }
    return runChecks(options);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "certificate-backend-check: %s\n", error.what());
        return EXIT_USAGE;
    }
}
