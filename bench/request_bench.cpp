// Daemon and replay see the same database and the same files before every round, so each command of
// the replay finds what it found when it was captured. The exception is what the daemon draws anew:
// identifiers and entity tags, which are of the same length every time.

#include "bench/request_bench.h"

#include "bench/processors.h"
#include "bench/recorder.h"
#include "bench/replayer.h"
#include "bench/request_cases.h"
#include "bench/table.h"
#include "bench/timed_front_end.h"
#include "tests/support/certificates.h"
#include "tests/support/daemon_process.h"
#include "tests/support/empty_backend/example_values.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

const std::string BACKEND_DIRECTORY = "/var/lib/CertificateService";
const std::string BARE_DIRECTORY = "/var/lib/CertificateService/bare";
constexpr int WARM_UP_ROUNDS = 20;

using FileContents = std::map<std::string, std::string>;

// The files that the backend keeps in its folders.
FileContents backendFiles() {
    FileContents files;
    std::error_code isMissing; // a folder that is not there yet holds nothing
    for (const char* folder : {"installed", "requests"}) {
        const std::string path = BACKEND_DIRECTORY + "/" + folder;
        for (const auto& entry : fs::directory_iterator(path, isMissing)) {
            files[entry.path()] = readFile(entry.path());
        }
    }
    return files;
}

void restoreFiles(const FileContents& files) {
    for (const auto& [path, content] : backendFiles()) {
        if (files.count(path) == 0) {
            fs::remove(path);
        }
    }
    for (const auto& [path, content] : files) {
        writeFile(path, content);
    }
}

// The certificates of the measurement, and where their root lies.
struct Certificates {
    TempDirectory directory;
    std::string rootCaFile = directory.file("roots.pem");
    std::string first;  // certificate and private key
    std::string second; // the same for another key

    Certificates() {
        const TestCertificate authority = makeAuthority();
        CertificateOptions options;
        options.subject = {{"CN", "bmc.example"}, {"O", "Example Works"}, {"C", "US"}};
        options.extensions = {{"keyUsage", "critical,digitalSignature"},
                              {"extendedKeyUsage", "serverAuth"},
                              {"subjectAltName", "DNS:bmc.example"}};
        writeFile(rootCaFile, authority.certificate);
        const TestCertificate one = makeSigned(authority, options);
        const TestCertificate other = makeSigned(authority, options);
        first = one.privateKey + one.certificate;
        second = other.privateKey + other.certificate;
    }
};

struct State {
    Exchange database;
    FileContents files;
};

struct Measured {
    RequestCase request;
    double goal;
    Exchange records;
    ReplayScript script;
};

class RequestBench {
public:
    RequestBench(const RedisServer& redisServer, BackendChoice choice)
        : server(redisServer), backend(std::move(choice)), frontEnd(server.socketPath()) {
        fs::create_directories(BARE_DIRECTORY);
    }

    void run(int rounds) {
        capture();
        writeConnectionFiles(server);
        DaemonProcess daemon(daemonOptions());
        daemon.waitUntilReady(server);
        for (const Measured& measured : requests) {
            measure(measured, daemon.pid(), rounds);
        }
    }

private:
    const RedisServer& server;
    BackendChoice backend;
    TimedFrontEnd frontEnd;
    Certificates certificates;
    State empty;   // before a creation
    State created; // after it
    std::vector<Measured> requests;

    [[nodiscard]] bool isReference() const {
        return backend.libraryPath.empty();
    }

    [[nodiscard]] DaemonOptions daemonOptions() const {
        return {{{"LOG_FILE", "/var/log/CertificateService.log"},
                 {"ROOT_CA_FILE", certificates.rootCaFile}},
                backend.libraryPath,
                {}};
    }

    // Throws when the request has not been answered with the status that it should have.
    void checkStatus(const RequestCase& request) {
        const std::string status = frontEnd.statusField("&&ReturnStatus");
        if (status != request.status) {
            throw std::runtime_error("a " + request.name + " ends with status \"" + status + "\"");
        }
    }

