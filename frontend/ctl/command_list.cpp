// Lists certificates with the days that are left to them, for a person or for monitoring.

#include "core/protocol/redfish_names.h"
#include "frontend/ctl/certificate_words.h"
#include "frontend/ctl/collection_hint.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/table.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_records.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <optional>
#include <string_view>
#include <tuple>

namespace {

using nlohmann::json;

constexpr long long SOON_DAYS = 30; // shown as a warning from then on

struct ListOptions {
    std::string collectionUri; // empty: all
    std::optional<double> expiringDays;
};

struct ListedCertificate {
    std::string uri;
    std::string subject;
    std::string issuer;
    std::optional<std::time_t> expiry;
    std::string expires;    // the same as the resource shows it; when it is known
    long long daysLeft = 0; // when it is known
};

std::vector<std::string> membersOf(redisContext* session, const std::string& collectionUri) {
    const json collection = readDocument(session, collectionUri);
    if (!collection.is_object() || !collection.contains("Members")) {
        throw noCollection(collectionUri);
    }
    std::vector<std::string> uris;
    for (const json& member : collection["Members"]) {
        if (member.is_object() && member.contains(ODATA_ID)) {
            uris.push_back(member[ODATA_ID].get<std::string>());
        }
    }
    return uris;
}

// By collection, and in it 9 before 10.
bool comesBefore(const std::string& one, const std::string& other) {
    const auto order = [](const std::string& uri) {
        const std::size_t end = uri.rfind('/') + 1;
        return std::make_tuple(std::string_view(uri).substr(0, end), uri.size(),
                               std::string_view(uri).substr(end));
    };
    return order(one) < order(other);
}

ListedCertificate readListed(redisContext* session, const std::string& uri, std::time_t now) {
    const json resource = clientView(readDocument(session, uri));
    ListedCertificate listed;
    listed.uri = uri;
    listed.subject = nameText(resource, SUBJECT);
    listed.issuer = nameText(resource, ISSUER);
    listed.expiry = expiryOf(resource);
    if (listed.expiry) {
        listed.expires = resource[VALID_NOT_AFTER].get<std::string>();
        listed.daysLeft = daysBetween(now, *listed.expiry);
    }
    return listed;
}

// An expiry that cannot be told is not taken for a good one.
bool isExpiring(const ListedCertificate& listed, std::time_t now, double days) {
    constexpr double DAY_SECONDS = 86400.0;
    return !listed.expiry || std::difftime(*listed.expiry, now) <= days * DAY_SECONDS;
}

std::vector<ListedCertificate> readAll(const ListOptions& options) {
    const RedisConnection session = openRedisSession();
    std::vector<std::string> uris = options.collectionUri.empty()
                                        ? listCertificateRecords(session.get(), {})
                                        : membersOf(session.get(), options.collectionUri);
    std::sort(uris.begin(), uris.end(), comesBefore);
    const std::time_t now = std::time(nullptr);
    std::vector<ListedCertificate> all;
    for (const std::string& uri : uris) {
        ListedCertificate listed = readListed(session.get(), uri, now);
        if (!options.expiringDays || isExpiring(listed, now, *options.expiringDays)) {
            all.push_back(std::move(listed));
        }
    }
    return all;
}

json documentOf(const ListedCertificate& listed) {
    return {{"uri", listed.uri},
            {"subject", listed.subject},
            {"issuer", listed.issuer},
            {"expires", listed.expiry ? json(listed.expires) : json(nullptr)},
            {"daysLeft", listed.expiry ? json(listed.daysLeft) : json(nullptr)}};
}

Colour colourOf(const ListedCertificate& listed) {
    if (!listed.expiry || listed.daysLeft < 0) {
        return Colour::BAD;
    }
    return listed.daysLeft < SOON_DAYS ? Colour::WARNING : Colour::NONE;
}

std::string daysText(const ListedCertificate& listed) {
    if (!listed.expiry) {
        return "unknown";
    }
    return listed.daysLeft < 0 ? "expired" : std::to_string(listed.daysLeft);
}

TableRow rowOf(const ListedCertificate& listed) {
    constexpr std::size_t DATE_LENGTH = 10;
    const std::string date = listed.expiry ? listed.expires.substr(0, DATE_LENGTH) : "unknown";
    return {{listed.uri, listed.subject, listed.issuer, date, daysText(listed)}, colourOf(listed)};
}

void print(const std::vector<ListedCertificate>& all, bool asJson) {
    if (asJson) {
        json documents = json::array();
        std::transform(all.begin(), all.end(), std::back_inserter(documents), documentOf);
        printJson(documents);
        return;
    }
    if (all.empty()) {
        printLine("There is no such certificate.");
        return;
    }
    std::vector<TableRow> rows = {
        {{"CERTIFICATE", "SUBJECT", "ISSUER", "EXPIRES", "DAYS LEFT"}, Colour::SOFT}};
    std::transform(all.begin(), all.end(), std::back_inserter(rows), rowOf);
    printTable(rows);
}

void runList(const CommonOptions& common, const ListOptions& options) {
    const std::vector<ListedCertificate> all = readAll(options);
    print(all, common.json);
    if (options.expiringDays && !all.empty()) {
        throw CertificatesExpire();
    }
}

} // namespace

void addList(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* command = app.add_subcommand(
        "list", "List the certificates with subject, issuer, expiry and the days left.");
    command
        ->add_option("COLLECTION", options->collectionUri,
                     "only this collection (default: all that the service knows)")
        ->type_name("")
        ->transform(uriCheck());
    command
        ->add_option("--expiring", options->expiringDays,
                     "only those that expire within so many days or have expired")
        ->type_name("DAYS")
        ->check(daysCheck());
    command->footer(
        "With --expiring the exit status is 6 when there is such a certificate; one whose "
        "expiry cannot be read is counted among them.\n"
        "\nExamples:\n"
        "  certificatectl list --expiring 30\n"
        "  certificatectl list \\\n"
        "      /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates\n");
    chooseWhenNamed(*command, chosen, options, runList);
}
