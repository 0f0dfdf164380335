#pragma once

// The actions of the certificate service and what they take (ActionInfo).

#include "frontend/web/service/route.h"

// What "@Redfish.ActionInfo" of the actions leads to.
inline constexpr char GENERATE_CSR_ACTION_INFO_URI[] =
    "/redfish/v1/CertificateService/GenerateCSRActionInfo";
inline constexpr char REPLACE_CERTIFICATE_ACTION_INFO_URI[] =
    "/redfish/v1/CertificateService/ReplaceCertificateActionInfo";

[[nodiscard]] Routes certificateActionRoutes();
