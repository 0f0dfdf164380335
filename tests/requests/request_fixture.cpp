// The fixture's start: the daemon's own logger writes to a file that the configuration names.

#include "tests/requests/request_fixture.h"

#include "core/logger.h"
#include "tests/support/daemon_process.h"
#include "tests/support/temp_files.h"

#include <regex>
#include <stdexcept>

namespace {

const std::string CONFIGURATION = "/usr/local/etc/nginx/CertificateService.conf";
const std::string LOG_FILE = "/tmp/certificate-service.log";

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const auto& text : texts) {
        result += (result.empty() ? "" : ", ") + text;
    }
    return result;
}

} // namespace

RequestFixture::RequestFixture() : client(server), work(server) {
    configure();
}

RequestFixture::~RequestFixture() {
    gLogger = nullptr;
}

void RequestFixture::configure(const std::map<std::string, std::string>& settings) {
    std::string text = "LOG_FILE=" + LOG_FILE + "\n";
    for (const auto& [key, value] : settings) {
        text += key + "=" + value + "\n";
    }
    writeFile(CONFIGURATION, text);
    logger = std::make_unique<Logger>();
    logger->init(CONFIGURATION);
    gLogger = logger.get();
}

std::string RequestFixture::log() {
    return withoutTimes(readFileIfAny(LOG_FILE));
}

std::string RequestFixture::loadEventScript(const std::string& lua) {
    std::string digest = client.command("SCRIPT", "LOAD", lua).text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    return digest;
}

std::string RequestFixture::answer(const std::string& statusKey) {
    const FrontEndAnswer found = readStatus(client, statusKey);
    const auto word = found.status.find("&&ReturnStatus");
    if (word == found.status.end()) {
        return "no status";
    }
    std::string text = word->second;
    if (!found.messageId.empty()) {
        text += " " + found.messageId + " (" + joined(found.messageArgs) + ")";
    }
    if (!found.relatedProperties.empty()) {
        text += " [" + joined(found.relatedProperties) + "]";
    }
    return text;
}

std::string commandText(const Commands& commands) {
    static const std::regex etag(R"((\\+")[0-9]{13}(\\+"))");
    return std::regex_replace(describeCommands(commands), etag, "$1ETAG$2");
}

FrontEndRequest creationRequest() {
    FrontEndRequest request;
    request.kind = RequestKind::CREATE;
    request.targetUri = COLLECTION;
    request.body = R"({"CertificateString":"client's text","CertificateType":"PEM"})";
    request.statusKey = STATUS_KEY;
    request.returnChannel = RETURN_CHANNEL;
    return request;
}

FrontEndRequest deletionRequest(const std::string& certificateUri) {
    FrontEndRequest request;
    request.kind = RequestKind::REMOVE;
    request.targetUri = certificateUri;
    request.statusKey = STATUS_KEY;
    request.returnChannel = RETURN_CHANNEL;
    return request;
}
