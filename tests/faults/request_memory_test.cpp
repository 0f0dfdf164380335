// What requests leave in the daemon's memory: no block that they took, and in no block that they
// gave back a challenge password or a private key.
//
// This program counts the blocks of operator new and the replies of the connection, and looks
// through every block before it goes back to the heap. Its certificate backend is the one that says
// yes at once and keeps nothing.

#include "actions/certificate_action.h"
#include "actions/csr_worker.h"
#include "actions/pending_csr.h"
#include "platform/data_decryption/encrypt.h"
#include "requests/create_certificate.h"
#include "requests/delete_certificate.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/temp_files.h"

#include <dlfcn.h>
#include <hiredis/hiredis.h>
#include <malloc.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <ostream>
#include <set>

namespace {

constexpr char SECRET[] = "Open, s3same of the board, and nobody else's";
const std::string ACTIONS = "/redfish/v1/CertificateService/Actions/CertificateService.";
const std::string CERTIFICATE = COLLECTION + "/1a";
const std::string SOCKET = "/run/redis.sock";
const std::string KEY_FILE = "/var/nginx/pkey.tmp";

std::atomic<long> gBlocks = 0;
std::atomic<bool> gWatching = false;
std::atomic<int> gTraces = 0;
std::set<const void*> gReplies;      // of the connection, not freed yet
redisReplyObjectFunctions gMakers{}; // hiredis's own

// Whether the block holds the middle of the secret: a cleared text has lost its first character
// only, and that is not to pass for wiped.
void giveBack(void* block) {
    if (block == nullptr) {
        return;
    }
    --gBlocks;
    if (gWatching && memmem(block, malloc_usable_size(block), SECRET + 8, 16) != nullptr) {
        ++gTraces;
    }
    std::free(block);
}

} // namespace

void* operator new(std::size_t size) {
    // Zeros: what others left there, the test's own Redis client for one, is no trace.
    void* block = std::calloc(1, size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++gBlocks;
    return block;
}

void operator delete(void* block) noexcept {
    giveBack(block);
}

void operator delete(void* block, std::size_t) noexcept {
    giveBack(block);
}

extern "C" void freeReplyObject(void* reply) {
    using Function = void (*)(void*);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): dlsym's own interface
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "freeReplyObject"));
    gReplies.erase(reply);
    real(reply);
}

namespace {

// The function that makes a reply of one kind, with a note of the reply in front of it. Elements of
// an array go with it and are not noted.
template <auto MEMBER>
auto noting = [](const redisReadTask* task, auto... content) {
    void* reply = (gMakers.*MEMBER)(task, content...);
    if (task->parent == nullptr) {
        gReplies.insert(reply);
    }
    return reply;
};

FrontEndRequest action(const std::string& name, const std::string& body) {
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = ACTIONS + name;
    request.body = body;
    request.fields = {{"&&Task", "/tasks/1"}};
    return request;
}

// A certificate text that holds a private key.
const std::string KEY_MEMBER = std::string(R"(,"CertificateString":")") + SECRET + "\"";

FrontEndRequest signing(const std::string& members) {
    return action("GenerateCSR", R"({"CertificateCollection":{"@odata.id":")" + COLLECTION +
                                     R"("},"ChallengePassword":"PASSWORD",)" + members + "}");
}

FrontEndRequest creation(const std::string& type, const std::string& otherMembers) {
    FrontEndRequest request = creationRequest();
    request.body = R"({"CertificateType":)" + type + otherMembers + "}";
    return request;
}

FrontEndRequest replacement(const std::string& uri, const std::string& type) {
    return action("ReplaceCertificate",
                  R"({"CertificateUri":{"@odata.id":")" + uri + R"("},"Extra":")" + SECRET +
                      R"(","CertificateType":")" + type + "\"" + KEY_MEMBER + "}");
}

FrontEndRequest withoutBody(FrontEndRequest request) {
    request.body.clear();
    return request;
}

struct Row {
    const char* name;
    FrontEndRequest request;
    const char* outcome;

    friend void PrintTo(const Row& row, std::ostream* out) {
        *out << row.name;
    }
};

