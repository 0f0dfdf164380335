// Sends an action of any name to the daemon, with a body of one's own.

#include "core/protocol/channels.h"
#include "core/secret.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/front_end_error.h"

#include <nlohmann/json.hpp>

namespace {

struct ActionOptions {
    std::string targetUri;
    std::string bodyFile; // empty: an empty object
};

nlohmann::json readBody(const std::string& file) {
    if (file.empty()) {
        return nlohmann::json::object();
    }
    std::string text = readTextFile(file);
    nlohmann::json body = nlohmann::json::parse(text, nullptr, false);
    wipeText(text);
    if (!body.is_object()) {
        throw FrontEndError(FailureKind::LOCAL_FILE, file + ": is not a JSON object.");
    }
    return body;
}

bool isUnknownAction(const ServiceAnswer& answer) {
    return answer.messageId.ends_with(".ActionNotSupported");
}

ServiceAnswer send(const CommonOptions& common, const ActionOptions& options) {
    nlohmann::json body = readBody(options.bodyFile);
    const RedisConnection session = openRedisSession();
    try {
        return sendRequest(session.get(), {ACTION_CHANNEL, options.targetUri, "", 0},
                           std::move(body), common)
            .answer;
    } catch (ServiceRefusal& refusal) {
        if (options.bodyFile.empty() && !isUnknownAction(refusal.answer)) {
            refusal.hint = "The request had no body; --body FILE gives it one.";
        }
        throw;
    }
}

void runAction(const CommonOptions& common, const ActionOptions& options) {
    const ServiceAnswer answer = send(common, options);
    const nlohmann::json response = nlohmann::json::parse(answer.response, nullptr, false);
    printJson({{"status", answer.status},
               {"location", answer.location},
               {"messageId", answer.messageId},
               {"response", response.is_discarded() ? nlohmann::json(nullptr) : response}});
}

} // namespace

void addAction(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ActionOptions>();
    CLI::App* command = app.add_subcommand(
        "action", "Send an action with a body of your own, and show the answer.");
    command->add_option("TARGET", options->targetUri, "the action's target URI")
        ->type_name("")
        ->required();
    command
        ->add_option("--body", options->bodyFile,
                     "file with the JSON object to send; - for standard input")
        ->type_name("FILE");
    command->footer(
        "Example:\n"
        "  certificatectl action --body request.json \\\n"
        "      /redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR\n");
    chooseWhenNamed(*command, chosen, options, runAction);
}
