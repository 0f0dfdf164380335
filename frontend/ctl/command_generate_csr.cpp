// Asks for a signing request, and follows the task when it runs as one.

#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/secret.h"
#include "frontend/ctl/collection_hint.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/password_key.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/records/task_resource.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>

namespace {

using nlohmann::json;

struct GenerateCsrOptions {
    std::string collectionUri;
    std::map<std::string, std::string> parameters; // by Redfish name; empty: not given
    std::vector<std::string> alternativeNames;
    std::vector<std::string> keyUsage;
    int keyBitLength = 0; // 0: not given
    std::string challengePassword;
    std::string passwordFile; // whose first line is the challenge password
    std::string outputFile;   // empty: standard output
    bool noWait = false;
};

// No name holds control characters, and the stored form has no escapes for them.
void checkParameter(const std::string& name, const std::string& value) {
    const bool hasControl = std::any_of(value.begin(), value.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
    });
    if (hasControl || !isValidUtf8(value)) {
        throw FrontEndError(FailureKind::BAD_INPUT,
                            "The value of " + name +
                                " must be UTF-8 text without control characters.");
    }
}

void addList(json& body, const std::string& name, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        checkParameter(name, value);
    }
    if (!values.empty()) {
        body[name] = values;
    }
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

void addParameter(json& body, const std::string& name, const std::string& value) {
    checkParameter(name, value);
    if (name == KEY_CURVE_ID) {
        body[name] = curveName(value);
    } else {
        body[name] = name == KEY_PAIR_ALGORITHM ? algorithmName(value) : value;
    }
}

// The challenge password; empty when none is asked for. The caller wipes it.
std::string challengePassword(const GenerateCsrOptions& options) {
    if (options.passwordFile.empty()) {
        return options.challengePassword;
    }
    std::string text = readTextFile(options.passwordFile);
    std::string password = text.substr(0, text.find_first_of("\r\n"));
    wipeText(text);
    if (password.empty()) {
        throw FrontEndError(FailureKind::LOCAL_FILE,
                            options.passwordFile + ": holds no password in its first line.");
    }
    return password;
}

void addChallengePassword(json& body, const GenerateCsrOptions& options) {
    std::string password = challengePassword(options);
    if (!password.empty()) {
        body[CHALLENGE_PASSWORD] = encryptChallengePassword(password);
    }
    wipeText(password);
}

json requestBody(const GenerateCsrOptions& options) {
    json body = {{CERTIFICATE_COLLECTION, {{ODATA_ID, options.collectionUri}}}};
    for (const auto& [name, value] : options.parameters) {
        if (!value.empty()) {
            addParameter(body, name, value);
        }
    }
    addList(body, "AlternativeNames", options.alternativeNames);
    addList(body, KEY_USAGE, options.keyUsage);
    if (options.keyBitLength != 0) {
        body[KEY_BIT_LENGTH] = options.keyBitLength;
    }
    addChallengePassword(body, options);
    return body;
}

// The states of the request's task, as they come.
struct TaskLog {
    redisContext* context = nullptr;
    std::string taskUri;
    Clock::time_point start;
    bool quiet = false;
    bool isTask = false; // whether the daemon carries the request out as a task
    json states = json::array();

    void note(const std::string& state) {
        const double seconds = secondsSince(start);
        setTaskState(context, taskUri, state);
        states.push_back({{"state", state}, {"seconds", seconds}});
        if (!quiet) {
            printNote("  task  " + state +
                          std::string(state.size() < 10 ? 10 - state.size() : 1, ' ') +
                          durationText(seconds),
                      Colour::SOFT);
        }
    }
};