const Row ROWS[] = {
    {"Creation", creation(R"("PEM")", KEY_MEMBER), "OK"},
    {"RefusedCreation", creation(R"("X")", KEY_MEMBER), "FAILURE"},
    {"CreationWithoutBody", withoutBody(creationRequest()), "EXCEPTION"},
    {"Deletion", deletionRequest(CERTIFICATE), "OK_EMPTY"},
    {"SigningRequest", signing(R"("KeyCurveId":"TPM_ECC_NIST_P256")"), "OK_RES"},
    {"Task", signing(R"("KeyBitLength":2048)"), "PROCESSING"},
    {"Replacement", replacement(CERTIFICATE, "PEM"), "OK_RES"},
    {"ReplacementOfNothing", replacement("/c/1", "PEM"), "FAILURE"},
    {"RefusedReplacement", replacement(CERTIFICATE, "X"), "FAILURE"},
    {"UnknownAction", action("Unknown", "{}"), "FAILURE"},
};

class RequestMemory : public RequestFixture, public testing::WithParamInterface<Row> {
protected:
    RequestMemory() {
        gMakers = *connection->reader->fn;
        static redisReplyObjectFunctions makers = gMakers;
        makers.createString = noting<&redisReplyObjectFunctions::createString>;
        makers.createArray = noting<&redisReplyObjectFunctions::createArray>;
        makers.createInteger = noting<&redisReplyObjectFunctions::createInteger>;
        makers.createNil = noting<&redisReplyObjectFunctions::createNil>;
        connection->reader->fn = &makers;
        // The worker's road to the server, which is looked for once only in a process.
        writeFile("/var/run/redis.port", "0");
        writeFile("/var/run/redis.unixsocket", SOCKET);
        std::filesystem::remove(SOCKET);
        std::filesystem::create_symlink(server.socketPath(), SOCKET);
        writeFile(KEY_FILE, std::string(32, 'k'));
        loadEventScript();
    }

    ~RequestMemory() override {
        redisFree(connection);
    }

    // Stored afresh for every round: what a round leaves in Redis is not to change the next one.
    void store(FrontEndRequest request) {
        storeCertificateCollection(client, COLLECTION);
        storeResource(client, CERTIFICATE, R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
        const auto password = request.body.find("PASSWORD");
        if (password != std::string::npos) {
            request.body.replace(password, 8, encryptHexString(SECRET, KEY_FILE));
        }
        storeRequest(client, request);
    }

    void handle(const FrontEndRequest& request) {
        pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
        if (request.kind == RequestKind::ACTION) {
            (void)handleCertificateAction(connection, request.requestKey, request.statusKey);
            runTasks();
        } else {
            const auto handler = request.kind == RequestKind::CREATE ? handleCreateCertificate
                                                                     : handleDeleteCertificate;
            (void)handler(connection, request.requestKey, request.statusKey, &lock);
        }
    }

    // The worker ends behind what is queued now, since it finds the null entry three times.
    static void runTasks() {
        pthread_t worker{};
        pushPendingCSR(nullptr);
        ASSERT_EQ(pthread_create(&worker, nullptr, asyncCSRWorker, nullptr), 0);
        ASSERT_EQ(pthread_join(worker, nullptr), 0);
        pendingCSRQueue.entries.clear();
    }

    redisContext* connection = redisConnectUnix(server.socketPath().c_str());
};

TEST_P(RequestMemory, IsGivenBackWithoutASecret) {
    constexpr int ROUNDS = 20; // the first ones fill what is filled once
    long left = 0;
    gTraces = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        store(GetParam().request);
        const long before = gBlocks;
        gWatching = true;
        handle(GetParam().request);
        gWatching = false;
        left = round < ROUNDS / 2 ? 0 : left + gBlocks - before;
    }
    EXPECT_EQ(client.hash(GetParam().request.statusKey)["&&ReturnStatus"], GetParam().outcome);
    EXPECT_EQ(left, 0) << "blocks in " << ROUNDS / 2 << " rounds";
    EXPECT_EQ(gTraces, 0);
    EXPECT_EQ(gReplies.size(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Of, RequestMemory, testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.name; });

// Without it the rows above would prove nothing.
TEST(RequestMemoryWatch, SeesATextThatIsNotWiped) {
    const int before = gTraces;
    const long blocks = gBlocks;
    gWatching = true;
    auto* text = new std::string(SECRET);
    EXPECT_EQ(gBlocks, blocks + 2);
    delete text;
    gWatching = false;
    EXPECT_EQ(gTraces, before + 1);
}

} // namespace
