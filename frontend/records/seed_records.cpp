#include "frontend/records/seed_records.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/event_script.h"
#include "frontend/records/timestamps.h"
#include "store/markers.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

bool addField(redisContext* context, const std::string& key, const std::string& field,
              const std::string& text) {
    return runIntegerCommand(context, {"HSETNX", key, field, text}) == 1;
}

std::string nestedKey(const std::string& key, const std::string& name) {
    std::string nested = key + "/" + name;
    addMarkerPrefix(nested);
    return nested;
}

bool isReference(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains(ODATA_ID);
}

std::string referenceTarget(const json& value) {
    return value[ODATA_ID].get<std::string>();
}

bool seedList(redisContext* context, const std::string& key, const json& elements) {
    if (runIntegerCommand(context, {"EXISTS", key}) > 0) {
        return false;
    }
    for (const json& element : elements) {
        (void)runCommand(context, {"RPUSH", key, element.dump()});
    }
    return !elements.empty();
}

bool seedMember(redisContext* context, const std::string& key, const std::string& name,
                const json& value) {
    if (hasMarkerPrefix(name)) {
        return addField(context, key, name, value.get<std::string>());
    }
    if (!value.is_structured()) {
        return addField(context, key, name, value.dump());
    }
    if (isReference(value)) {
        return addField(context, key, referenceField(name, referenceTarget(value)), "");
    }
    const std::string nested = nestedKey(key, name);
    const std::string keyword = value.is_array() ? ARRAY_MARKER : OBJECT_MARKER;
    const bool isNew = addField(context, key, keyword + " " + name + " " + nested, "");
    const bool hasMore =
        value.is_array() ? seedList(context, nested, value) : seedResource(context, nested, value);
    return isNew || hasMore;
}

json certificateService() {
    return {{ODATA_ID, CERTIFICATE_SERVICE_URI},
            {ODATA_TYPE, "#CertificateService.v1_0_4.CertificateService"},
            {ID_PROPERTY, "CertificateService"},
            {NAME_PROPERTY, "Certificate Service"},
            {DESCRIPTION_PROPERTY, "Certificates of this manager and actions on them."},
            {"CertificateLocations", {{ODATA_ID, CERTIFICATE_LOCATIONS_URI}}},
            {"Actions",
             {{std::string("#") + GENERATE_CSR_ACTION_NAME, {{"target", GENERATE_CSR_ACTION_URI}}},
              {std::string("#") + REPLACE_CERTIFICATE_ACTION_NAME,
               {{"target", REPLACE_CERTIFICATE_ACTION_URI}}}}}};
}

json certificateLocations() {
    return {{ODATA_ID, CERTIFICATE_LOCATIONS_URI},
            {ODATA_TYPE, "#CertificateLocations.v1_0_2.CertificateLocations"},
            {ID_PROPERTY, "CertificateLocations"},
            {NAME_PROPERTY, "Certificate Locations"},
            {"Links", {{"Certificates", json::array()}}}};
}

json certificateCollection(const std::string& uri) {
    return {{ODATA_ID, uri},
            {ODATA_TYPE, CERTIFICATE_COLLECTION_ODATA_TYPE},
            {NAME_PROPERTY, "Certificate Collection"},
            {"Members", json::array()},
            {"@Redfish.SupportedCertificates", {"PEM", "PEMchain", "PKCS7"}}};
}

json eventService() {
    return {{ODATA_ID, EVENT_SERVICE_URI},
            {ODATA_TYPE, "#EventService.v1_7_0.EventService"},
            {ID_PROPERTY, "EventService"},
            {NAME_PROPERTY, "Event Service"},
            {"ServiceEnabled", true}};
}

json taskService() {
    return {{ODATA_ID, TASK_SERVICE_URI}, {ODATA_TYPE, "#TaskService.v1_2_0.TaskService"},
            {ID_PROPERTY, "TaskService"}, {NAME_PROPERTY, "Task Service"},
            {"ServiceEnabled", true},     {"Tasks", {{ODATA_ID, TASKS_URI}}}};
}

json taskCollection() {
    return {{ODATA_ID, TASKS_URI},
            {ODATA_TYPE, "#TaskCollection.TaskCollection"},
            {NAME_PROPERTY, "Task Collection"},
            {"Members", json::array()}};
}

bool seedCollection(redisContext* context, const std::string& uri, const json& collection) {
    const bool seeded = seedResource(context, uri, collection);
    const long long count = runIntegerCommand(context, {"LLEN", memberListKey(uri)});
    const bool counted = addField(context, uri, MEMBERS_ODATA_COUNT, std::to_string(count));
    const bool tagged = addField(context, uri, ODATA_ETAG, json(entityTag()).dump());
    return seeded || counted || tagged;
}

bool seedDefaultValues(redisContext* context) {
    const bool first = addField(context, WEB_DEFAULT_VALUE, MAX_EVENT_GROUP_ID, "1000000");
    const bool second =
        addField(context, WEB_DEFAULT_VALUE, REDIS_CONNECTION_DEFAULT_TIMEOUT, "5000");
    return first || second;
}

} // namespace

bool seedResource(redisContext* context, const std::string& key, const nlohmann::json& document) {
    bool added = false;
    for (const auto& [name, value] : document.items()) {
        added = seedMember(context, key, name, value) || added;
    }
    return added;
}

bool seedTaskService(redisContext* context) {
    const bool service = seedResource(context, TASK_SERVICE_URI, taskService());
    const bool collection = seedCollection(context, TASKS_URI, taskCollection());
    return service || collection;
}

std::vector<SeededRecord> seedRecords(redisContext* context,
                                      const std::vector<std::string>& collectionUris) {
    const bool service = seedResource(context, CERTIFICATE_SERVICE_URI, certificateService());
    const bool locations = seedResource(context, CERTIFICATE_LOCATIONS_URI, certificateLocations());
    const bool tag = addField(context, CERTIFICATE_LOCATIONS_URI, ODATA_ETAG, entityTag());
    std::vector<SeededRecord> records = {{CERTIFICATE_SERVICE_URI, service},
                                         {CERTIFICATE_LOCATIONS_URI, locations || tag}};
    for (const std::string& uri : collectionUris) {
        records.push_back({uri, seedCollection(context, uri, certificateCollection(uri))});
    }
    records.push_back(
        {EVENT_SERVICE_URI, seedResource(context, EVENT_SERVICE_URI, eventService())});
    records.push_back({"the event script", loadEventScript(context)});
    records.push_back({TASK_SERVICE_URI, seedTaskService(context)});
    records.push_back({"default values", seedDefaultValues(context)});
    return records;
}
