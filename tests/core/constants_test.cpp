// Every shared text against a literal of the test's own: they are interfaces to the web front end,
// to Redfish clients and to the log's readers, so a change must be deliberate here as well.

#include "core/constants.h"

#include <gtest/gtest.h>

#include <regex>
#include <vector>

namespace {

struct Row {
    const char* name;
    const std::string& value;
    const char* literal;
};

const std::vector<Row> ROWS = {
    // Defaults of the front end.
    {"WEB_DEFAULT_VALUE", WEB_DEFAULT_VALUE, "webDefaultValue"},
    {"REDIS_CONNECTION_DEFAULT_TIMEOUT", REDIS_CONNECTION_DEFAULT_TIMEOUT,
     "REDIS_CONNECTION_DEFAULT_TIMEOUT"},
    // Status words and registries.
    {"STATUS_OK", STATUS_OK, "OK"},
    {"STATUS_OK_RES", STATUS_OK_RES, "OK_RES"},
    {"STATUS_OK_EMPTY", STATUS_OK_EMPTY, "OK_EMPTY"},
    {"STATUS_FAILURE", STATUS_FAILURE, "FAILURE"},
    {"STATUS_EXCEPTION", STATUS_EXCEPTION, "EXCEPTION"},
    {"STATUS_PROCESSING", STATUS_PROCESSING, "PROCESSING"},
    {"EMPTY_VALUE", EMPTY_VALUE, ""},
    {"MESSAGE_ODATA_TYPE", MESSAGE_ODATA_TYPE, "#Message.v1_1_2.Message"},
    {"BASE_REGISTRY_PREFIX", BASE_REGISTRY_PREFIX, "Base.1.9."},
    {"EXTENDED_ERROR_REGISTRY_PREFIX", EXTENDED_ERROR_REGISTRY_PREFIX, "ExtendedError.1.2."},
    // Messages.
    {"MSG_DATABASE_OPERATION_ERROR", MSG_DATABASE_OPERATION_ERROR,
     "ExtendedError.1.2.DatabaseOperationError"},
    {"MSG_SERVICE_TEMPORARILY_UNAVAILABLE", MSG_SERVICE_TEMPORARILY_UNAVAILABLE,
     "Base.1.9.ServiceTemporarilyUnavailable"},
    {"MSG_ACTION_NOT_SUPPORTED", MSG_ACTION_NOT_SUPPORTED, "Base.1.9.ActionNotSupported"},
    {"MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR", MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR,
     "Base.1.9.ActionParameterValueFormatError"},
    {"MSG_RESOURCE_MISSING_AT_URI", MSG_RESOURCE_MISSING_AT_URI, "Base.1.9.ResourceMissingAtURI"},
    {"MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE", MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE,
     "ExtendedError.1.2.ActionNotSupportedOnReference"},
    {"MSG_NO_OPERATION", MSG_NO_OPERATION, "Base.1.9.NoOperation"},
    {"MSG_PROPERTY_VALUE_FORMAT_ERROR", MSG_PROPERTY_VALUE_FORMAT_ERROR,
     "Base.1.9.PropertyValueFormatError"},
    {"MSG_PROPERTY_VALUE_NOT_IN_LIST", MSG_PROPERTY_VALUE_NOT_IN_LIST,
     "Base.1.9.PropertyValueNotInList"},
    {"MSG_BAD_REQUEST", MSG_BAD_REQUEST, "ExtendedError.1.2.BadRequest"},
    {"MSG_INTERNAL_ERROR", MSG_INTERNAL_ERROR, "Base.1.9.InternalError"},
    // Fields of records and resources.
    {"MARKER_PREFIX", MARKER_PREFIX, "&&"},
    {"REQUEST_DATA_FIELD", REQUEST_DATA_FIELD, "&&RequestData"},
    {"RETURN_STATUS_FIELD", RETURN_STATUS_FIELD, "&&ReturnStatus"},
    {"RETURN_CHANNEL_FIELD", RETURN_CHANNEL_FIELD, "&&ReturnChannel"},
    {"EXTENDED_INFO_FIELD", EXTENDED_INFO_FIELD, "&&ExtendedInfo"},
    {"MESSAGE_ID_FIELD", MESSAGE_ID_FIELD, "&&MessageId"},
    {"MESSAGE_ARGS_FIELD", MESSAGE_ARGS_FIELD, "&&MessageArgs"},
    {"RELATED_PROPERTIES_FIELD", RELATED_PROPERTIES_FIELD, "&&RelatedProperties"},
    {"LOCATION_FIELD", LOCATION_FIELD, "&&Location"},
    {"RESPONSE_DATA_FIELD", RESPONSE_DATA_FIELD, "&&ResponseData"},
    {"TARGET_URI_FIELD", TARGET_URI_FIELD, "&&TargetURI"},
    {"OBJECT_REF_MARKER", OBJECT_REF_MARKER, "&&ObjectRef"},
    {"BLOCK_CSR_GENERATION_FIELD", BLOCK_CSR_GENERATION_FIELD, "&&BlockCSRGeneration"},
    {"BLOCK_REPLACE_CERTIFICATE_FIELD", BLOCK_REPLACE_CERTIFICATE_FIELD,
     "&&BlockReplaceCertificate"},
    {"RAW_JSON_FIELD", RAW_JSON_FIELD, "&&RawJSON"},
    {"CERT_PRIVATE_KEY_FIELD", CERT_PRIVATE_KEY_FIELD, "&&CertPrivateKey"},
    {"ASYNC_FIELD", ASYNC_FIELD, "&&Async"},
    {"TASK_FIELD", TASK_FIELD, "&&Task"},
    {"CRUD_PREFIX_FIELD", CRUD_PREFIX_FIELD, "&&CRUDprefix"},
    {"POST_VALIDATION_FIELD", POST_VALIDATION_FIELD, "&&POSTValidation"},
    {"ALLOW_METHOD_FIELD", ALLOW_METHOD_FIELD, "&&AllowMethod"},
    {"SENSITIVE_DATA_FIELD", SENSITIVE_DATA_FIELD, "&&SensitiveData"},
    {"HIDE_PAYLOAD", HIDE_PAYLOAD, "HidePayload"},
    // Files.
    {"CONFIG_FILE", CONFIG_FILE, "/usr/local/etc/nginx/CertificateService.conf"},
    {"PRIVATE_KEY_TEMP_FILE", PRIVATE_KEY_TEMP_FILE, "/var/nginx/pkey.tmp"},
    // Redfish names and paths.
    {"GENERATE_CSR_ACTION_NAME", GENERATE_CSR_ACTION_NAME, "CertificateService.GenerateCSR"},
    {"REPLACE_CERTIFICATE_ACTION_NAME", REPLACE_CERTIFICATE_ACTION_NAME,
     "CertificateService.ReplaceCertificate"},
    {"ODATA_ID", ODATA_ID, "@odata.id"},
    {"ODATA_TYPE", ODATA_TYPE, "@odata.type"},
    {"MEMBERS_ODATA_COUNT", MEMBERS_ODATA_COUNT, "Members@odata.count"},
    {"ODATA_ETAG", ODATA_ETAG, "@odata.etag"},
    {"CERTIFICATE_TYPE_NAME", CERTIFICATE_TYPE_NAME, "Certificate"},
    {"CERTIFICATE_COLLECTION_TYPE_NAME", CERTIFICATE_COLLECTION_TYPE_NAME, "CertificateCollection"},
    {"CERTIFICATE_LOCATIONS_TYPE_NAME", CERTIFICATE_LOCATIONS_TYPE_NAME, "CertificateLocations"},
    {"GENERATE_CSR_ACTION_KEY", GENERATE_CSR_ACTION_KEY,
     "&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR"},
    {"GENERATE_CSR_ACTION_URI", GENERATE_CSR_ACTION_URI,
     "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR"},
    {"REPLACE_CERTIFICATE_ACTION_URI", REPLACE_CERTIFICATE_ACTION_URI,
     "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate"},
    {"CERTIFICATE_LOCATIONS_LINKS_KEY", CERTIFICATE_LOCATIONS_LINKS_KEY,
     "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates"},
    {"CERTIFICATE_COLLECTION_ODATA_TYPE", CERTIFICATE_COLLECTION_ODATA_TYPE,
     "#CertificateCollection.CertificateCollection"},
    {"CERTIFICATE_SERVICE_URI", CERTIFICATE_SERVICE_URI, "/redfish/v1/CertificateService"},
    {"CERTIFICATE_LOCATIONS_URI", CERTIFICATE_LOCATIONS_URI,
     "/redfish/v1/CertificateService/CertificateLocations"},
    {"CREATE_QUEUE", CREATE_QUEUE,
     "&&/redfish/v1/CertificateService/CertificateCollection/POSTCREATEQ"},
    {"DELETE_QUEUE", DELETE_QUEUE,
     "&&/redfish/v1/CertificateService/CertificateCollection/DELETEQ"},
    {"ACTION_QUEUE", ACTION_QUEUE, "&&/redfish/v1/CertificateService/POSTACTIONQ"},
    {"CREATE_CHANNEL", CREATE_CHANNEL, "&&/redfish/v1/CertificateService/CreateNewCertificate"},
    {"DELETE_CHANNEL", DELETE_CHANNEL, "&&/redfish/v1/CertificateService/DeleteCertificate"},
    {"ACTION_CHANNEL", ACTION_CHANNEL, "&&/redfish/v1/CertificateService/ACTION_CHANNEL"},
    {"ID_PROPERTY", ID_PROPERTY, "Id"},
    {"NAME_PROPERTY", NAME_PROPERTY, "Name"},
    {"DESCRIPTION_PROPERTY", DESCRIPTION_PROPERTY, "Description"},
    {"CERTIFICATE_DEFAULT_NAME", CERTIFICATE_DEFAULT_NAME, "HTTPS Certificate"},
    {"CERTIFICATE_ODATA_TYPE", CERTIFICATE_ODATA_TYPE, "#Certificate.v1_2_2.Certificate"},
    {"CERTIFICATE_COLLECTION_KEY", CERTIFICATE_COLLECTION_KEY,
     "&&/redfish/v1/CertificateService/CertificateCollection"},
    {"CERTIFICATE_ALLOWED_METHODS", CERTIFICATE_ALLOWED_METHODS, "GET,HEAD,DELETE"},
    {"CERTIFICATE_DESCRIPTION", CERTIFICATE_DESCRIPTION,
     "The resource describes a certificate used to prove the identify of a component, account, or "
     "service."},
    // Properties of a certificate.
    {"CERTIFICATE_STRING", CERTIFICATE_STRING, "CertificateString"},
    {"CERTIFICATE_URI", CERTIFICATE_URI, "CertificateUri"},
    {"CERTIFICATE_TYPE", CERTIFICATE_TYPE, "CertificateType"},
    {"VALID_NOT_BEFORE", VALID_NOT_BEFORE, "ValidNotBefore"},
    {"VALID_NOT_AFTER", VALID_NOT_AFTER, "ValidNotAfter"},
    {"KEY_USAGE", KEY_USAGE, "KeyUsage"},
    {"EMAIL", EMAIL, "Email"},
    {"SUBJECT", SUBJECT, "Subject"},
    {"ISSUER", ISSUER, "Issuer"},
    {"KEY_BIT_LENGTH", KEY_BIT_LENGTH, "KeyBitLength"},
    // The serialised type of a certificate of any version.
    {"CERTIFICATE_ODATA_TYPE_PATTERN", CERTIFICATE_ODATA_TYPE_PATTERN,
     "\"#Certificate.v\\d+_\\d+_\\d+.Certificate\""},
};

TEST(Constants, everyTextIsItsLiteral) {
    for (const Row& row : ROWS) {
        EXPECT_EQ(row.value, row.literal) << row.name;
    }
}

TEST(Constants, startUpWritesTwoServiceSettingsInThisOrder) {
    ASSERT_EQ(SERVICE_INIT_TABLE.size(), 2U);
    EXPECT_EQ(SERVICE_INIT_TABLE[0].key, "/redfish/v1/CertificateService");
    EXPECT_EQ(SERVICE_INIT_TABLE[0].field, "&&POSTValidation");
    EXPECT_EQ(SERVICE_INIT_TABLE[0].value, "v_CertificateService.json");
    EXPECT_EQ(SERVICE_INIT_TABLE[1].key, "/redfish/v1/CertificateService");
    EXPECT_EQ(SERVICE_INIT_TABLE[1].field, "&&SensitiveData");
    EXPECT_EQ(SERVICE_INIT_TABLE[1].value, "ChallengePassword");
}

TEST(Constants, certificatesGetFiveDefaultsInThisOrder) {
    using Pair = std::pair<std::string, std::string>;
    const std::vector<Pair> actual(CERTIFICATE_DEFAULTS.begin(), CERTIFICATE_DEFAULTS.end());
    const std::vector<Pair> expected = {
        {"Name", "HTTPS Certificate"},
        {"@odata.type", "#Certificate.v1_2_2.Certificate"},
        {"&&AllowMethod", "GET,HEAD,DELETE"},
        {"Description", "The resource describes a certificate used to prove the identify of a "
                        "component, account, or service."},
        {"&&CRUDprefix", "&&/redfish/v1/CertificateService/CertificateCollection"},
    };
    EXPECT_EQ(actual, expected);
}

TEST(Constants, certificateTypePatternTakesEverySchemaVersion) {
    const std::regex pattern(CERTIFICATE_ODATA_TYPE_PATTERN);
    for (const char* accepted :
         {"\"#Certificate.v1_2_2.Certificate\"", "\"#Certificate.v10_20_345.Certificate\"",
          "\"#Certificate-v1_0_0-Certificate\""}) {
        EXPECT_TRUE(std::regex_match(accepted, pattern)) << accepted;
    }
    for (const char* rejected :
         {"#Certificate.v1_2_2.Certificate", "\"#Certificate.v1_2.Certificate\"",
          "\"#CertificateCollection.CertificateCollection\"", "\"#Certificate.v1_2_.Certificate\"",
          "\"#Certificate.v1_2_2.Certificate \"", "\"#Certificate\nv1_2_2.Certificate\"", ""}) {
        EXPECT_FALSE(std::regex_match(rejected, pattern)) << rejected;
    }
}

} // namespace