void showCsr(const CommonOptions& common, const GenerateCsrOptions& options,
             const ServiceAnswer& answer, const TaskLog& log) {
    const std::string csr = signingRequestOf(answer);
    if (csr.empty()) {
        throw FrontEndError(FailureKind::NOT_THERE,
                            "The service answered without a signing request.");
    }
    const std::string duration = durationText(secondsSince(log.start));
    if (!options.outputFile.empty()) {
        writeTextFile(options.outputFile, csr);
    }
    if (common.json) {
        const json task = log.states.empty() ? json(nullptr) : json(log.taskUri);
        printJson({{"status", answer.status},
                   {CSR_STRING, csr},
                   {CERTIFICATE_COLLECTION, {{ODATA_ID, options.collectionUri}}},
                   {"task", task},
                   {"states", log.states},
                   {"seconds", secondsSince(log.start)}});
    } else if (options.outputFile.empty()) {
        writeTextFile("-", csr);
    } else if (options.outputFile != "-") {
        printLine("Signing request in " + options.outputFile + "  (" + duration + ")",
                  Colour::GOOD);
    }
}

void showTask(const CommonOptions& common, const ServiceAnswer& answer) {
    if (common.json) {
        printJson({{"status", answer.status}, {"task", answer.location}});
    } else {
        printLine(answer.location);
    }
}

TaskObserver observerOf(TaskLog& log) {
    return [&log](const TaskChange& change) { log.note(change.state); };
}

// What the task has come to, once it has ended.
ServiceAnswer awaitTask(const CommonOptions& common, ServiceRequest& request, TaskLog& log) {
    request.awaitTaskEnd(timeoutOr(common, DEFAULT_TASK_TIMEOUT), observerOf(log));
    const auto result = readTaskResult(log.context, log.taskUri);
    if (!result) {
        throw FrontEndError(FailureKind::NO_ANSWER, "The task has ended, but left no result.");
    }
    checkAccepted(*result);
    return *result;
}

void askDaemon(const CommonOptions& common, const GenerateCsrOptions& options, json body,
               TaskLog& log) {
    const RequestHead head = {ACTION_CHANNEL, GENERATE_CSR_ACTION_URI, log.taskUri,
                              timeoutOr(common, DEFAULT_TIMEOUT)};
    log.start = Clock::now();
    ServiceRequest request(log.context, head, std::move(body));
    const ServiceAnswer answer = takeAnswer(request, observerOf(log));
    log.isTask = answer.status == STATUS_PROCESSING;
    if (!log.isTask) {
        removeTask(log.context, log.taskUri); // answered at once
        showCsr(common, options, answer, log);
    } else if (options.noWait) {
        showTask(common, answer);
    } else {
        showCsr(common, options, awaitTask(common, request, log), log);
    }
}

void runGenerateCsr(const CommonOptions& common, const GenerateCsrOptions& options) {
    json body = requestBody(options);
    const RedisConnection session = openRedisSession();
    TaskLog log;
    log.context = session.get();
    log.taskUri = createTask(session.get(), "Certificate signing request");
    log.quiet = common.json;
    try {
        withCollectionHint(session.get(), options.collectionUri,
                           [&] { askDaemon(common, options, std::move(body), log); });
    } catch (const std::exception&) {
        if (!log.isTask && log.states.empty()) {
            removeTask(session.get(), log.taskUri); // it never began
        }
        throw;
    }
}

struct NameOption {
    const char* option;
    const char* parameter;
    const char* help;
};

// clang-format off
constexpr std::array<NameOption, 11> NAME_OPTIONS = {{
    {"--organization",        "Organization",       "organization (O)"},
    {"--organizational-unit", "OrganizationalUnit", "organizational unit (OU)"},
    {"--city",                "City",               "city or locality (L)"},
    {"--state",               "State",              "state or province (ST)"},
    {"--country",             "Country",            "country, two letters (C)"},
    {"--email",               "Email",              "e-mail address of the contact"},
    {"--contact-person",      "ContactPerson",      "name of the contact"},
    {"--surname",             "Surname",            "surname"},
    {"--given-name",          "GivenName",          "given name"},
    {"--initials",            "Initials",           "initials"},
    {"--unstructured-name",   "UnstructuredName",   "unstructured name (PKCS #9)"},
}};
// clang-format on

