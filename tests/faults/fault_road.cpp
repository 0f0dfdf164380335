#include "tests/faults/fault_road.h"

#include "tests/support/fake_backend.h"
#include "tests/support/request.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <filesystem>
#include <iterator>
#include <stdexcept>

const std::string COLLECTION = "/redfish/v1/Managers/1/Certificates";
const std::string CERTIFICATE = COLLECTION + "/1a2b";

namespace {

const std::string PROXY_PATH = "/run/redis-proxy.sock";
const std::string LOG_FILE = "/run/daemon.log";

} // namespace

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

std::vector<Fault> connectionFaults() {
    return {
        {"Cut", FaultKind::CUT, ""},
        {"CutReply", FaultKind::CUT_REPLY, ""},
        {"WrongType", FaultKind::ERROR_REPLY,
         "WRONGTYPE Operation against a key holding the wrong kind of value"},
        {"OutOfMemory", FaultKind::ERROR_REPLY,
         "OOM command not allowed when used memory > 'maxmemory'."},
        {"NoPermission", FaultKind::ERROR_REPLY, "NOPERM this user has no permissions"},
        {"ReadOnly", FaultKind::ERROR_REPLY,
         "READONLY You can't write against a read only replica."},
        // Texts from the server are data, whatever they look like.
        {"Loading", FaultKind::ERROR_REPLY,
         "LOADING Redis is loading the dataset in memory 100%s %n"},
    };
}

std::size_t openDescriptors(int pid) {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

FaultRoad::FaultRoad() : mProxy(mServer.socketPath(), PROXY_PATH), mClient(mServer) {
    writeFile("/var/run/redis.port", "0");
    writeFile("/var/run/redis.unixsocket", PROXY_PATH);
    setBackendAnswers(R"({"create":{"privateKeyValue":"/keys/1","certificateString":"stored",
        "keyUsage":["DigitalSignature"],"issuer":{"CommonName":"CA"}},
        "generateCSR":{"csr":"request"},"replace":{"privateKeyValue":"/keys/2"}})");
}

void FaultRoad::restartDaemon() {
    mDaemon.reset();
    // The proxy closes the old daemon's connections in its own time; its subscriptions must not be
    // taken for those of the new one.
    if (!waitUntil([this] {
            const auto channels = mClient.command("PUBSUB", "CHANNELS").elements;
            return channels.empty();
        })) {
        throw std::runtime_error("the old daemon's subscriptions stay");
    }
    (void)std::filesystem::remove(LOG_FILE);
    mProxy.setPlan({});
    mDaemon = std::make_unique<DaemonProcess>(
        DaemonOptions{{{"LOG_FILE", LOG_FILE}}, fakeBackendDirectory(), {}});
    mDaemon->waitUntilReady(mServer);
}

void FaultRoad::seed() {
    mClient.flushAll();
    storeCertificateCollection(mClient, COLLECTION);
    storeResource(mClient, CERTIFICATE,
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate","Name":"n"})");
    const std::string digest = mClient.command("SCRIPT", "LOAD", "return #KEYS").text;
    mClient.command("HSET", "redisSHAScripts", "resourceChange", digest);
    mClient.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "1000");
}