    void prepare(const Measured& measured) {
        const State& state = measured.request.onInstalled ? created : empty;
        frontEnd.restore(state.database);
        frontEnd.add(measured.records);
        if (isReference()) {
            restoreFiles(state.files);
        }
    }

    // Has a daemon behind the recorder answer the request, and keeps its exchanges.
    void addRequest(RedisClient& client, const RequestCase& request, double goal,
                    const Recorder& recorder) {
        Measured measured = {request, goal, requestRecords(client, request.request), {}};
        prepare(measured);
        const auto earlier = recorder.connections();
        (void)frontEnd.request(channelName(request.request.kind));
        checkStatus(request);
        ReplayScript& script = measured.script;
        script.channel = "floor of a " + request.name;
        script.exchanges = recorder.since(earlier);
        script.freshConnection = recorder.connections().size() > earlier.size();
        if (isReference()) {
            script.bareCall = request.bareCall;
            script.bareInput = {request.bareCall == BareCall::REPLACE ? certificates.second
                                                                      : certificates.first,
                                certificates.rootCaFile, BARE_DIRECTORY};
        }
        requests.push_back(std::move(measured));
    }

    void capture() {
        TempDirectory directory;
        const Recorder recorder(directory.file("recorder.sock"), server.socketPath());
        writeFile("/var/run/redis.port", "0");
        writeFile("/var/run/redis.unixsocket", directory.file("recorder.sock"));
        DaemonProcess daemon(daemonOptions());
        daemon.waitUntilReady(server);

        RedisClient client(server);
        empty.database = frontEndRecords(client);
        const std::string example = exampleCertificateText();
        const RequestGoals& goals = backend.goals;
        addRequest(client, creationCase(isReference() ? certificates.first : example),
                   goals.creation, recorder);
        const std::string createdUri = frontEnd.statusField("&&Location");
        created = {databaseContent(client), isReference() ? backendFiles() : FileContents()};
        addRequest(client, deletionCase(createdUri), goals.deletion, recorder);
        addRequest(client,
                   replacementCase(createdUri, isReference() ? certificates.second : example),
                   goals.replacement, recorder);
        addRequest(client, signingRequestCase(), goals.signingRequest, recorder);
    }

    Cost daemonRound(const Measured& measured, pid_t daemon) {
        prepare(measured);
        const Cost cost = frontEnd.request(channelName(measured.request.request.kind), daemon);
        checkStatus(measured.request);
        return cost;
    }

    Cost floorRound(const Measured& measured, pid_t replayer) {
        prepare(measured);
        const std::string bareFile = BARE_DIRECTORY + "/" + BARE_CERTIFICATE_FILE;
        if (measured.request.onInstalled) {
            writeFile(bareFile, certificates.first);
        } else {
            fs::remove(bareFile);
        }
        const Cost cost = frontEnd.request(measured.script.channel, replayer);
        checkStatus(measured.request);
        return cost;
    }

    void measure(const Measured& measured, pid_t daemon, int rounds) {
        const ReplayerProcess replayer(server.socketPath(), measured.script);
        const auto compareOn = [&](Placement placement) {
            const auto ours = [&] { return daemonRound(measured, daemon); };
            const auto floor = [&] { return floorRound(measured, replayer.pid()); };
            place(placement, {daemon, replayer.pid()}, frontEnd.server());
            (void)compare(WARM_UP_ROUNDS, ours, floor);
            return compare(rounds, ours, floor);
        };
        const std::string what = measured.request.name + ", " + backend.name + " (" +
                                 std::to_string(measured.script.exchanges.size()) + " exchanges)";
        tellProgress(what);
        const Comparison one = compareOn(Placement::ONE_PROCESSOR);
        const std::string two =
            hasTwoProcessors() ? ratioText(compareOn(Placement::TWO_PROCESSORS).elapsed) : "";
        printRow({what, goalText(measured.goal), ratioText(one.processor), ratioText(one.elapsed),
                  two, verdictText(one.elapsed.ratio(), measured.goal)});
    }
};

} // namespace

void measureRequests(const RedisServer& server, const BackendChoice& backend, int rounds) {
    RequestBench(server, backend).run(rounds);
}
