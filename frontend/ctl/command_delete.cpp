// Removes a certificate: first the daemon takes it out of use, then its records go.

#include "core/protocol/channels.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/records/certificate_records.h"

#include <nlohmann/json.hpp>

namespace {

struct DeleteOptions {
    std::string uri;
};

void runDelete(const CommonOptions& common, const DeleteOptions& options) {
    const RedisConnection session = openRedisSession();
    const auto [answer, seconds] =
        sendRequest(session.get(), {DELETE_CHANNEL, options.uri, "", 0}, nullptr, common);
    removeCertificateRecords(session.get(), options.uri);
    if (common.json) {
        printJson({{"status", answer.status}, {"removed", options.uri}, {"seconds", seconds}});
    } else {
        printLine("Removed " + options.uri + "  (" + durationText(seconds) + ")", Colour::GOOD);
    }
}

} // namespace

void addDelete(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<DeleteOptions>();
    CLI::App* command = app.add_subcommand("delete", "Remove a certificate.");
    addUri(*command, "URI", options->uri, "the certificate");
    command->footer("Example:\n"
                    "  certificatectl delete \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1\n");
    chooseWhenNamed(*command, chosen, options, runDelete);
}
