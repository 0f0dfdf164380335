#include "bench/request_cases.h"

#include "bench/timed_front_end.h"
#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/protocol/status_words.h"

namespace {

// A text as a front end stores it: in quotes, with its line ends as they are. None of these holds a
// quote or a backslash.
std::string stored(const std::string& text) {
    return "\"" + text + "\"";
}

std::string reference(const std::string& name, const std::string& uri) {
    return OBJECT_REF_MARKER + " " + name + " " + uri;
}

Command requestRecord(const std::string& targetUri) {
    return {"HSET",           REQUEST_KEY,        RETURN_CHANNEL_FIELD,
            RETURN_CHANNEL,   REQUEST_DATA_FIELD, BODY_KEY,
            TARGET_URI_FIELD, targetUri};
}

} // namespace

Commands frontEndRecords(const std::string& eventScriptDigest) {
    const std::string collection = COLLECTION_URI;
    const std::string types = MARKER_PREFIX + collection + "/@Redfish.SupportedCertificates";
    const std::string links = MARKER_PREFIX + CERTIFICATE_LOCATIONS_URI + "/Links";
    return {
        {"HSET", WEB_DEFAULT_VALUE, "MAX_EVENT_GROUP_ID", "1000000",
         REDIS_CONNECTION_DEFAULT_TIMEOUT, "5000"},
        {"HSET", "/redfish/v1/EventService", "&&EVENT_GROUP_ID_COUNTER", "7"},
        {"HSET", "redisSHAScripts", "resourceChange", eventScriptDigest},
        {"HSET", CERTIFICATE_LOCATIONS_URI, ODATA_ID, stored(CERTIFICATE_LOCATIONS_URI),
         "&&Object Links " + links, ""},
        {"HSET", links, "&&Array Certificates " + links + "/Certificates", ""},
        {"HSET", collection, ODATA_ID, stored(collection), ODATA_TYPE,
         stored(CERTIFICATE_COLLECTION_ODATA_TYPE), MEMBERS_ODATA_COUNT, "0",
         "&&Array Members " + std::string(MEMBERS_KEY), "",
         "&&Array @Redfish.SupportedCertificates " + types, ""},
        {"RPUSH", types, stored("PEM"), stored("PEMchain"), stored("PKCS7")},
    };
}

RequestCase creationCase(const std::string& certificateText) {
    return {"creation",
            RequestKind::CREATE,
            STATUS_OK,
            {requestRecord(COLLECTION_URI),
             {"HSET", BODY_KEY, CERTIFICATE_STRING, stored(certificateText), CERTIFICATE_TYPE,
              stored("PEM")}},
            BareCall::CREATE,
            false};
}

RequestCase deletionCase(const std::string& certificateUri) {
    return {"deletion",       RequestKind::REMOVE,
            STATUS_OK_EMPTY,  {requestRecord(certificateUri)},
            BareCall::REMOVE, true};
}

RequestCase replacementCase(const std::string& certificateUri, const std::string& certificateText) {
    return {"replacement",
            RequestKind::ACTION,
            STATUS_OK_RES,
            {requestRecord(REPLACE_CERTIFICATE_ACTION_URI),
             {"HSET", BODY_KEY, CERTIFICATE_STRING, stored(certificateText), CERTIFICATE_TYPE,
              stored("PEM"), reference(CERTIFICATE_URI, certificateUri), ""}},
            BareCall::REPLACE,
            true};
}

RequestCase signingRequestCase() {
    Command record = requestRecord(GENERATE_CSR_ACTION_URI);
    record.insert(record.end(), {TASK_FIELD, "/redfish/v1/TaskService/Tasks/1"});
    const std::string names = MARKER_PREFIX + std::string(BODY_KEY) + "/AlternativeNames";
    return {"synchronous signing request",
            RequestKind::ACTION,
            STATUS_OK_RES,
            {record,
             {"HSET", BODY_KEY, "CommonName", stored("bmc.example"), "Organization",
              stored("Example Works"), "Country", stored("US"), "KeyPairAlgorithm",
              stored("TPM_ALG_ECDSA"), "KeyCurveId", stored("TPM_ECC_NIST_P256"),
              reference("CertificateCollection", COLLECTION_URI), "",
              "&&Array AlternativeNames " + names, ""},
             {"RPUSH", names, stored("bmc.example")}},
            BareCall::SIGNING_REQUEST,
            false};
}
