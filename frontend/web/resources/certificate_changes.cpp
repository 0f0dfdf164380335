#include "frontend/web/resources/certificate_changes.h"

Answer createCertificate(WebService& /*service*/, const Call& call,
                         const std::string& /*collectionUri*/) {
    throw notFound(call.uri);
}

Answer deleteCertificate(WebService& /*service*/, const Call& call) {
    throw notFound(call.uri);
}
