// certificatectl: plays the web front end's part against a running daemon.
//
// This file is the command line only: every command fills its record of options, and the command's
// own file does the work. Errors end up here and become an exit status.

#include "core/secret.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/subscription.h"
#include "frontend/records/seed_records.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>

namespace {

constexpr const char* DESCRIPTION =
    "certificatectl plays the web front end's part against a running CertificateService:\n"
    "it stores a request in Redis, announces it, waits for the daemon's answer and shows it.";

constexpr const char* FOOTER = R"(
Exit status:
  0    done
  1    the service refused or failed; the Redfish message is shown in words
  2    the command line is wrong
  3    Redis is not there, or refuses a command
  4    no answer: the daemon does not listen, or not in time
  5    a file cannot be used: not there, not readable, no certificate text
  130  interrupted

Examples:
  certificatectl init
  certificatectl create /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates server.pem
  certificatectl get /redfish/v1/CertificateService/CertificateLocations
  certificatectl watch --seconds 60

`certificatectl COMMAND --help` tells more about each command.)";

using Command = std::function<int(const CommonOptions&)>;

struct CommandLine {
    CommonOptions common;
    InitOptions init;
    GetOptions get;
    CreateOptions create;
    DeleteOptions remove;
    ReplaceOptions replace;
    GenerateCsrOptions csr;
    std::map<std::string, std::string> csrParameters; // by Redfish name; empty: not given
    std::string passwordFile;
    ActionOptions action;
    TasksOptions tasks;
    WatchOptions watch;
    Command command;
};

// A URI is a key of Redis records, in which a blank would end it.
std::string uriFault(const std::string& uri) {
    const bool hasBlank = uri.find_first_of(" \t\r\n") != std::string::npos;
    return uri.starts_with("/") && uri.size() > 1 && !hasBlank
               ? std::string()
               : "'" + uri + "' is no URI: it must begin with / and hold no blanks";
}

std::string withoutFinalSlash(std::string uri) {
    while (uri.size() > 1 && uri.ends_with('/')) {
        uri.pop_back();
    }
    return uri;
}

const CLI::Validator& uriCheck() {
    static const CLI::Validator check(
        [](std::string& uri) {
            uri = withoutFinalSlash(uri);
            return uriFault(uri);
        },
        "");
    return check;
}

// Up to a million: longer times and larger counts are slips of the keyboard.
const CLI::Validator& positiveCheck() {
    static const CLI::Validator check(
        [](std::string& text) {
            double number = 0;
            const bool good =
                CLI::detail::lexical_cast(text, number) && number > 0 && number <= 1e6;
            return good ? std::string() : "'" + text + "' is no number above 0 and up to 1000000";
        },
        "");
    return check;
}

std::string upperCase(std::string text) {
    for (char& character : text) {
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    }
    return text;
}

// P256, P-256 and TPM_ECC_NIST_P256 are the same; other texts stay for the service to judge.
std::string curveName(const std::string& text) {
    std::string name = upperCase(text);
    std::erase(name, '-');
    return name == "P256" || name == "P384" || name == "P521" ? "TPM_ECC_NIST_" + name : text;
}

std::string algorithmName(const std::string& text) {
    const std::string name = upperCase(text);
    return name == "RSA" || name == "ECDSA" || name == "ECDH" ? "TPM_ALG_" + name : text;
}

void addInit(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand(
        "init", "Set up what a front end keeps: service, locations, a certificate collection,\n"
                "event service with its script, task service, default values. Adds only what is\n"
                "missing; running it again is harmless.");
    command
        ->add_option("--collection", line.init.collectionUris,
                     "a certificate collection to set up; may be repeated")
        ->type_name("URI")
        ->transform(uriCheck())
        ->default_str(DEFAULT_COLLECTION_URI);
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runInit(common, line.init); };
    });
}

void addGet(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("get", "Show a resource as JSON.");
    command->add_option("URI", line.get.uri, "the resource")->type_name("")->required();
    command->add_flag("--raw", line.get.raw, "show the Redis records behind it");
    command->footer("\nExample:\n  certificatectl get --raw /redfish/v1/CertificateService");
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runGet(common, line.get); };
    });
}

