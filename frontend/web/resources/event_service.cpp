#include "frontend/web/resources/event_service.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/web/service/web_service.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using nlohmann::json;

constexpr const char* STREAM_URI = "/redfish/v1/EventService/SSE";
constexpr const char* SUBSCRIPTIONS_URI = "/redfish/v1/EventService/Subscriptions";

json availability() {
    return {{"State", "Enabled"}, {"Health", "OK"}};
}

// What the service is, whether or not Redis holds a resource of it.
json serviceBasis() {
    return {{ODATA_ID, EVENT_SERVICE_URI},
            {ODATA_TYPE, "#EventService.v1_7_0.EventService"},
            {ID_PROPERTY, "EventService"},
            {NAME_PROPERTY, "Event Service"},
            {"ServiceEnabled", true}};
}

// What this front end does for the service.
json serviceAbilities() {
    return {{"Status", availability()},
            {"Actions", json::object()}, // none; there are client libraries that insist on it
            {"ServerSentEventUri", STREAM_URI},
            {"Subscriptions", {{ODATA_ID, SUBSCRIPTIONS_URI}}},
            {"EventFormatTypes", {"Event"}},
            {"RegistryPrefixes", {"ResourceEvent"}},
            {"ResourceTypes", {"Certificate", "CertificateCollection", "CertificateLocations"}},
            {"IncludeOriginOfConditionSupported", false},
            {"SubordinateResourcesSupported", false},
            {"SSEFilterPropertiesSupported",
             {{"EventFormatType", false},
              {"MessageId", false},
              {"MetricReportDefinition", false},
              {"OriginResource", false},
              {"RegistryPrefix", false},
              {"ResourceType", false}}}};
}

Answer getService(WebService& service, const Call& /*call*/) {
    const BorrowedSession session(service.redis);
    json document = serviceBasis();
    const json stored = clientView(readDocument(session.get(), EVENT_SERVICE_URI));
    if (stored.is_object()) {
        document.update(stored);
    }
    document.update(serviceAbilities());
    return {.document = std::move(document)};
}

std::string subscriptionUri(const EventStream& stream) {
    return std::string(SUBSCRIPTIONS_URI) + "/" + stream.id;
}

Answer getSubscriptions(WebService& service, const Call& /*call*/) {
    json members = json::array();
    for (const EventStream& stream : service.streams.list()) {
        members.push_back({{ODATA_ID, subscriptionUri(stream)}});
    }
    return {.document = {{ODATA_ID, SUBSCRIPTIONS_URI},
                         {ODATA_TYPE, "#EventDestinationCollection.EventDestinationCollection"},
                         {NAME_PROPERTY, "Event Subscriptions Collection"},
                         {MEMBERS_ODATA_COUNT, members.size()},
                         {"Members", std::move(members)}}};
}

// The client as a URI: an IPv6 address stands in brackets (RFC 3986, 3.2.2).
std::string destinationOf(const EventStream& stream) {
    const std::string& address = stream.client.address;
    const bool isSixed = address.find(':') != std::string::npos;
    return "https://" + (isSixed ? "[" + address + "]" : address);
}

Answer getSubscription(WebService& service, const Call& call) {
    const std::vector<EventStream> streams = service.streams.list();
    const auto stream = std::find_if(streams.begin(), streams.end(), [&call](const auto& each) {
        return each.id == call.names.front();
    });
    if (stream == streams.end()) {
        throw notFound(call.uri);
    }
    return {.document = {{ODATA_ID, subscriptionUri(*stream)},
                         {ODATA_TYPE, "#EventDestination.v1_10_0.EventDestination"},
                         {ID_PROPERTY, stream->id},
                         {NAME_PROPERTY, "Event Stream " + stream->id},
                         {DESCRIPTION_PROPERTY, "An open stream of Server-Sent Events."},
                         {"Context", ""},
                         {"Destination", destinationOf(*stream)},
                         {"EventFormatType", "Event"},
                         {"Protocol", "Redfish"},
                         {"Status", availability()},
                         {"SubscriptionType", "SSE"}}};
}

Answer deleteSubscription(WebService& service, const Call& call) {
    if (!service.streams.close(call.names.front())) {
        throw notFound(call.uri);
    }
    return {.status = 204, .document = nullptr};
}

Answer openStream(WebService& service, const Call& call) {
    return {.document = nullptr,
            .contentType = "text/event-stream",
            .stream = service.streams.streamFor({call.request.peer, call.sessionId})};
}

} // namespace

Routes eventRoutes() {
    const std::string subscription = std::string(SUBSCRIPTIONS_URI) + "/{}";
    return {{EVENT_SERVICE_URI, "GET", getService},
            {STREAM_URI, "GET", openStream},
            {SUBSCRIPTIONS_URI, "GET", getSubscriptions},
            {subscription, "GET", getSubscription},
            {subscription, "DELETE", deleteSubscription}};
}
