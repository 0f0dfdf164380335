#pragma once

// The texts that the daemon shares with the web front end and between its own files: queue and
// channel names, request-record fields, Redfish property names, status words, message identifiers
// and fixed resource values. Every literal here is part of an interface.
//
// Names that begin with "&&" are records of the services; names without it are visible to clients
// of the Redfish service (DMTF DSP0266). Message identifiers name messages of the DMTF Base
// registry 1.9 and of the extended-error registry 1.2.

#include <array>
#include <string>
#include <utility>

// Defaults kept by the front end.
extern const std::string WEB_DEFAULT_VALUE;
extern const std::string REDIS_CONNECTION_DEFAULT_TIMEOUT;

// Status words of a return-status record.
extern const std::string STATUS_OK;
extern const std::string STATUS_OK_RES;
extern const std::string STATUS_OK_EMPTY;
extern const std::string STATUS_FAILURE;
extern const std::string STATUS_EXCEPTION;
extern const std::string STATUS_PROCESSING;
extern const std::string EMPTY_VALUE;

// Messages.
extern const std::string MESSAGE_ODATA_TYPE;
extern const std::string BASE_REGISTRY_PREFIX;
extern const std::string EXTENDED_ERROR_REGISTRY_PREFIX;
extern const std::string MSG_DATABASE_OPERATION_ERROR;
extern const std::string MSG_SERVICE_TEMPORARILY_UNAVAILABLE;
extern const std::string MSG_ACTION_NOT_SUPPORTED;
extern const std::string MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR;
extern const std::string MSG_RESOURCE_MISSING_AT_URI;
extern const std::string MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE;
extern const std::string MSG_NO_OPERATION;
extern const std::string MSG_PROPERTY_VALUE_FORMAT_ERROR;
extern const std::string MSG_PROPERTY_VALUE_NOT_IN_LIST;
extern const std::string MSG_BAD_REQUEST;
extern const std::string MSG_INTERNAL_ERROR;

// Fields of request records, return-status records and resources.
extern const std::string MARKER_PREFIX;
extern const std::string REQUEST_DATA_FIELD;
extern const std::string RETURN_STATUS_FIELD;
extern const std::string RETURN_CHANNEL_FIELD;
extern const std::string EXTENDED_INFO_FIELD;
extern const std::string MESSAGE_ID_FIELD;
extern const std::string MESSAGE_ARGS_FIELD;
extern const std::string RELATED_PROPERTIES_FIELD;
extern const std::string LOCATION_FIELD;
extern const std::string RESPONSE_DATA_FIELD;
extern const std::string TARGET_URI_FIELD;
extern const std::string OBJECT_REF_MARKER;
extern const std::string BLOCK_CSR_GENERATION_FIELD;
extern const std::string BLOCK_REPLACE_CERTIFICATE_FIELD;
extern const std::string RAW_JSON_FIELD;
extern const std::string CERT_PRIVATE_KEY_FIELD;
extern const std::string ASYNC_FIELD;
extern const std::string TASK_FIELD;
extern const std::string CRUD_PREFIX_FIELD;
extern const std::string POST_VALIDATION_FIELD;
extern const std::string ALLOW_METHOD_FIELD;
extern const std::string SENSITIVE_DATA_FIELD;
extern const std::string HIDE_PAYLOAD;

// Files.
extern const std::string CONFIG_FILE;
extern const std::string PRIVATE_KEY_TEMP_FILE; // key with which the front end encrypts secrets

// Redfish names and paths.
extern const std::string GENERATE_CSR_ACTION_NAME;
extern const std::string REPLACE_CERTIFICATE_ACTION_NAME;
extern const std::string ODATA_ID;
extern const std::string ODATA_TYPE;
extern const std::string MEMBERS_ODATA_COUNT;
extern const std::string ODATA_ETAG;
extern const std::string CERTIFICATE_TYPE_NAME;
extern const std::string CERTIFICATE_COLLECTION_TYPE_NAME;
extern const std::string CERTIFICATE_LOCATIONS_TYPE_NAME;
extern const std::string GENERATE_CSR_ACTION_KEY;
extern const std::string GENERATE_CSR_ACTION_URI;
extern const std::string REPLACE_CERTIFICATE_ACTION_URI;
extern const std::string CERTIFICATE_LOCATIONS_LINKS_KEY;
extern const std::string CERTIFICATE_COLLECTION_ODATA_TYPE;
extern const std::string CERTIFICATE_SERVICE_URI;
extern const std::string CERTIFICATE_LOCATIONS_URI;
extern const std::string CREATE_QUEUE;
extern const std::string DELETE_QUEUE;
extern const std::string ACTION_QUEUE;
extern const std::string CREATE_CHANNEL;
extern const std::string DELETE_CHANNEL;
extern const std::string ACTION_CHANNEL;
extern const std::string ID_PROPERTY;
extern const std::string NAME_PROPERTY;
extern const std::string DESCRIPTION_PROPERTY;
extern const std::string CERTIFICATE_DEFAULT_NAME;
extern const std::string CERTIFICATE_ODATA_TYPE;
extern const std::string CERTIFICATE_COLLECTION_KEY;
extern const std::string CERTIFICATE_ALLOWED_METHODS;
extern const std::string CERTIFICATE_DESCRIPTION;

// Properties of a certificate (Redfish Certificate schema 1.2.2).
extern const std::string CERTIFICATE_STRING;
extern const std::string CERTIFICATE_URI;
extern const std::string CERTIFICATE_TYPE;
extern const std::string VALID_NOT_BEFORE;
extern const std::string VALID_NOT_AFTER;
extern const std::string KEY_USAGE;
extern const std::string EMAIL;
extern const std::string SUBJECT;
extern const std::string ISSUER;
extern const std::string KEY_BIT_LENGTH;

// The stored "@odata.type" of a certificate of any schema version, as an ECMAScript regular
// expression. The dots are unescaped on purpose and match any character but a line end.
extern const std::string CERTIFICATE_ODATA_TYPE_PATTERN;

// One hash field that start-up writes.
struct ServiceInitRow {
    std::string key;
    std::string field;
    std::string value;
};

// What start-up writes for the front end, in this order.
extern const std::array<ServiceInitRow, 2> SERVICE_INIT_TABLE;

// (property, value) pairs that every created certificate resource gets, in this order.
extern const std::array<std::pair<std::string, std::string>, 5> CERTIFICATE_DEFAULTS;
