#include "frontend/web/resources/certificate_actions.h"

#include "core/at_scope_end.h"
#include "core/protocol/channels.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/secret.h"
#include "frontend/exchange/password_key.h"
#include "frontend/records/certificate_records.h"
#include "frontend/web/resources/tasks.h"
#include "frontend/web/service/change_turn.h"
#include "frontend/web/service/daemon_request.h"
#include "frontend/web/service/request_checks.h"
#include "frontend/web/service/web_service.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace {

using nlohmann::json;

// --- GenerateCSR --------------------------------------------------------------------------------

// The password travels to the daemon encrypted.
void encryptPassword(json& body) {
    const auto found = body.find(CHALLENGE_PASSWORD);
    if (found == body.end()) {
        return;
    }
    auto& password = found->get_ref<std::string&>();
    if (password.empty()) {
        throw Refusal(400, RedfishMessage{"Base.1.9.ActionParameterValueFormatError",
                                          {"The password is empty. Leave it out, or give one.",
                                           CHALLENGE_PASSWORD, GENERATE_CSR_ACTION_NAME},
                                          {std::string("#/") + CHALLENGE_PASSWORD}});
    }
    std::string cipherText = encryptChallengePassword(password);
    wipeText(password);
    password = std::move(cipherText);
}

// By the daemon's rule: RSA keys are made as tasks, and a key length alone means RSA.
bool runsAsTask(const json& body) {
    const std::string algorithm = body.value(KEY_PAIR_ALGORITHM, "");
    const bool isLengthAlone =
        algorithm.empty() && !body.contains(KEY_CURVE_ID) && body.value(KEY_BIT_LENGTH, 0) != 0;
    return algorithm == "TPM_ALG_RSA" || isLengthAlone;
}

RequestHead generateCsrHead(const std::string& taskUri) {
    return {ACTION_CHANNEL, GENERATE_CSR_ACTION_URI, taskUri, 0};
}

Answer answerAtOnce(redisContext* session, json body) {
    const ServiceAnswer answer = askDaemon(session, generateCsrHead(""), std::move(body));
    checkAccepted(answer);
    return signingRequestAnswer(answer);
}

Answer answerAsTask(WebService& service, redisContext* session, json body) {
    const std::string taskUri = service.tasks.begin(session, "Certificate signing request");
    try {
        const ServiceAnswer answer = askDaemon(session, generateCsrHead(taskUri), std::move(body));
        checkAccepted(answer);
        if (answer.status != STATUS_PROCESSING) {
            service.tasks.cancel(session, taskUri);
            return signingRequestAnswer(answer);
        }
    } catch (...) {
        service.tasks.cancel(session, taskUri);
        throw;
    }
    service.tasks.noteAccepted(taskUri);
    return runningTaskAnswer(session, taskUri);
}

Answer generateCsr(WebService& service, const Call& call) {
    json body = readCheckedBody(call.request, generateCsrForm());
    const AtScopeEnd wiper([&body] { wipeDocument(body); });
    encryptPassword(body);
    const BorrowedSession session(service.redis);
    return runsAsTask(body) ? answerAsTask(service, session.get(), std::move(body))
                            : answerAtOnce(session.get(), std::move(body));
}

// --- ReplaceCertificate -------------------------------------------------------------------------

// What has come of it, as a message: the resource itself is found at Location.
Answer replacedAnswer(const ServiceAnswer& answer) {
    const RedfishMessage message = {isNoOperation(answer) ? MSG_NO_OPERATION : "Base.1.9.Success"};
    return {.document = {{"@Message.ExtendedInfo", json::array({messageObject(message)})}},
            .headers = {{"Location", answer.location}}};
}

void refreshRecords(redisContext* session, const std::string& certificateUri, const json& body) {
    const bool isShown = refreshCertificateRecords(
        session, certificateUri, body[CERTIFICATE_STRING].get_ref<const std::string&>(),
        body[CERTIFICATE_TYPE].get_ref<const std::string&>());
    if (!isShown) {
        (void)std::fprintf(stderr,
                           "certificateweb: %s keeps the properties of the old certificate: the "
                           "new text cannot be read here\n",
                           certificateUri.c_str());
    }
}

Answer replaceCertificate(WebService& service, const Call& call) {
    json body = readCheckedBody(call.request, replaceCertificateForm());
    const AtScopeEnd wiper([&body] { wipeDocument(body); });
    const std::string certificateUri = body[CERTIFICATE_URI][ODATA_ID].get<std::string>();
    const BorrowedSession session(service.redis);
    const ChangeTurn turn(service.changes);
    const ServiceAnswer answer =
        askDaemon(session.get(), {ACTION_CHANNEL, REPLACE_CERTIFICATE_ACTION_URI, "", 0}, body);
    checkAccepted(answer);
    if (!isNoOperation(answer)) {
        refreshRecords(session.get(), certificateUri, body);
    }
    return replacedAnswer(answer);
}

// --- ActionInfo ---------------------------------------------------------------------------------

const char* dataTypeOf(ParameterType type) {
    switch (type) {
    case ParameterType::LINES:
        return "StringArray";
    case ParameterType::INTEGER:
        return "Number";
    case ParameterType::REFERENCE:
        return "Object";
    case ParameterType::LINE:
    case ParameterType::TEXT:
    case ParameterType::FREE_TEXT:
        break;
    }
    return "String";
}

json parameterInfo(const RequestParameter& parameter) {
    json info = {{"Name", parameter.name},
                 {"Required", parameter.isRequired},
                 {"DataType", dataTypeOf(parameter.type)}};
    if (!parameter.allowable.empty()) {
        info["AllowableValues"] = parameter.allowable;
    }
    return info;
}

Answer actionInfo(const char* uri, const RequestForm& form) {
    json parameters = json::array();
    for (const RequestParameter& parameter : form.parameters) {
        parameters.push_back(parameterInfo(parameter));
    }
    const std::string id = std::string(uri).substr(std::string(uri).rfind('/') + 1);
    return {.document = {{ODATA_ID, uri},
                         {ODATA_TYPE, "#ActionInfo.v1_1_2.ActionInfo"},
                         {ID_PROPERTY, id},
                         {NAME_PROPERTY, "Parameters of " + std::string(form.action)},
                         {"Parameters", std::move(parameters)}}};
}

Answer generateCsrInfo(WebService& /*service*/, const Call& /*call*/) {
    return actionInfo(GENERATE_CSR_ACTION_INFO_URI, generateCsrForm());
}

Answer replaceCertificateInfo(WebService& /*service*/, const Call& /*call*/) {
    return actionInfo(REPLACE_CERTIFICATE_ACTION_INFO_URI, replaceCertificateForm());
}

} // namespace

Routes certificateActionRoutes() {
    return {
        {GENERATE_CSR_ACTION_URI, "POST", generateCsr},
        {REPLACE_CERTIFICATE_ACTION_URI, "POST", replaceCertificate},
        {GENERATE_CSR_ACTION_INFO_URI, "GET", generateCsrInfo},
        {REPLACE_CERTIFICATE_ACTION_INFO_URI, "GET", replaceCertificateInfo},
    };
}
