// Both collections lie under the same URI, each in a database of its own; between two rounds the
// databases change places, and the daemon does not see the difference.

#include "bench/growth_bench.h"

#include "bench/measurement.h"
#include "bench/request_cases.h"
#include "bench/timed_front_end.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "tests/support/daemon_process.h"
#include "tests/support/empty_backend/example_values.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

namespace {

constexpr int SMALL_COLLECTION = 10;
constexpr double LARGEST_RATIO = 1.05;

class GrowthBench {
public:
    explicit GrowthBench(const RedisServer& server)
        : client(server), frontEnd(server.socketPath()) {
        const FrontEndRequest request = creationCase(exampleCertificateText()).request;
        channel = channelName(request.kind);
        requestContent = requestRecords(client, request);
        (void)frontEndRecords(client);
        swap();
        (void)frontEndRecords(client);
    }

    // Changes the places of the two databases.
    void swap() {
        client.command("SWAPDB", "0", "1");
    }

    double create() {
        frontEnd.add(requestContent);
        return frontEnd.request(channel);
    }

    // Takes the newest certificate away again.
    void removeNewest() {
        const std::string uri = frontEnd.statusField("&&Location");
        client.command("LPOP", members);
        client.command("LPOP", CERTIFICATE_LOCATIONS_LINKS_KEY);
        client.command("DEL", uri, "&&" + uri + "/Issuer", "&&" + uri + "/Subject",
                       "&&" + uri + "/KeyUsage", FrontEndRequest().statusKey);
    }

    double createAndRemove() {
        const double seconds = create();
        removeNewest();
        return seconds;
    }

    double createInOther() {
        swap();
        const double seconds = createAndRemove();
        swap();
        return seconds;
    }

    [[nodiscard]] long long size() {
        return client.command("LLEN", members).integer;
    }

private:
    RedisClient client;
    TimedFrontEnd frontEnd;
    std::string channel;
    Exchange requestContent;
    const std::string members = memberListKey(COLLECTION_URI);
};

} // namespace

void measureGrowth(const RedisServer& server, const std::string& backendPath, int certificates,
                   int rounds) {
    tellProgress(std::to_string(certificates) + " creations in one collection");
    writeConnectionFiles(server);
    GrowthBench bench(server);
    DaemonProcess daemon({{{"LOG_FILE", "/var/log/CertificateService.log"}}, backendPath, {}});
    daemon.waitUntilReady(server);
    for (int i = 0; i < SMALL_COLLECTION; ++i) {
        (void)bench.create();
    }
    bench.swap();
    for (int i = 0; i < certificates; ++i) {
        (void)bench.create();
    }
    const SideBySide costs = measureSideBySide(
        rounds, [&] { return bench.createAndRemove(); }, [&] { return bench.createInOther(); });
    printRow(ratioRow("creation after " + std::to_string(bench.size()) +
                          " in the collection, against after " + std::to_string(SMALL_COLLECTION),
                      costs, LARGEST_RATIO));
}