void addNameOptions(CLI::App& command, GenerateCsrOptions& options) {
    command
        .add_option("--cn", options.parameters["CommonName"],
                    "common name (CN), for a server its host name")
        ->required();
    for (const NameOption& name : NAME_OPTIONS) {
        command.add_option(name.option, options.parameters[name.parameter], name.help);
    }
}

void addKeyOptions(CLI::App& command, GenerateCsrOptions& options) {
    CLI::Option* rsa = command
                           .add_option("--rsa", options.keyBitLength,
                                       "an RSA key of so many bits (runs as a task)")
                           ->type_name("BITS")
                           ->check(offeredValues({"2048", "3072", "4096"}))
                           ->check(positiveCheck());
    command.add_option("--curve", options.parameters[KEY_CURVE_ID], "an elliptic-curve key")
        ->type_name("NAME")
        ->check(offeredValues({"P256", "P384", "P521"}))
        ->excludes(rsa);
    command
        .add_option("--algorithm", options.parameters[KEY_PAIR_ALGORITHM],
                    "key algorithm (default: from --rsa or --curve)")
        ->type_name("NAME")
        ->check(offeredValues({"RSA", "ECDSA", "ECDH"}));
}

void addPasswordOptions(CLI::App& command, GenerateCsrOptions& options) {
    CLI::Option* password =
        command
            .add_option("--challenge-password", options.challengePassword,
                        "challenge password; other users of this machine may see it in the list "
                        "of processes")
            ->type_name("TEXT")
            ->check([](const std::string& text) {
                return text.empty() ? "the password must not be empty" : std::string();
            });
    command
        .add_option("--challenge-password-file", options.passwordFile,
                    "file whose first line is the challenge password; - for standard input")
        ->type_name("FILE")
        ->excludes(password);
}

CLI::Option& addListOption(CLI::App& command, const std::string& name,
                           std::vector<std::string>& values, const std::string& help) {
    return *command.add_option(name, values, help)->type_name("NAME")->allow_extra_args(false);
}

void addKeyUsage(CLI::App& command, GenerateCsrOptions& options) {
    addListOption(command, "--key-usage", options.keyUsage, "key usage (may be repeated)")
        .check(offeredValues({"DigitalSignature", "NonRepudiation", "KeyEncipherment",
                              "DataEncipherment", "KeyAgreement", "EncipherOnly", "DecipherOnly",
                              "ServerAuthentication", "ClientAuthentication", "CodeSigning",
                              "EmailProtection", "Timestamping", "OCSPSigning"}));
}

} // namespace

void addGenerateCsr(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<GenerateCsrOptions>();
    CLI::App* command = app.add_subcommand(
        "generate-csr", "Have a key pair made, and get the signing request for it.");
    addUri(*command, "COLLECTION", options->collectionUri,
           "the collection that the certificate will go into");
    addNameOptions(*command, *options);
    (void)addListOption(*command, "--san", options->alternativeNames,
                        "alternative name: DNS name, IP address, e-mail address or URI; may be "
                        "repeated");
    addKeyUsage(*command, *options);
    addKeyOptions(*command, *options);
    addPasswordOptions(*command, *options);
    command
        ->add_option("-o,--output", options->outputFile,
                     "file for the signing request (default: standard output)")
        ->type_name("FILE");
    command->add_flag("--no-wait", options->noWait,
                      "when it runs as a task: print the task's URI and end");
    command->footer("Examples:\n"
                    "  certificatectl generate-csr \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates \\\n"
                    "      --cn bmc.example --san bmc.example --san 192.0.2.7 -o bmc.csr\n"
                    "  certificatectl generate-csr --cn bmc.example --rsa 3072 --no-wait \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates\n");
    chooseWhenNamed(*command, chosen, options, runGenerateCsr);
}