void addCreate(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("create", "Install a certificate in a collection.");
    command->add_option("COLLECTION", line.create.collectionUri, "the certificate collection")
        ->type_name("")
        ->required()
        ->transform(uriCheck());
    command
        ->add_option("FILE", line.create.file,
                     "the certificate text, with its private key unless the key was made by\n"
                     "generate-csr; - for standard input")
        ->type_name("")
        ->required();
    command
        ->add_option("--type", line.create.type,
                     "PEM, PEMchain or PKCS7 (default: as the text looks)")
        ->type_name("NAME");
    command->footer("\nExample:\n"
                    "  cat server.crt server.key | certificatectl create \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates -");
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runCreate(common, line.create); };
    });
}

void addDelete(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("delete", "Remove a certificate.");
    command->add_option("URI", line.remove.uri, "the certificate")
        ->type_name("")
        ->required()
        ->transform(uriCheck());
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runDelete(common, line.remove); };
    });
}

void addReplace(CLI::App& app, CommandLine& line) {
    CLI::App* command =
        app.add_subcommand("replace", "Put another certificate in the place of an installed one.");
    command->add_option("URI", line.replace.uri, "the installed certificate")
        ->type_name("")
        ->required()
        ->transform(uriCheck());
    command->add_option("FILE", line.replace.file, "the new certificate text; - for standard input")
        ->type_name("")
        ->required();
    command
        ->add_option("--type", line.replace.type,
                     "PEM, PEMchain or PKCS7 (default: as the text looks)")
        ->type_name("NAME");
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runReplace(common, line.replace); };
    });
}

struct CsrParameter {
    const char* option;
    const char* name; // of the Redfish parameter
    const char* help;
};

void addCsrParameters(CLI::App& command, CommandLine& line) {
    static const std::vector<CsrParameter> PARAMETERS = {
        {"--organization", "Organization", "organization (O)"},
        {"--organizational-unit", "OrganizationalUnit", "organizational unit (OU)"},
        {"--city", "City", "city or locality (L)"},
        {"--state", "State", "state or province (ST)"},
        {"--country", "Country", "country, two letters (C)"},
        {"--email", "Email", "e-mail address of the contact"},
        {"--contact-person", "ContactPerson", "name of the contact"},
        {"--surname", "Surname", "surname"},
        {"--given-name", "GivenName", "given name"},
        {"--initials", "Initials", "initials"},
        {"--unstructured-name", "UnstructuredName", "unstructured name (PKCS #9)"},
    };
    command
        .add_option("--cn", line.csrParameters["CommonName"],
                    "common name (CN), for a server its host name")
        ->required();
    for (const CsrParameter& parameter : PARAMETERS) {
        command.add_option(parameter.option, line.csrParameters[parameter.name], parameter.help);
    }
}

void addKeyOptions(CLI::App& command, CommandLine& line) {
    CLI::Option* rsa = command
                           .add_option("--rsa", line.csr.keyBitLength,
                                       "an RSA key of so many bits: 2048, 3072 or 4096; runs as "
                                       "a task")
                           ->type_name("BITS")
                           ->check(positiveCheck());
    command
        .add_option("--curve", line.csrParameters["KeyCurveId"],
                    "an elliptic-curve key: P256, P384 or P521")
        ->type_name("NAME")
        ->excludes(rsa);
    command
        .add_option("--algorithm", line.csrParameters["KeyPairAlgorithm"],
                    "key algorithm: RSA, ECDSA or ECDH (default: from --rsa or --curve)")
        ->type_name("NAME");
    CLI::Option* password =
        command
            .add_option("--challenge-password", line.csr.challengePassword,
                        "challenge password; other users of this machine may see it in the list "
                        "of processes")
            ->type_name("TEXT")
            ->check([](const std::string& text) {
                return text.empty() ? "the password must not be empty" : std::string();
            });
    command
        .add_option("--challenge-password-file", line.passwordFile,
                    "file whose first line is the challenge password; - for standard input")
        ->type_name("FILE")
        ->excludes(password);
}

void addGenerateCsr(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand(
        "generate-csr", "Have a key pair made, and get the signing request for it.");
    command
        ->add_option("COLLECTION", line.csr.collectionUri,
                     "the collection that the certificate will go into")
        ->type_name("")
        ->required()
        ->transform(uriCheck());
    addCsrParameters(*command, line);
    command
        ->add_option("--san", line.csr.alternativeNames,
                     "alternative name: DNS name, IP address, e-mail address or URI; may be "
                     "repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command
        ->add_option("--key-usage", line.csr.keyUsage,
                     "key usage, such as DigitalSignature or ServerAuthentication; may be "
                     "repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    addKeyOptions(*command, line);
    command
        ->add_option("-o,--output", line.csr.outputFile,
                     "file for the signing request (default: standard output)")
        ->type_name("FILE");
    command->add_flag("--no-wait", line.csr.noWait,
                      "when it runs as a task: print the task's URI and end");
    command->footer(
        "\nExamples:\n"
        "  certificatectl generate-csr COLLECTION --cn bmc.example --san bmc.example -o bmc.csr\n"
        "  certificatectl generate-csr COLLECTION --cn bmc.example --rsa 3072 --no-wait");
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runGenerateCsr(common, line.csr); };
    });
}

