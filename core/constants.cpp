#include "core/constants.h"

// The order matters: later texts are built from earlier ones.

// Defaults kept by the front end.
const std::string WEB_DEFAULT_VALUE = "webDefaultValue";
const std::string REDIS_CONNECTION_DEFAULT_TIMEOUT = "REDIS_CONNECTION_DEFAULT_TIMEOUT";

// Status words of a return-status record.
const std::string STATUS_OK = "OK";
const std::string STATUS_OK_RES = "OK_RES";
const std::string STATUS_OK_EMPTY = "OK_EMPTY";
const std::string STATUS_FAILURE = "FAILURE";
const std::string STATUS_EXCEPTION = "EXCEPTION";
const std::string STATUS_PROCESSING = "PROCESSING";
const std::string EMPTY_VALUE;

// Messages.
const std::string MESSAGE_ODATA_TYPE = "#Message.v1_1_2.Message";
const std::string BASE_REGISTRY_PREFIX = "Base.1.9.";
const std::string EXTENDED_ERROR_REGISTRY_PREFIX = "ExtendedError.1.2.";
const std::string MSG_DATABASE_OPERATION_ERROR =
    EXTENDED_ERROR_REGISTRY_PREFIX + "DatabaseOperationError";
const std::string MSG_SERVICE_TEMPORARILY_UNAVAILABLE =
    BASE_REGISTRY_PREFIX + "ServiceTemporarilyUnavailable";
const std::string MSG_ACTION_NOT_SUPPORTED = BASE_REGISTRY_PREFIX + "ActionNotSupported";
const std::string MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR =
    BASE_REGISTRY_PREFIX + "ActionParameterValueFormatError";
const std::string MSG_RESOURCE_MISSING_AT_URI = BASE_REGISTRY_PREFIX + "ResourceMissingAtURI";
const std::string MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE =
    EXTENDED_ERROR_REGISTRY_PREFIX + "ActionNotSupportedOnReference";
const std::string MSG_NO_OPERATION = BASE_REGISTRY_PREFIX + "NoOperation";
const std::string MSG_PROPERTY_VALUE_FORMAT_ERROR =
    BASE_REGISTRY_PREFIX + "PropertyValueFormatError";
const std::string MSG_PROPERTY_VALUE_NOT_IN_LIST = BASE_REGISTRY_PREFIX + "PropertyValueNotInList";
const std::string MSG_BAD_REQUEST = EXTENDED_ERROR_REGISTRY_PREFIX + "BadRequest";
const std::string MSG_INTERNAL_ERROR = BASE_REGISTRY_PREFIX + "InternalError";

// Fields of request records, return-status records and resources.
const std::string MARKER_PREFIX = "&&";
const std::string REQUEST_DATA_FIELD = "&&RequestData";
const std::string RETURN_STATUS_FIELD = "&&ReturnStatus";
const std::string RETURN_CHANNEL_FIELD = "&&ReturnChannel";
const std::string EXTENDED_INFO_FIELD = "&&ExtendedInfo";
const std::string MESSAGE_ID_FIELD = "&&MessageId";
const std::string MESSAGE_ARGS_FIELD = "&&MessageArgs";
const std::string RELATED_PROPERTIES_FIELD = "&&RelatedProperties";
const std::string LOCATION_FIELD = "&&Location";
const std::string RESPONSE_DATA_FIELD = "&&ResponseData";
const std::string TARGET_URI_FIELD = "&&TargetURI";
const std::string OBJECT_REF_MARKER = "&&ObjectRef";
const std::string BLOCK_CSR_GENERATION_FIELD = "&&BlockCSRGeneration";
const std::string BLOCK_REPLACE_CERTIFICATE_FIELD = "&&BlockReplaceCertificate";
const std::string RAW_JSON_FIELD = "&&RawJSON";
const std::string CERT_PRIVATE_KEY_FIELD = "&&CertPrivateKey";
const std::string ASYNC_FIELD = "&&Async";
const std::string TASK_FIELD = "&&Task";
const std::string CRUD_PREFIX_FIELD = "&&CRUDprefix";
const std::string POST_VALIDATION_FIELD = "&&POSTValidation";
const std::string ALLOW_METHOD_FIELD = "&&AllowMethod";
const std::string SENSITIVE_DATA_FIELD = "&&SensitiveData";
const std::string HIDE_PAYLOAD = "HidePayload";

// Files.
const std::string CONFIG_FILE = "/usr/local/etc/nginx/CertificateService.conf";
const std::string PRIVATE_KEY_TEMP_FILE = "/var/nginx/pkey.tmp";

