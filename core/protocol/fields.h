#pragma once

// Fields of request records, return-status records and resources that clients never see, and the
// words with which stored resources mark their structured members.

inline constexpr char MARKER_PREFIX[] = "&&";
inline constexpr char OBJECT_MARKER[] = "&&Object";
inline constexpr char ARRAY_MARKER[] = "&&Array";
inline constexpr char OBJECT_REF_MARKER[] = "&&ObjectRef";

// Request records.
inline constexpr char RETURN_CHANNEL_FIELD[] = "&&ReturnChannel";
inline constexpr char REQUEST_DATA_FIELD[] = "&&RequestData";
inline constexpr char TARGET_URI_FIELD[] = "&&TargetURI";
inline constexpr char TASK_FIELD[] = "&&Task";

// Return-status records.
inline constexpr char RETURN_STATUS_FIELD[] = "&&ReturnStatus";
inline constexpr char EXTENDED_INFO_FIELD[] = "&&ExtendedInfo";
inline constexpr char LOCATION_FIELD[] = "&&Location";
inline constexpr char RESPONSE_DATA_FIELD[] = "&&ResponseData";
inline constexpr char RAW_JSON_FIELD[] = "&&RawJSON";

// The message of a return status.
inline constexpr char MESSAGE_ID_FIELD[] = "&&MessageId";
inline constexpr char MESSAGE_ARGS_FIELD[] = "&&MessageArgs";
inline constexpr char RELATED_PROPERTIES_FIELD[] = "&&RelatedProperties";

// Resources.
inline constexpr char BLOCK_CSR_GENERATION_FIELD[] = "&&BlockCSRGeneration";
inline constexpr char BLOCK_REPLACE_CERTIFICATE_FIELD[] = "&&BlockReplaceCertificate";
inline constexpr char CERT_PRIVATE_KEY_FIELD[] = "&&CertPrivateKey";
inline constexpr char CRUD_PREFIX_FIELD[] = "&&CRUDprefix";
inline constexpr char ALLOW_METHOD_FIELD[] = "&&AllowMethod";

// Service and actions.
inline constexpr char ASYNC_FIELD[] = "&&Async";
inline constexpr char HIDE_PAYLOAD[] = "HidePayload"; // value of ASYNC_FIELD
inline constexpr char POST_VALIDATION_FIELD[] = "&&POSTValidation";
inline constexpr char SENSITIVE_DATA_FIELD[] = "&&SensitiveData";
