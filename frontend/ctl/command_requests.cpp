// Shows the signing requests whose certificate has not come yet, or forgets one.

#include "frontend/ctl/backend_directory.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "platform/certificate_backend/request_keys.h"

#include <nlohmann/json.hpp>

namespace {

struct RequestsOptions {
    std::string removedId;
};

void printRequest(const OutstandingRequest& request) {
    printLine(request.id, Colour::GOOD);
    printField("collection", request.note.collectionUri);
    printField("subject", request.note.subject);
    printField("date", request.note.date);
}

void showRequests(bool json) {
    const std::vector<OutstandingRequest> requests = listRequests(openBackendDirectory());
    nlohmann::json documents = nlohmann::json::array();
    for (const OutstandingRequest& request : requests) {
        if (json) {
            documents.push_back({{"id", request.id},
                                 {"collection", request.note.collectionUri},
                                 {"subject", request.note.subject},
                                 {"date", request.note.date}});
        } else {
            printRequest(request);
        }
    }
    if (json) {
        printJson(documents);
    } else if (requests.empty()) {
        printLine("There is no outstanding request.");
    }
}

void runRequests(const CommonOptions& common, const RequestsOptions& options) {
    if (options.removedId.empty()) {
        showRequests(common.json);
        return;
    }
    if (!removeRequest(openBackendDirectory(), options.removedId)) {
        throw FrontEndError(FailureKind::NOT_THERE,
                            "There is no outstanding request " + options.removedId + ".");
    }
    if (common.json) {
        printJson({{"removed", options.removedId}});
    } else {
        printLine("Removed " + options.removedId, Colour::GOOD);
    }
}

} // namespace

void addRequests(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<RequestsOptions>();
    CLI::App* command = app.add_subcommand(
        "requests", "Show the signing requests whose certificate has not come yet.");
    command
        ->add_option("--remove", options->removedId,
                     "forget this request and its private key; its certificate is then refused")
        ->type_name("ID");
    command->footer("They are read from the reference backend's directory on this machine.\n"
                    "\nExample:\n"
                    "  certificatectl requests --json\n");
    chooseWhenNamed(*command, chosen, options, runRequests);
}
