#pragma once

// Records in Redis that this service shares with others: defaults of the front end, the event
// service's script and counter, and what start-up leaves for the front end.

#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"

#include <array>

// Defaults kept by the front end, fields of one hash.
inline constexpr char WEB_DEFAULT_VALUE[] = "webDefaultValue";
inline constexpr char REDIS_CONNECTION_DEFAULT_TIMEOUT[] =
    "REDIS_CONNECTION_DEFAULT_TIMEOUT";                            // milliseconds
inline constexpr char MAX_EVENT_GROUP_ID[] = "MAX_EVENT_GROUP_ID"; // positive

// The digest of the script that raises resource events.
inline constexpr char SCRIPT_DIGESTS_KEY[] = "redisSHAScripts";
inline constexpr char RESOURCE_CHANGE_FIELD[] = "resourceChange";

// The counter of event groups, a field of EVENT_SERVICE_URI.
inline constexpr char EVENT_GROUP_COUNTER_FIELD[] = "&&EVENT_GROUP_ID_COUNTER";

// One hash field that start-up writes.
struct ServiceInitRow {
    const char* key;
    const char* field;
    const char* value;
};

// What start-up writes for the front end, in this order.
inline constexpr std::array<ServiceInitRow, 2> SERVICE_INIT_TABLE = {{
    {CERTIFICATE_SERVICE_URI, POST_VALIDATION_FIELD, "v_CertificateService.json"},
    {CERTIFICATE_SERVICE_URI, SENSITIVE_DATA_FIELD, CHALLENGE_PASSWORD},
}};
