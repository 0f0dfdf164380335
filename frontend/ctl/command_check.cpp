// Compares what the reference backend has installed with the certificates in Redis, both ways.

#include "frontend/ctl/backend_directory.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/certificate_records.h"
#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/installed_certificates.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

namespace {

// A creation that is under way is installed a moment before it is stored.
constexpr std::chrono::seconds MOMENT(1);

struct CheckOptions {
    bool repair = false;
};

using Uris = std::vector<std::string>; // sorted

struct Differences {
    Uris onlyInstalled; // URIs, or names of files whose URI does not stand in them
    Uris onlyStored;

    [[nodiscard]] bool none() const {
        return onlyInstalled.empty() && onlyStored.empty();
    }
};

Differences lookOnce(redisContext* session) {
    Uris installed;
    Uris stored;
    {
        const LockedDirectory directory = openBackendDirectory();
        installed = listInstalled(directory);
        // A name of a file instead of a URI is known by the URI that gives it.
        stored = listCertificateRecords(session, installed);
        for (std::string& resource : installed) {
            const auto known = std::find_if(stored.begin(), stored.end(), [&](const auto& uri) {
                return installedFile("", uri).ends_with("/" + resource);
            });
            resource = known == stored.end() ? resource : *known;
        }
    }
    std::sort(installed.begin(), installed.end());
    Differences found;
    std::copy_if(installed.begin(), installed.end(), std::back_inserter(found.onlyInstalled),
                 [&](const std::string& uri) { return !isCertificateStored(session, uri); });
    std::set_difference(stored.begin(), stored.end(), installed.begin(), installed.end(),
                        std::back_inserter(found.onlyStored));
    return found;
}

Uris inBoth(const Uris& one, const Uris& other) {
    Uris both;
    std::set_intersection(one.begin(), one.end(), other.begin(), other.end(),
                          std::back_inserter(both));
    return both;
}

// What differs now and a moment later.
Differences findDifferences(redisContext* session) {
    Differences first = lookOnce(session);
    if (first.none()) {
        return first;
    }
    std::this_thread::sleep_for(MOMENT);
    const Differences second = lookOnce(session);
    return {inBoth(first.onlyInstalled, second.onlyInstalled),
            inBoth(first.onlyStored, second.onlyStored)};
}

// False when the records cannot be written.
bool restore(redisContext* session, const std::string& uri) {
    const LockedDirectory directory = openBackendDirectory();
    const std::optional<CertificateBlocks> installed = loadInstalled(directory, uri);
    if (!installed) {
        return false;
    }
    const bool isChain = installed->certificates.size() > 1;
    const std::string key =
        installed->privateKey ? installedFile(directory.path(), uri) : std::string();
    return restoreCertificateRecords(
        session, uri,
        {certificateText(installed->certificates, CertificateType::CHAIN),
         isChain ? "PEMchain" : "PEM", key});
}

// What could not be mended.
Differences mend(redisContext* session, const Differences& found) {
    Differences left;
    for (const std::string& uri : found.onlyInstalled) {
        if (!uri.starts_with('/') || !restore(session, uri)) {
            left.onlyInstalled.push_back(uri);
        }
    }
    for (const std::string& uri : found.onlyStored) {
        removeCertificateRecords(session, uri);
    }
    return left;
}

void printDifferences(const Differences& found, bool json) {
    if (json) {
        printJson({{"onlyInstalled", found.onlyInstalled}, {"onlyInRedis", found.onlyStored}});
        return;
    }
    for (const std::string& uri : found.onlyInstalled) {
        printLine("Only installed  " + uri, Colour::BAD);
    }
    for (const std::string& uri : found.onlyStored) {
        printLine("Only in Redis   " + uri, Colour::BAD);
    }
    if (found.none()) {
        printLine("Directory and Redis agree.", Colour::GOOD);
    }
}

void runCheck(const CommonOptions& common, const CheckOptions& options) {
    const RedisConnection session = openRedisSession();
    const Differences found = findDifferences(session.get());
    printDifferences(found, common.json);
    if (found.none()) {
        return;
    }
    if (!options.repair) {
        throw LeftDifferent();
    }
    const Differences left = mend(session.get(), found);
    for (const std::string& uri : left.onlyInstalled) {
        printNote("Not mended: " + uri + " has no collection in Redis.", Colour::BAD);
    }
    if (!left.none()) {
        throw LeftDifferent();
    }
}

} // namespace

void addCheck(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* command =
        app.add_subcommand("check", "Compare what is installed with the certificates in Redis.");
    command->add_flag("--repair", options->repair,
                      "store what is only installed, and remove what is only in Redis");
    command->footer(
        "Without --repair nothing is touched; the exit status is 1 when they differ. The "
        "reference backend's directory on this machine is looked at.\n"
        "\nExample:\n"
        "  certificatectl check --repair\n");
    chooseWhenNamed(*command, chosen, options, runCheck);
}
