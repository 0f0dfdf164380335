#pragma once

// Installing and deleting certificates.

#include "frontend/web/service/route.h"

// POST to the collection, which is known to be there. 201 with the new resource.
[[nodiscard]] Answer createCertificate(WebService& service, const Call& call,
                                       const std::string& collectionUri);

// DELETE of the certificate, which is known to be there. 204; all three places are clean then.
[[nodiscard]] Answer deleteCertificate(WebService& service, const Call& call);
