// A signing request: the parameters are checked, the key pair is made without the lock (an RSA key
// takes its time), and the private key is on disk before the request is given away.

#include "platform/certificate_backend/csr_parameters.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/signing_request.h"
#include "platform/certificate_backend/store_directory.h"

CSRResult makeSigningRequest(const BackendSettings& settings, const CSRRequest& request) {
    CsrParameters parameters;
    const std::optional<MessageInfo> refusal = readCsrParameters(request, parameters);
    if (refusal) {
        return {400, "", *refusal};
    }
    const KeyHandle key =
        parameters.rsaBits == 0 ? makeEcKey(parameters.curve) : makeRsaKey(parameters.rsaBits);
    CSRResult result = {200, signingRequestText(parameters, key.get()), {}};
    const OpenFile lock = lockStore(settings.directory);
    keepRequestKey(settings.directory, key.get());
    return result;
}
