// Very many mixed requests to one daemon. Its resident memory and its open descriptors are printed
// on the way and must not grow once it is warm.
//
// usage: soak [COUNT]   (run by scripts/soak, inside a sandbox)
//
// Requests go round: creation, refused creation, deletion, signing request at once, signing request
// as a task, replacement, unknown action. What a round stores is removed before the next one, so
// that Redis stays as small as it was and the daemon is given the same work all along.

#include "tests/support/daemon_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

const std::string COLLECTION = "/redfish/v1/Managers/1/Certificates";
const std::string CERTIFICATE = COLLECTION + "/kept";
const std::string ACTIONS = "/redfish/v1/CertificateService/Actions/CertificateService.";
const std::string LINKS =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";
constexpr long DEFAULT_COUNT = 200000;
constexpr long KINDS = 7; // of requests in a round
constexpr long REPORTS = 10;
constexpr long ALLOWED_GROWTH_KIB = 2048;
constexpr double SETTLING_SECONDS = 5;

struct Usage {
    long residentKib = 0;
    long descriptors = 0;
};

Usage usageOf(int pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    std::ifstream file(process + "/statm");
    long total = 0;
    long resident = 0;
    if (!(file >> total >> resident)) {
        throw std::runtime_error("the daemon is gone");
    }
    const std::filesystem::directory_iterator entries(process + "/fd");
    return {resident * (sysconf(_SC_PAGESIZE) / 1024),
            static_cast<long>(std::distance(begin(entries), end(entries)))};
}

// The daemon closes a request's connection after it has answered: descriptors are counted when no
// more than so many are open, or after a while.
Usage usageAtRest(int pid, long descriptors) {
    Usage usage;
    (void)waitUntil(
        [&] {
            usage = usageOf(pid);
            return usage.descriptors <= descriptors;
        },
        SETTLING_SECONDS);
    return usage;
}

// The front end: keeps its connections, unlike one that serves a single test.
class FrontEnd {
public:
    explicit FrontEnd(const RedisServer& server)
        : mClient(server), mReplies(server), mTasks(server) {
        storeCertificateCollection(mClient, COLLECTION);
        storeResource(mClient, CERTIFICATE, R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
        const std::string digest = mClient.command("SCRIPT", "LOAD", "return #KEYS").text;
        mClient.command("HSET", "redisSHAScripts", "resourceChange", digest);
        mClient.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        mReplies.command("SUBSCRIBE", "answers/1");
        mTasks.command("SUBSCRIBE", "TASK_STATE_CHANGE");
    }

    // The request of this number in the round's order.
    void send(long number) {
        switch (number % KINDS) {
        case 0:
            return create();
        case 1:
            return expect(request(RequestKind::CREATE, COLLECTION, certificate("X509")), "FAILURE");
        case 2:
            return expect(request(RequestKind::REMOVE, CERTIFICATE, ""), "OK_EMPTY");
        case 3:
            return expect(signing(R"("KeyCurveId":"TPM_ECC_NIST_P256")"), "OK_RES");
        case 4:
            return runTask();
        case 5:
            return replace();
        default:
            return expect(request(RequestKind::ACTION, ACTIONS + "Unknown", "{}"), "FAILURE");
        }
    }

private:
    static FrontEndRequest request(RequestKind kind, const std::string& targetUri,
                                   const std::string& body) {
        FrontEndRequest made;
        made.kind = kind;
        made.targetUri = targetUri;
        made.body = body;
        made.fields = {{"&&Task", "/tasks/1"}};
        return made;
    }

    static std::string certificate(const std::string& type) {
        return R"({"CertificateString":"text","CertificateType":")" + type + R"("})";
    }

    static FrontEndRequest signing(const std::string& members) {
        return request(RequestKind::ACTION, ACTIONS + "GenerateCSR",
                       R"({"CertificateCollection":{"@odata.id":")" + COLLECTION + R"("},)" +
                           members + "}");
    }

    void expect(const FrontEndRequest& sent, const std::string& word) {
        storeRequest(mClient, sent);
        mClient.command("DEL", sent.statusKey);
        mClient.command("PUBLISH", channelName(sent.kind), requestMessage(sent));
        RedisAnswer reply;
        if (!mReplies.nextMessage(reply, ANSWER_LIMIT_SECONDS)) {
            throw std::runtime_error("no reply to a request that should give " + word);
        }
        const std::string seen = mClient.command("HGET", sent.statusKey, "&&ReturnStatus").text;
        if (seen != word) {
            throw std::runtime_error("status " + seen + " instead of " + word);
        }
    }

    void create() {
        const FrontEndRequest sent = request(RequestKind::CREATE, COLLECTION, certificate("PEM"));
        expect(sent, "OK");
        const std::string uri = mClient.command("HGET", sent.statusKey, "&&Location").text;
        mClient.command("DEL", uri, "&&" + uri + "/Issuer", "&&" + uri + "/Subject",
                        "&&" + uri + "/KeyUsage", "&&" + COLLECTION + "/Members", LINKS);
    }

    void runTask() {
        expect(signing(R"("KeyPairAlgorithm":"TPM_ALG_RSA")"), "PROCESSING");
        RedisAnswer state;
        do {
            if (!mTasks.nextMessage(state, ANSWER_LIMIT_SECONDS)) {
                throw std::runtime_error("a task does not end");
            }
        } while (state.texts().back().find(" Completed ") == std::string::npos);
    }

    void replace() {
        expect(request(RequestKind::ACTION, ACTIONS + "ReplaceCertificate",
                       R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                           R"("},"CertificateString":"text","CertificateType":"PEM"})"),
               "OK_RES");
    }

    RedisClient mClient;
    RedisClient mReplies;
    RedisClient mTasks;
};

void report(long requests, const Usage& usage) {
    (void)std::printf("%10ld  %10ld  %11ld\n", requests, usage.residentKib, usage.descriptors);
    (void)std::fflush(stdout);
}

// Whether the daemon stayed within its limits.
bool soak(long count) {
    const RedisServer server;
    writeConnectionFiles(server);
    FrontEnd frontEnd(server);
    DaemonProcess daemon({{{"LOG_FILE", "/dev/null"}}, EMPTY_BACKEND_DIRECTORY, {}});
    daemon.waitUntilReady(server);
    for (long number = 0; number < KINDS; ++number) {
        frontEnd.send(number); // afterwards every thread has its connections
    }
    const long idleDescriptors = usageOf(daemon.pid()).descriptors;
    (void)std::printf("%10s  %10s  %11s\n", "requests", "memory KiB", "descriptors");
    const long interval = std::max(count / REPORTS, 1L);
    Usage warm;
    bool steady = true;
    for (long done = 1; done <= count; ++done) {
        frontEnd.send(done - 1);
        if (done % interval != 0) {
            continue;
        }
        const Usage usage = usageAtRest(daemon.pid(), idleDescriptors);
        report(done, usage);
        if (done == interval) {
            warm = usage;
        }
        steady = steady && usage.residentKib <= warm.residentKib + ALLOWED_GROWTH_KIB &&
                 usage.descriptors <= idleDescriptors;
    }
    return steady;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const long count = argc > 1 ? std::stol(argv[1]) : DEFAULT_COUNT;
        if (soak(count)) {
            (void)std::puts("Memory and descriptors stayed where they were after warming up.");
            return EXIT_SUCCESS;
        }
        (void)std::fputs("soak: the daemon grew\n", stderr);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "soak: %s\n", failure.what());
    }
    return EXIT_FAILURE;
}
