// Starting the daemon and sending requests on their whole road.

#include "tests/system/request_road.h"

#include "tests/support/wait.h"

#include <filesystem>

namespace {

const std::string LOG_FILE = "/tmp/certificate-service.log";

RedisServerOptions withTcp(RedisServerOptions options) {
    options.tcpPort = 6379;
    return options;
}

FrontEndRequest numbered(RequestKind kind, const std::string& targetUri, int number) {
    const std::string text = std::to_string(number);
    FrontEndRequest request;
    request.kind = kind;
    request.targetUri = targetUri;
    request.requestKey = "requests/" + text;
    request.bodyKey = "requests/" + text + "/body";
    request.statusKey = "status/" + text + "/result";
    request.returnChannel = "answers/" + text;
    return request;
}

} // namespace

RequestRoad::RequestRoad(const RedisServerOptions& options)
    : server(withTcp(options)), client(server) {
    writeConnectionFiles(server, RedisAddress::TCP);
    resetBackend();
    std::filesystem::remove("/run/go"); // what tests let the backend wait for
    storeCertificateCollection(client, COLLECTION);
    client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
    const std::string digest = client.command("SCRIPT", "LOAD", "return #KEYS").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
}

void RequestRoad::start(const std::map<std::string, std::string>& configuration,
                        const std::string& libraryPath) {
    launch(configuration, libraryPath);
    daemon->waitUntilReady(server);
}

void RequestRoad::launch(const std::map<std::string, std::string>& configuration,
                         const std::string& libraryPath) {
    DaemonOptions options;
    options.configuration = configuration;
    options.configuration.insert({"LOG_FILE", LOG_FILE});
    options.libraryPath = libraryPath;
    daemon = std::make_unique<DaemonProcess>(options);
}

FrontEndAnswer RequestRoad::send(const FrontEndRequest& request) {
    return sendRequest(server, request);
}

void RequestRoad::announce(const FrontEndRequest& request, const std::string& message) {
    EXPECT_GE(client.command("PUBLISH", channelName(request.kind), message).integer, 1);
}

void RequestRoad::storeAndAnnounce(const FrontEndRequest& request) {
    storeRequest(client, request);
    announce(request, requestMessage(request));
}

std::string RequestRoad::log() const {
    return withoutTimes(daemon->log());
}

bool RequestRoad::abortsUnharmed(const FrontEndRequest& request) {
    start();
    const std::string before = client.dumpAll();
    announce(request, requestMessage(request));
    const auto status = daemon->waitForExit();
    EXPECT_EQ(status, ABORTED);
    const std::string after = client.dumpAll();
    EXPECT_EQ(after, before);
    return status == ABORTED && after == before;
}

FrontEndRequest creation(int number) {
    FrontEndRequest request = numbered(RequestKind::CREATE, COLLECTION, number);
    request.body = R"({"CertificateString":"text","CertificateType":"PEM"})";
    return request;
}

FrontEndRequest deletion(const std::string& certificateUri, int number) {
    return numbered(RequestKind::REMOVE, certificateUri, number);
}

FrontEndRequest signing(const std::string& members, int number) {
    FrontEndRequest request = numbered(RequestKind::ACTION, GENERATE_CSR, number);
    request.body = R"({"CertificateCollection":{"@odata.id":")" + COLLECTION + R"("})" +
                   (members.empty() ? "" : "," + members) + "}";
    request.fields = {{"&&Task", "/tasks/" + std::to_string(number)}};
    return request;
}

FrontEndRequest replacement(const std::string& certificateUri, int number) {
    FrontEndRequest request = numbered(RequestKind::ACTION, REPLACE_CERTIFICATE, number);
    request.body = R"({"CertificateUri":{"@odata.id":")" + certificateUri +
                   R"("},"CertificateString":"text","CertificateType":"PEM"})";
    return request;
}

FrontEndRequest soundRequest(RequestKind kind, int number) {
    return kind == RequestKind::CREATE   ? creation(number)
           : kind == RequestKind::REMOVE ? deletion(COLLECTION + "/1", number)
                                         : signing("", number);
}

std::string kindName(const testing::TestParamInfo<RequestKind>& info) {
    return info.param == RequestKind::CREATE   ? "Creation"
           : info.param == RequestKind::REMOVE ? "Deletion"
                                               : "Action";
}

std::string describeAnswer(const FrontEndAnswer& answer) {
    const auto word = answer.status.find("&&ReturnStatus");
    if (!answer.reply || word == answer.status.end()) {
        return "no reply";
    }
    std::string text = word->second;
    if (!answer.messageId.empty()) {
        text += " " + answer.messageId + " (";
        for (std::size_t i = 0; i < answer.messageArgs.size(); ++i) {
            text += (i == 0 ? "" : ", ") + answer.messageArgs[i];
        }
        text += ")";
    }
    return text;
}
