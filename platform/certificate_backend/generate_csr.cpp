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
    const RequestHandle signedRequest = makeRequest(parameters, key.get());
    CSRResult result = {200, requestText(signedRequest.get()), {}};
    const OpenFile lock = lockStore(settings.directory);
    keepRequestKey(settings.directory, key.get(),
                   publicKeyDigest(X509_REQ_get_X509_PUBKEY(signedRequest.get())));
    return result;
}