void addAction(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand(
        "action", "Send an action with a body of your own, and show the answer.");
    command->add_option("TARGET", line.action.targetUri, "the action's target URI")
        ->type_name("")
        ->required();
    command
        ->add_option("--body", line.action.bodyFile,
                     "file with the JSON object to send; - for standard input")
        ->type_name("FILE");
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runAction(common, line.action); };
    });
}

void addTasks(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand(
        "tasks", "List the tasks with their states, or show one with its signing request.");
    CLI::Option* uri = command->add_option("URI", line.tasks.uri, "one task")->type_name("");
    command
        ->add_option("-o,--output", line.tasks.outputFile,
                     "file for the task's signing request; - for standard output")
        ->type_name("FILE")
        ->needs(uri);
    command->add_flag("--clear", line.tasks.clear, "remove tasks that have ended")->excludes(uri);
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runTasks(common, line.tasks); };
    });
}

void addWatch(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand(
        "watch", "Show resource events and task states as they come, until Ctrl-C.");
    command->add_option("--count", line.watch.count, "end after so many lines")
        ->type_name("N")
        ->check(positiveCheck());
    command->add_option("--seconds", line.watch.seconds, "end after so many seconds")
        ->type_name("N")
        ->check(positiveCheck());
    command->callback([&line] {
        line.command = [&line](const auto& common) { return runWatch(common, line.watch); };
    });
}

void describe(CLI::App& app, CommandLine& line) {
    app.footer(FOOTER);
    app.get_formatter()->column_width(34);
    app.set_version_flag("--version", "certificatectl " CERTIFICATECTL_VERSION);
    app.require_subcommand(1);
    app.failure_message([](const CLI::App* /*failed*/, const CLI::Error& error) {
        return "certificatectl: " + std::string(error.what()) +
               "\n  `certificatectl COMMAND --help` tells what a command takes.\n";
    });
    app.fallthrough();
    app.add_flag("--json", line.common.json, "show the result as JSON");
    app.add_option("--timeout", line.common.timeout,
                   "seconds to wait for the daemon (default: 30, and 600 for a task)")
        ->type_name("SECONDS")
        ->check(positiveCheck());
    addInit(app, line);
    addGet(app, line);
    addCreate(app, line);
    addDelete(app, line);
    addReplace(app, line);
    addGenerateCsr(app, line);
    addAction(app, line);
    addTasks(app, line);
    addWatch(app, line);
}

// What the options say, in the words of the action's parameters.
void completeCsrOptions(CommandLine& line) {
    for (const auto& [name, value] : line.csrParameters) {
        if (name == "KeyCurveId" && !value.empty()) {
            line.csr.parameters.emplace_back(name, curveName(value));
        } else if (name == "KeyPairAlgorithm" && !value.empty()) {
            line.csr.parameters.emplace_back(name, algorithmName(value));
        } else if (!value.empty()) {
            line.csr.parameters.emplace_back(name, value);
        }
    }
    if (!line.passwordFile.empty()) {
        std::string text = readTextFile(line.passwordFile);
        line.csr.challengePassword = text.substr(0, text.find_first_of("\r\n"));
        wipeText(text);
        if (line.csr.challengePassword.empty()) {
            throw FrontEndError(EXIT_LOCAL_FILE,
                                line.passwordFile + ": holds no password in its first line.");
        }
    }
}

int runCommandLine(CommandLine& line) {
    try {
        completeCsrOptions(line);
        const int status = line.command(line.common);
        wipeText(line.csr.challengePassword);
        return status;
    } catch (const FrontEndError& error) {
        return reportError(error, line.common.json);
    } catch (const std::exception& error) {
        return reportError(FrontEndError(EXIT_LOCAL_FILE, error.what()), line.common.json);
    }
}

int runProgram(int argc, char** argv) {
    CLI::App app(DESCRIPTION, "certificatectl");
    CommandLine line;
    describe(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    return runCommandLine(line);
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
