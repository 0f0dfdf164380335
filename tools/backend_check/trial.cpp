#include "tools/backend_check/trial.h"

#include "tools/backend_check/result_rules.h"

#include <algorithm>
#include <exception>

namespace {

void tellFaults(const Trial& trial, const std::string& what, const Faults& faults) {
    const std::string beginning = what + ": ";
    for (const std::string& text : faults) {
        trial.fault(beginning + text);
    }
}

// The result, or an empty one with CODE_EXCEPTION.
template <typename Result, typename Request>
Result ask(const Trial& trial, const std::string& what, Result (*handler)(const Request&),
           const Request& request) {
    trial.teller.step(what);
    try {
        return handler(request);
    } catch (const std::exception& failure) {
        trial.fault(what + ": an exception leaves the handler: " + failure.what());
    } catch (...) {
        trial.fault(what + ": an exception leaves the handler");
    }
    return {};
}

// A URI is told back as the client sent it, whatever it holds: the daemon leaves out what it cannot
// store.
MessageInfo withoutEcho(MessageInfo message, const std::string& uri) {
    std::replace(message.MessageArgs.begin(), message.MessageArgs.end(), uri, std::string("URI"));
    return message;
}

// An exception has been told already.
bool isAnswer(std::int32_t code, const MessageInfo& message) {
    return code != CODE_EXCEPTION || !message.MessageId.empty();
}

std::string described(std::int32_t code, const MessageInfo& message) {
    std::string text = "code " + std::to_string(code);
    if (!message.MessageId.empty()) {
        text += " with " + message.MessageId;
    }
    for (const std::string& argument : message.MessageArgs) {
        text += ", \"" + argument.substr(0, 200) + "\"";
    }
    return text;
}

} // namespace

CreateCertRequest creationOf(const Trial& trial, const std::string& id, const std::string& text) {
    return {trial.places.collection, text, "PEM", trial.places.idPrefix + id, ""};
}

ReplaceCertRequest replacementOf(const Trial& trial, const std::string& id,
                                 const std::string& text) {
    return {trial.places.collection + "/" + trial.places.idPrefix + id, text, "PEM", ""};
}

CSRRequest curveRequest(const Trial& trial) {
    CSRRequest request;
    request.collectionUri = trial.places.collection;
    request.stringParameters = {{"CommonName", FIRST_NAME},
                                {"Organization", ORGANIZATION_NAME},
                                {"Country", "AQ"},
                                {"KeyPairAlgorithm", "TPM_ALG_ECDSA"},
                                {"KeyCurveId", "TPM_ECC_NIST_P256"}};
    return request;
}

std::string uriOf(const CreateCertRequest& request) {
    return request.collectionUri + "/" + request.certificateId;
}

CreateCertResult create(const Trial& trial, const std::string& what,
                        const CreateCertRequest& request) {
    CreateCertResult result = ask(trial, what, trial.backend.create, request);
    if (isAnswer(result.code, result.message)) {
        tellFaults(trial, what, resultFaults(result));
    }
    if (result.code == CODE_SUCCESS) {
        trial.teller.installed(uriOf(request));
    }
    return result;
}

CreateCertResult replace(const Trial& trial, const std::string& what,
                         const ReplaceCertRequest& request) {
    CreateCertResult result = ask(trial, what, trial.backend.replace, request);
    if (isAnswer(result.code, result.message)) {
        CreateCertResult examined = result;
        examined.message = withoutEcho(result.message, request.certificateUri);
        tellFaults(trial, what, resultFaults(examined));
    }
    return result;
}

DeleteCertResult remove(const Trial& trial, const std::string& what, const std::string& uri) {
    DeleteCertResult result = ask(trial, what, trial.backend.remove, uri);
    if (isAnswer(result.code, result.message)) {
        tellFaults(trial, what, resultFaults(result.code, withoutEcho(result.message, uri)));
    }
    if (result.code == CODE_SUCCESS) {
        trial.teller.removed(uri);
    }
    return result;
}

CSRResult generateCsr(const Trial& trial, const std::string& what, const CSRRequest& request) {
    CSRResult result = ask(trial, what, trial.backend.generateCsr, request);
    if (isAnswer(result.code, result.message)) {
        tellFaults(trial, what, resultFaults(result));
    }
    return result;
}

bool expectSuccess(const Trial& trial, const std::string& what, std::int32_t code,
                   const MessageInfo& message) {
    if (code != CODE_SUCCESS) {
        trial.fault(what + ": 200 was expected, not " + described(code, message));
    }
    return code == CODE_SUCCESS;
}

void expectRefusal(const Trial& trial, const std::string& what, std::int32_t code) {
    if (code == CODE_SUCCESS) {
        trial.fault(what + ": was accepted");
    } else if (code != CODE_BAD_REQUEST) {
        trial.fault(what + ": code 400 was expected, not " + std::to_string(code) +
                    "; the client is told that the service failed");
    }
}
