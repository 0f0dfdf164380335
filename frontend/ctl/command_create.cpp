// Installs a certificate in a collection.

#include "core/protocol/channels.h"
#include "core/protocol/redfish_names.h"
#include "frontend/ctl/certificate_words.h"
#include "frontend/ctl/collection_hint.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

namespace {

struct CreateOptions {
    std::string collectionUri;
    CertificateSource certificate;
};

nlohmann::json requestBody(const CertificateSource& source) {
    CertificateText certificate = readCertificate(source);
    nlohmann::json body = {{CERTIFICATE_TYPE, certificate.type}};
    body[CERTIFICATE_STRING] = std::move(certificate.text);
    return body;
}

void printCreated(const AcceptedAnswer& created, const nlohmann::json& resource, bool json) {
    const std::string& location = created.answer.location;
    if (json) {
        printJson({{"status", created.answer.status},
                   {"location", location},
                   {"seconds", created.seconds},
                   {"resource", resource}});
        return;
    }
    printLine("Created " + location + "  (" + durationText(created.seconds) + ")", Colour::GOOD);
    printCertificate(resource);
}

void runCreate(const CommonOptions& common, const CreateOptions& options) {
    nlohmann::json body = requestBody(options.certificate);
    const RedisConnection session = openRedisSession();
    const AcceptedAnswer created = withCollectionHint(session.get(), options.collectionUri, [&] {
        return sendRequest(session.get(), {CREATE_CHANNEL, options.collectionUri, "", 0},
                           std::move(body), common);
    });
    printCreated(created, clientView(readDocument(session.get(), created.answer.location)),
                 common.json);
}

} // namespace

void addCreate(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<CreateOptions>();
    CLI::App* command = app.add_subcommand("create", "Install a certificate in a collection.");
    addUri(*command, "COLLECTION", options->collectionUri, "the certificate collection");
    addCertificateSource(*command, options->certificate,
                         "the certificate text, with its private key unless the key was made "
                         "by generate-csr; - for standard input");
    command->footer("Example:\n"
                    "  cat server.crt server.key | certificatectl create \\\n"
                    "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates -\n");
    chooseWhenNamed(*command, chosen, options, runCreate);
}
