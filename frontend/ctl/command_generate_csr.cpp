// Asks for a signing request, and follows the task when it runs as one.

#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/secret.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/password_key.h"
#include "frontend/exchange/service_request.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/records/task_resource.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using nlohmann::json;

constexpr double DEFAULT_TIMEOUT = 30.0;
constexpr double DEFAULT_TASK_TIMEOUT = 600.0; // RSA keys of 4096 bits take long on a board

// Readers of the stored form take no escapes, and no one writes control characters into a name.
void checkParameter(const std::string& name, const std::string& value) {
    const bool hasControl = std::any_of(value.begin(), value.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
    });
    if (hasControl || !isValidUtf8(value)) {
        throw FrontEndError(EXIT_USAGE, "The value of " + name +
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

json requestBody(const GenerateCsrOptions& options) {
    json body = {{"CertificateCollection", {{ODATA_ID, options.collectionUri}}}};
    for (const auto& [name, value] : options.parameters) {
        checkParameter(name, value);
        body[name] = value;
    }
    addList(body, "AlternativeNames", options.alternativeNames);
    addList(body, KEY_USAGE, options.keyUsage);
    if (options.keyBitLength != 0) {
        body[KEY_BIT_LENGTH] = options.keyBitLength;
    }
    if (!options.challengePassword.empty()) {
        body["ChallengePassword"] = encryptChallengePassword(options.challengePassword);
    }
    return body;
}

// The states of the request's task, as they come.
struct TaskLog {
    redisContext* context = nullptr;
    std::string taskUri;
    Clock::time_point start;
    bool quiet = false;
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

std::string csrOf(const ServiceAnswer& answer) {
    const json response = json::parse(answer.response, nullptr, false);
    const bool hasCsr =
        response.is_object() && response.contains("CSRString") && response["CSRString"].is_string();
    return hasCsr ? response["CSRString"].get<std::string>() : std::string();
}

int showCsr(const CommonOptions& common, const GenerateCsrOptions& options,
            const ServiceAnswer& answer, const TaskLog& log) {
    const std::string csr = csrOf(answer);
    if (csr.empty()) {
        throw FrontEndError(EXIT_REFUSED, "The service answered without a signing request.");
    }
    const std::string duration = durationText(secondsSince(log.start));
    if (!options.outputFile.empty()) {
        writeTextFile(options.outputFile, csr);
    }
    if (common.json) {
        const json task = log.states.empty() ? json(nullptr) : json(log.taskUri);
        printJson({{"status", answer.status},
                   {"CSRString", csr},
                   {"CertificateCollection", {{ODATA_ID, options.collectionUri}}},
                   {"task", task},
                   {"states", log.states},
                   {"seconds", secondsSince(log.start)}});
    } else if (options.outputFile.empty()) {
        writeTextFile("-", csr);
    } else if (options.outputFile != "-") {
        printLine("Signing request in " + options.outputFile + "  (" + duration + ")",
                  Colour::GOOD);
    }
    return EXIT_OK;
}

int showTask(const CommonOptions& common, const ServiceAnswer& answer) {
    if (common.json) {
        printJson({{"status", answer.status}, {"task", answer.location}});
    } else {
        printLine(answer.location);
    }
    return EXIT_OK;
}

int followTask(const CommonOptions& common, const GenerateCsrOptions& options,
               RequestExchange& exchange, TaskLog& log) {
    const double timeout = common.timeout > 0 ? common.timeout : DEFAULT_TASK_TIMEOUT;
    (void)exchange.awaitTaskEnd(timeout,
                                [&log](const TaskChange& change) { log.note(change.state); });
    const auto result = readTaskResult(exchange.session(), log.taskUri);
    if (!result) {
        throw FrontEndError(EXIT_NO_ANSWER, "The task has ended, but left no result.");
    }
    return isAccepted(*result) ? showCsr(common, options, *result, log)
                               : reportRefusal(*result, common.json);
}

int runExchange(const CommonOptions& common, const GenerateCsrOptions& options, json& body,
                TaskLog& log) {
    ServiceRequest request;
    request.channel = ACTION_CHANNEL;
    request.targetUri = GENERATE_CSR_ACTION_URI;
    request.taskUri = log.taskUri;
    request.timeout = common.timeout > 0 ? common.timeout : DEFAULT_TIMEOUT;
    log.start = Clock::now();
    RequestExchange exchange(request, body);
    const ServiceAnswer answer =
        exchange.awaitAnswer([&log](const TaskChange& change) { log.note(change.state); });
    if (answer.status == STATUS_PROCESSING) {
        return options.noWait ? showTask(common, answer)
                              : followTask(common, options, exchange, log);
    }
    removeTask(log.context, log.taskUri); // answered at once: no task came of it
    return isAccepted(answer) ? showCsr(common, options, answer, log)
                              : reportRefusal(answer, common.json);
}

} // namespace

int runGenerateCsr(const CommonOptions& common, const GenerateCsrOptions& options) {
    json body = requestBody(options);
    const RedisConnection session = openRedisSession();
    TaskLog log;
    log.context = session.get();
    log.taskUri = createTask(session.get(), "Certificate signing request");
    log.quiet = common.json;
    try {
        return runExchange(common, options, body, log);
    } catch (const FrontEndError&) {
        if (log.states.empty()) {
            removeTask(session.get(), log.taskUri); // it never came to be
        }
        throw;
    }
}
