// Each schema stands as one text: properties with their forms, "!" before those that are required.
//
//   text number flag date link object    JSON types; a date has a zone; a link holds "@odata.id"
//   {Name}                               an object of that other schema
//   form[]                               an array of that form
//   form?                                that, or null

#include "tests/web/redfish_schema.h"

#include "platform/x509/dates.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

namespace {

using nlohmann::json;
using Faults = std::vector<std::string>;

const char* const RESOURCE = "!@odata.id:text !@odata.type:text @odata.etag:text !Name:text "
                             "Description:text? Oem:object ";
const char* const COLLECTION = "!Members:link[] !Members@odata.count:number ";
const char* const NO_COLLECTION = "!Id:text ";

// Of a schema's own properties; resources have those above as well.
const std::map<std::string, std::string> RESOURCES = {
    {"ActionInfo.v1_1_2.ActionInfo", "Parameters:{Parameter}[]"},
    {"Certificate.v1_11_0.Certificate",
     "CertificateString:text? CertificateType:text? CertificateUsageTypes:text[] Fingerprint:text "
     "FingerprintHashAlgorithm:text Issuer:{Identifier} KeyUsage:text[] SerialNumber:text "
     "SignatureAlgorithm:text Status:{Status} Subject:{Identifier} UefiSignatureOwner:text? "
     "ValidNotAfter:date ValidNotBefore:date"},
    {"CertificateLocations.v1_0_2.CertificateLocations", "Links:{CertificateLinks}"},
    {"CertificateService.v1_0_4.CertificateService",
     "Actions:{CertificateActions} CertificateLocations:link"},
    {"EventDestination.v1_10_0.EventDestination",
     "!Destination:text? !Context:text? !Protocol:text EventFormatType:text? EventTypes:text[] "
     "SubscriptionType:text? Status:{Status} DeliveryRetryPolicy:text?"},
    {"EventService.v1_7_0.EventService",
     "Actions:object DeliveryRetryAttempts:number DeliveryRetryIntervalSeconds:number "
     "EventFormatTypes:text[] "
     "EventTypesForSubscription:text[] IncludeOriginOfConditionSupported:flag? "
     "RegistryPrefixes:text[] ResourceTypes:text[] SSEFilterPropertiesSupported:object "
     "ServerSentEventUri:text ServiceEnabled:flag? Status:{Status} "
     "SubordinateResourcesSupported:flag? Subscriptions:link"},
    {"Manager.v1_11_0.Manager", "ManagerType:text NetworkProtocol:link "
                                "ServiceEntryPointUUID:text? Status:{Status}"},
    {"ManagerNetworkProtocol.v1_6_1.ManagerNetworkProtocol",
     "HTTP:{Protocol} HTTPS:{HttpsProtocol} Status:{Status}"},
    {"ServiceRoot.v1_9_0.ServiceRoot",
     "CertificateService:link EventService:link !Links:{RootLinks} Managers:link "
     "ProtocolFeaturesSupported:{ProtocolFeatures} RedfishVersion:text SessionService:link "
     "Tasks:link UUID:text?"},
    {"Session.v1_4_0.Session", "ClientOriginIPAddress:text? CreatedTime:date Password:text? "
                               "SessionType:text? UserName:text?"},
    {"SessionService.v1_1_8.SessionService",
     "ServiceEnabled:flag? SessionTimeout:number Sessions:link Status:{Status}"},
    {"Task.v1_4_3.Task",
     "EndTime:date HidePayload:flag Messages:{Message}[] PercentComplete:number? StartTime:date "
     "TaskMonitor:text TaskState:text TaskStatus:text"},
    {"TaskService.v1_2_0.TaskService",
     "CompletedTaskOverWritePolicy:text DateTime:date? LifeCycleEventOnTaskStateChange:flag "
     "ServiceEnabled:flag? Status:{Status} TaskAutoDeleteTimeoutMinutes:number Tasks:link"},
};
const std::map<std::string, std::string> COLLECTIONS = {
    {"CertificateCollection.CertificateCollection", "@Redfish.SupportedCertificates:text[]"},
    {"EventDestinationCollection.EventDestinationCollection", ""},
    {"ManagerCollection.ManagerCollection", ""},
    {"SessionCollection.SessionCollection", ""},
    {"TaskCollection.TaskCollection", ""},
};

// Parts of resources.
const std::map<std::string, std::string> PARTS = {
    {"Action", "target:text title:text @Redfish.ActionInfo:text"},
    {"CertificateActions", "#CertificateService.GenerateCSR:{Action} "
                           "#CertificateService.ReplaceCertificate:{Action} Oem:object"},
    {"CertificateLinks", "Certificates:link[] Certificates@odata.count:number Oem:object"},
    {"Condition", "LogEntry:link Message:text !MessageArgs:text[] !MessageId:text "
                  "OriginOfCondition:link Resolution:text !Severity:text !Timestamp:date"},
    {"DeepOperations", "DeepPATCH:flag DeepPOST:flag MaxLevels:number"},
    {"ExpandQuery", "ExpandAll:flag Levels:flag Links:flag MaxLevels:number NoLinks:flag"},
    {"HttpsProtocol", "Certificates:link Port:number? ProtocolEnabled:flag?"},
    {"Identifier",
     "AdditionalCommonNames:text[] AdditionalOrganizationalUnits:text[] AlternativeNames:text[] "
     "City:text CommonName:text Country:text DisplayString:text? DomainComponents:text[] "
     "Email:text? Organization:text OrganizationalUnit:text State:text"},
    {"Message", "@odata.type:text Message:text MessageArgs:text[] !MessageId:text "
                "MessageSeverity:text RelatedProperties:text[] Resolution:text Severity:text"},
    {"Parameter", "AllowableNumbers:text[] AllowableValueDescriptions:text[] "
                  "AllowableValues:text[] ArraySizeMaximum:number? ArraySizeMinimum:number? "
                  "DataType:text? MaximumValue:number? MinimumValue:number? !Name:text "
                  "ObjectDataType:text? Required:flag"},
    {"Protocol", "Port:number? ProtocolEnabled:flag?"},
    {"ProtocolFeatures",
     "DeepOperations:{DeepOperations} ExcerptQuery:flag ExpandQuery:{ExpandQuery} "
     "FilterQuery:flag MultipleHTTPRequests:flag OnlyMemberQuery:flag SelectQuery:flag"},
    {"RootLinks", "!Sessions:link Oem:object"},
    {"Status", "Conditions:{Condition}[] Health:text? HealthRollup:text? State:text?"},
};

// The properties of a schema; empty when it is not in the tables.
std::string propertiesOf(const std::string& schema) {
    if (const auto part = PARTS.find(schema); part != PARTS.end()) {
        return part->second;
    }
    if (const auto resource = RESOURCES.find(schema); resource != RESOURCES.end()) {
        return std::string(RESOURCE) + NO_COLLECTION + resource->second;
    }
    const auto collection = COLLECTIONS.find(schema);
    return collection == COLLECTIONS.end()
               ? std::string()
               : std::string(RESOURCE) + COLLECTION + collection->second;
}

bool hasForm(const json& value, const std::string& form) {
    if (form == "text") {
        return value.is_string();
    }
    if (form == "number") {
        return value.is_number();
    }
    if (form == "flag") {
        return value.is_boolean();
    }
    if (form == "date") {
        return value.is_string() && isoMoment(value.get<std::string>()).has_value();
    }
    if (form == "link") {
        return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
               value["@odata.id"].is_string();
    }
    return form == "object" && value.is_object();
}

Faults faultsOf(const json& document, const std::string& schema, const std::string& place);

Faults valueFaults(const json& value, std::string form, const std::string& place) {
    if (form.ends_with('?')) {
        form.pop_back();
        return value.is_null() ? Faults() : valueFaults(value, form, place);
    }
    if (form.ends_with("[]")) {
        Faults faults = value.is_array() ? Faults() : Faults{place + ": no array"};
        for (std::size_t i = 0; value.is_array() && i < value.size(); ++i) {
            const Faults some = valueFaults(value[i], form.substr(0, form.size() - 2),
                                            place + "[" + std::to_string(i) + "]");
            faults.insert(faults.end(), some.begin(), some.end());
        }
        return faults;
    }
    if (form.starts_with('{')) {
        return faultsOf(value, form.substr(1, form.size() - 2), place + ".");
    }
    return hasForm(value, form) ? Faults() : Faults{place + ": no " + form};
}

Faults faultsOf(const json& document, const std::string& schema, const std::string& place) {
    const std::string text = propertiesOf(schema);
    if (text.empty() || !document.is_object()) {
        return {place + (text.empty() ? ": no schema " + schema : ": no object")};
    }
    Faults faults;
    std::set<std::string> known;
    std::istringstream properties(text);
    for (std::string entry; properties >> entry;) {
        const bool isRequired = entry.starts_with('!');
        const std::size_t colon = entry.find(':');
        const std::string name = entry.substr(isRequired ? 1 : 0, colon - (isRequired ? 1 : 0));
        known.insert(name);
        if (!document.contains(name)) {
            if (isRequired) {
                faults.push_back(place + name + ": missing");
            }
            continue;
        }
        const Faults some = valueFaults(document[name], entry.substr(colon + 1), place + name);
        faults.insert(faults.end(), some.begin(), some.end());
    }
    for (const auto& [name, value] : document.items()) {
        if (known.count(name) == 0) {
            faults.push_back(place + name + ": unknown");
        }
    }
    return faults;
}

void addLinks(const json& value, bool isTop, std::set<std::string>& links) {
    if (!value.is_structured()) {
        return;
    }
    for (const auto& [name, member] : value.items()) {
        const bool isLink =
            value.is_object() && (name == "@Redfish.ActionInfo" || name == "@odata.id");
        if (isLink && !isTop) {
            links.insert(member.get<std::string>());
        }
        addLinks(member, false, links);
    }
}

} // namespace

std::vector<std::string> schemaFaults(const nlohmann::json& document) {
    const std::string type = document.is_object() ? document.value("@odata.type", "") : "";
    return faultsOf(document, type.empty() ? type : type.substr(1), "");
}

std::vector<std::string> linksOf(const nlohmann::json& document) {
    std::set<std::string> links;
    addLinks(document, true, links);
    return {links.begin(), links.end()};
}
