// Shows a certificate resource in words.

#include "core/protocol/redfish_names.h"
#include "frontend/ctl/certificate_words.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

namespace {

struct ShowOptions {
    std::string uri;
};

bool isCertificate(const nlohmann::json& resource) {
    return resource.is_object() &&
           resource.value(ODATA_TYPE, std::string()).starts_with("#Certificate.");
}

nlohmann::json readCertificateResource(const std::string& uri) {
    const RedisConnection session = openRedisSession();
    nlohmann::json resource = clientView(readDocument(session.get(), uri));
    if (resource.is_null()) {
        throw FrontEndError(FailureKind::NOT_THERE, "There is no resource at " + uri + ".",
                            "`certificatectl list` names the certificates.");
    }
    if (!isCertificate(resource)) {
        throw FrontEndError(FailureKind::NOT_THERE,
                            "The resource at " + uri + " is no certificate.",
                            "`certificatectl get " + uri + "` shows it as JSON.");
    }
    return resource;
}

std::string expiryText(const nlohmann::json& certificate) {
    const std::optional<std::time_t> expiry = expiryOf(certificate);
    if (!expiry) {
        return "(not known)";
    }
    const long long days = daysBetween(std::time(nullptr), *expiry);
    if (days < 0) {
        return "has expired";
    }
    return days == 0 ? "within a day"
                     : "in " + std::to_string(days) + (days == 1 ? " day" : " days");
}

void runShow(const CommonOptions& common, const ShowOptions& options) {
    const nlohmann::json certificate = readCertificateResource(options.uri);
    if (common.json) {
        printJson(certificate);
        return;
    }
    printLine(options.uri, Colour::GOOD);
    printCertificate(certificate);
    printField("expires", expiryText(certificate));
}

} // namespace

void addShow(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand("show", "Show a certificate in words.");
    addUri(*command, "URI", options->uri, "the certificate");
    command->footer("Example:\n"
                    "  certificatectl show \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1");
    chooseWhenNamed(*command, chosen, options, runShow);
}
