// Both collections lie under the same URI, each in a database of its own; between two rounds the
// databases change places, and the daemon does not see the difference.

#include "bench/growth_bench.h"

#include "bench/processors.h"
#include "bench/request_cases.h"
#include "bench/table.h"
#include "bench/timed_front_end.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "tests/support/daemon_process.h"
#include "tests/support/empty_backend/example_values.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

namespace {

constexpr int SMALL_COLLECTION = 10;
constexpr double GOAL = 1.03;

class GrowthBench {
public:
    GrowthBench(const RedisServer& server, const DaemonOptions& options)
        : client(server), frontEnd(server.socketPath()), daemon(options) {
        daemon.waitUntilReady(server);
        place(Placement::ONE_PROCESSOR, {daemon.pid()}, frontEnd.server());
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

    Cost create() {
        frontEnd.add(requestContent);
        return frontEnd.request(channel, daemon.pid());
    }

    // Takes the newest certificate away again.
    void removeNewest() {
        const std::string uri = frontEnd.statusField("&&Location");
        client.command("LPOP", members);
        client.command("LPOP", CERTIFICATE_LOCATIONS_LINKS_KEY);
        client.command("DEL", uri, "&&" + uri + "/Issuer", "&&" + uri + "/Subject",
                       "&&" + uri + "/KeyUsage", FrontEndRequest().statusKey);
    }

    Cost createAndRemove() {
        const Cost cost = create();
        removeNewest();
        return cost;
    }

    Cost createInOther() {
        swap();
        const Cost cost = createAndRemove();
        swap();
        return cost;
    }

    [[nodiscard]] long long size() {
        return client.command("LLEN", members).integer;
    }

private:
    RedisClient client;
    TimedFrontEnd frontEnd;
    DaemonProcess daemon;
    std::string channel;
    Exchange requestContent;
    const std::string members = memberListKey(COLLECTION_URI);
};

} // namespace

void measureGrowth(const RedisServer& server, const std::string& backendPath, int certificates,
                   int rounds) {
    tellProgress(std::to_string(certificates) + " creations in one collection");
    writeConnectionFiles(server);
    GrowthBench bench(server, {{{"LOG_FILE", "/var/log/CertificateService.log"}}, backendPath, {}});
    for (int i = 0; i < SMALL_COLLECTION; ++i) {
        (void)bench.create();
    }
    bench.swap();
    for (int i = 0; i < certificates; ++i) {
        (void)bench.create();
    }
    const Comparison costs = compare(
        rounds, [&] { return bench.createAndRemove(); }, [&] { return bench.createInOther(); });
    printRow({"creation after " + std::to_string(bench.size()) + " others, against after " +
                  std::to_string(SMALL_COLLECTION),
              goalText(GOAL), ratioText(costs.processor), ratioText(costs.elapsed), "",
              verdictText(costs.elapsed.ratio(), GOAL)});
}
