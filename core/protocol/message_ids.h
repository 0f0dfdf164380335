#pragma once

// Identifiers of the messages that the service answers with: a registry's prefix and the name of a
// message in the DMTF Base registry 1.9 or in the extended-error registry 1.2.

#define BASE_REGISTRY "Base.1.9."
#define EXTENDED_ERROR_REGISTRY "ExtendedError.1.2."

inline constexpr char BASE_REGISTRY_PREFIX[] = BASE_REGISTRY;
inline constexpr char EXTENDED_ERROR_REGISTRY_PREFIX[] = EXTENDED_ERROR_REGISTRY;

inline constexpr char MSG_SERVICE_TEMPORARILY_UNAVAILABLE[] =
    BASE_REGISTRY "ServiceTemporarilyUnavailable";
inline constexpr char MSG_ACTION_NOT_SUPPORTED[] = BASE_REGISTRY "ActionNotSupported";
inline constexpr char MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR[] =
    BASE_REGISTRY "ActionParameterValueFormatError";
inline constexpr char MSG_RESOURCE_MISSING_AT_URI[] = BASE_REGISTRY "ResourceMissingAtURI";
inline constexpr char MSG_NO_OPERATION[] = BASE_REGISTRY "NoOperation";
inline constexpr char MSG_PROPERTY_VALUE_FORMAT_ERROR[] = BASE_REGISTRY "PropertyValueFormatError";
inline constexpr char MSG_PROPERTY_VALUE_NOT_IN_LIST[] = BASE_REGISTRY "PropertyValueNotInList";
inline constexpr char MSG_INTERNAL_ERROR[] = BASE_REGISTRY "InternalError";

inline constexpr char MSG_DATABASE_OPERATION_ERROR[] =
    EXTENDED_ERROR_REGISTRY "DatabaseOperationError";
inline constexpr char MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE[] =
    EXTENDED_ERROR_REGISTRY "ActionNotSupportedOnReference";
inline constexpr char MSG_BAD_REQUEST[] = EXTENDED_ERROR_REGISTRY "BadRequest";

#undef BASE_REGISTRY
#undef EXTENDED_ERROR_REGISTRY

// The type of a message in an error body (Redfish Message schema 1.1.2).
inline constexpr char MESSAGE_ODATA_TYPE[] = "#Message.v1_1_2.Message";