// Redfish names and paths.
const std::string GENERATE_CSR_ACTION_NAME = "CertificateService.GenerateCSR";
const std::string REPLACE_CERTIFICATE_ACTION_NAME = "CertificateService.ReplaceCertificate";
const std::string ODATA_ID = "@odata.id";
const std::string ODATA_TYPE = "@odata.type";
const std::string MEMBERS_ODATA_COUNT = "Members@odata.count";
const std::string ODATA_ETAG = "@odata.etag";
const std::string CERTIFICATE_TYPE_NAME = "Certificate";
const std::string CERTIFICATE_COLLECTION_TYPE_NAME = "CertificateCollection";
const std::string CERTIFICATE_LOCATIONS_TYPE_NAME = "CertificateLocations";
const std::string GENERATE_CSR_ACTION_KEY =
    "&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR";
const std::string GENERATE_CSR_ACTION_URI =
    "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
const std::string REPLACE_CERTIFICATE_ACTION_URI =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";
const std::string CERTIFICATE_LOCATIONS_LINKS_KEY =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";
const std::string CERTIFICATE_COLLECTION_ODATA_TYPE =
    "#CertificateCollection.CertificateCollection";
const std::string CERTIFICATE_SERVICE_URI = "/redfish/v1/CertificateService";
const std::string CERTIFICATE_LOCATIONS_URI = "/redfish/v1/CertificateService/CertificateLocations";
const std::string CREATE_QUEUE =
    "&&/redfish/v1/CertificateService/CertificateCollection/POSTCREATEQ";
const std::string DELETE_QUEUE = "&&/redfish/v1/CertificateService/CertificateCollection/DELETEQ";
const std::string ACTION_QUEUE = "&&/redfish/v1/CertificateService/POSTACTIONQ";
const std::string CREATE_CHANNEL = "&&/redfish/v1/CertificateService/CreateNewCertificate";
const std::string DELETE_CHANNEL = "&&/redfish/v1/CertificateService/DeleteCertificate";
const std::string ACTION_CHANNEL = "&&/redfish/v1/CertificateService/ACTION_CHANNEL";
const std::string ID_PROPERTY = "Id";
const std::string NAME_PROPERTY = "Name";
const std::string DESCRIPTION_PROPERTY = "Description";
const std::string CERTIFICATE_DEFAULT_NAME = "HTTPS Certificate";
const std::string CERTIFICATE_ODATA_TYPE = "#Certificate.v1_2_2.Certificate";
const std::string CERTIFICATE_COLLECTION_KEY =
    "&&/redfish/v1/CertificateService/CertificateCollection";
const std::string CERTIFICATE_ALLOWED_METHODS = "GET,HEAD,DELETE";
const std::string CERTIFICATE_DESCRIPTION = "The resource describes a certificate used to prove "
                                            "the identify of a component, account, or service.";

// Properties of a certificate (Redfish Certificate schema 1.2.2).
const std::string CERTIFICATE_STRING = "CertificateString";
const std::string CERTIFICATE_URI = "CertificateUri";
const std::string CERTIFICATE_TYPE = "CertificateType";
const std::string VALID_NOT_BEFORE = "ValidNotBefore";
const std::string VALID_NOT_AFTER = "ValidNotAfter";
const std::string KEY_USAGE = "KeyUsage";
const std::string EMAIL = "Email";
const std::string SUBJECT = "Subject";
const std::string ISSUER = "Issuer";
const std::string KEY_BIT_LENGTH = "KeyBitLength";

const std::string CERTIFICATE_ODATA_TYPE_PATTERN = R"("#Certificate.v\d+_\d+_\d+.Certificate")";

const std::array<ServiceInitRow, 2> SERVICE_INIT_TABLE = {{
    {CERTIFICATE_SERVICE_URI, POST_VALIDATION_FIELD, "v_CertificateService.json"},
    {CERTIFICATE_SERVICE_URI, SENSITIVE_DATA_FIELD, "ChallengePassword"},
}};

const std::array<std::pair<std::string, std::string>, 5> CERTIFICATE_DEFAULTS = {{
    {NAME_PROPERTY, CERTIFICATE_DEFAULT_NAME},
    {ODATA_TYPE, CERTIFICATE_ODATA_TYPE},
    {ALLOW_METHOD_FIELD, CERTIFICATE_ALLOWED_METHODS},
    {DESCRIPTION_PROPERTY, CERTIFICATE_DESCRIPTION},
    {CRUD_PREFIX_FIELD, CERTIFICATE_COLLECTION_KEY},
}};
