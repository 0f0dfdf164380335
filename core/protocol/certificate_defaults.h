#pragma once

// What every certificate resource that the service creates has, whatever the client sent.

#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"

#include <array>
#include <utility>

// Clients compare the description as it stands, its "identify" included.
inline constexpr char CERTIFICATE_DESCRIPTION[] =
    "The resource describes a certificate used to prove the identify of a component, account, or "
    "service.";
inline constexpr char CERTIFICATE_DEFAULT_NAME[] = "HTTPS Certificate";
inline constexpr char CERTIFICATE_ALLOWED_METHODS[] = "GET,HEAD,DELETE";
inline constexpr char CERTIFICATE_COLLECTION_KEY[] =
    "&&/redfish/v1/CertificateService/CertificateCollection";

// (property, value) pairs, in the order in which they are set.
inline constexpr std::array<std::pair<const char*, const char*>, 5> CERTIFICATE_DEFAULTS = {{
    {NAME_PROPERTY, CERTIFICATE_DEFAULT_NAME},
    {ODATA_TYPE, CERTIFICATE_ODATA_TYPE},
    {ALLOW_METHOD_FIELD, CERTIFICATE_ALLOWED_METHODS},
    {DESCRIPTION_PROPERTY, CERTIFICATE_DESCRIPTION},
    {CRUD_PREFIX_FIELD, CERTIFICATE_COLLECTION_KEY},
}};
