// Puts another certificate in the place of an installed one.

#include "frontend/ctl/command_line.h"
#include "frontend/ctl/replacement.h"

namespace {

struct ReplaceOptions {
    std::string uri;
    CertificateSource certificate;
};

void runReplace(const CommonOptions& common, const ReplaceOptions& options) {
    replaceAndShow(common, options.uri, readCertificate(options.certificate));
}

} // namespace

void addReplace(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ReplaceOptions>();
    CLI::App* command =
        app.add_subcommand("replace", "Put another certificate in the place of an installed one.");
    addUri(*command, "URI", options->uri, "the installed certificate");
    addCertificateSource(*command, options->certificate,
                         "the new certificate text; - for standard input");
    command->footer("Example:\n"
                    "  certificatectl replace \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1 new.pem\n");
    chooseWhenNamed(*command, chosen, options, runReplace);
}
