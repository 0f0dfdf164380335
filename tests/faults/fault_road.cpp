#include "tests/faults/fault_road.h"

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"

#include <stdexcept>

namespace {

const std::string PROXY_PATH = "/run/redis-proxy.sock";

} // namespace

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
    return listDirectory("/proc/" + std::to_string(pid) + "/fd").size();
}

FaultRoad::FaultRoad() : proxy(server.socketPath(), PROXY_PATH) {
    writeFile("/var/run/redis.port", "0");
    writeFile("/var/run/redis.unixsocket", PROXY_PATH);
    setBackendAnswers(R"({"create":{"privateKeyValue":"/keys/1","certificateString":"stored",
        "keyUsage":["DigitalSignature"],"issuer":{"CommonName":"CA"}},
        "generateCSR":{"csr":"request"},"replace":{"privateKeyValue":"/keys/2"}})");
}

void FaultRoad::restart() {
    daemon.reset();
    // The proxy closes the old daemon's connections in its own time; its subscriptions must not be
    // taken for those of the new one.
    if (!waitUntil([this] { return listening(client) == "0 0 0"; })) {
        throw std::runtime_error("the old daemon's subscriptions stay");
    }
    proxy.setPlan({});
    start();
    seed();
}

void FaultRoad::seed() {
    client.flushAll();
    storeCertificateCollection(client, COLLECTION);
    storeResource(client, CERTIFICATE,
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate","Name":"n"})");
    const std::string digest = client.command("SCRIPT", "LOAD", "return #KEYS").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "1000");
}
