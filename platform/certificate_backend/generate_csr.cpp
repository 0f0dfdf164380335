// The key pair is made without the lock (an RSA key takes its time), and the private key is on disk
// before the request is given away.

#include "platform/certificate_backend/csr_parameters.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/signing_request.h"
#include "platform/x509/dates.h"
#include "platform/x509/names.h"

namespace {

RequestNote noteOf(const CSRRequest& request, X509_REQ* made, const BoardClock& clock) {
    std::tm utc{};
    gmtime_r(&clock.now, &utc);
    return {request.collectionUri,
            wholeName(X509_REQ_get_subject_name(made)).value_or(std::string()), isoTime(utc)};
}

} // namespace

CSRResult generateCsr(const Surroundings& surroundings, const CSRRequest& request) {
    CsrParameters parameters;
    const std::optional<MessageInfo> refusal = readCsrParameters(request, parameters);
    if (refusal) {
        return {400, "", *refusal};
    }
    const KeyHandle key =
        parameters.rsaBits == 0 ? makeEcKey(parameters.curve) : makeRsaKey(parameters.rsaBits);
    const RequestHandle made = makeSigningRequest(parameters, key.get());
    CSRResult result = {200, requestText(made.get()), {}};
    const LockedDirectory directory(surroundings.directory);
    keepRequestKey(directory, noteOf(request, made.get(), surroundings.clock), key.get(),
                   publicKeyDigest(X509_REQ_get_X509_PUBKEY(made.get())));
    return result;
}
