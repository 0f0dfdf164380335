// Puts back what the last replacement of a certificate replaced, by another replacement.

#include "core/secret.h"
#include "frontend/ctl/backend_directory.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/replacement.h"
#include "frontend/exchange/front_end_error.h"
#include "platform/certificate_backend/installed_certificates.h"

namespace {

struct RollbackOptions {
    std::string uri;
};

CertificateText previousCertificate(const std::string& uri) {
    const std::optional<SecretText> text = readPrevious(openBackendDirectory(), uri);
    if (!text) {
        throw FrontEndError(FailureKind::NOT_THERE,
                            "Nothing that " + uri +
                                " replaced is kept: it was not replaced since "
                                "it was created.");
    }
    return {std::string(*text), guessCertificateType(*text)};
}

void runRollback(const CommonOptions& common, const RollbackOptions& options) {
    replaceAndShow(common, options.uri, previousCertificate(options.uri));
}

} // namespace

void addRollback(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<RollbackOptions>();
    CLI::App* command =
        app.add_subcommand("rollback", "Put back the certificate that was replaced last.");
    addUri(*command, "URI", options->uri, "the installed certificate");
    command->footer(
        "The daemon checks it as any other replacement; rolling back once more takes it "
        "back.\n"
        "\nExample:\n"
        "  certificatectl rollback \\\n"
        "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1\n");
    chooseWhenNamed(*command, chosen, options, runRollback);
}
