#include "frontend/web/resources/session_resources.h"

#include "core/at_scope_end.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/web/service/request_checks.h"
#include "frontend/web/service/web_service.h"

#include <nlohmann/json.hpp>

#include <chrono>

namespace {

using nlohmann::json;

constexpr const char* SERVICE_URI = "/redfish/v1/SessionService";
constexpr const char* SESSIONS_URI = "/redfish/v1/SessionService/Sessions";
constexpr const char* SESSIONS_MEMBERS_URI = "/redfish/v1/SessionService/Sessions/Members";

constexpr const char* USER_NAME = "UserName";
constexpr const char* PASSWORD = "Password";

std::string sessionUri(const WebSession& session) {
    return std::string(SESSIONS_URI) + "/" + session.id;
}

json sessionDocument(const WebSession& session) {
    return {{ODATA_ID, sessionUri(session)},
            {ODATA_TYPE, "#Session.v1_4_0.Session"},
            {ID_PROPERTY, session.id},
            {NAME_PROPERTY, "Session of " + session.user},
            {DESCRIPTION_PROPERTY, "A client's login."},
            {USER_NAME, session.user},
            {"SessionType", "Redfish"},
            {"ClientOriginIPAddress", session.clientAddress},
            {"CreatedTime", session.createdTime}};
}

Answer getService(WebService& /*service*/, const Call& /*call*/) {
    const auto seconds = std::chrono::seconds(SESSION_TIMEOUT).count();
    return {.document = {{ODATA_ID, SERVICE_URI},
                         {ODATA_TYPE, "#SessionService.v1_1_8.SessionService"},
                         {ID_PROPERTY, "SessionService"},
                         {NAME_PROPERTY, "Session Service"},
                         {DESCRIPTION_PROPERTY, "Logins of clients."},
                         {"Status", {{"State", "Enabled"}, {"Health", "OK"}}},
                         {"ServiceEnabled", true},
                         {"SessionTimeout", seconds},
                         {"Sessions", {{ODATA_ID, SESSIONS_URI}}}}};
}

Answer getSessions(WebService& service, const Call& /*call*/) {
    json members = json::array();
    for (const WebSession& session : service.sessions.list()) {
        members.push_back({{ODATA_ID, sessionUri(session)}});
    }
    return {.document = {{ODATA_ID, SESSIONS_URI},
                         {ODATA_TYPE, "#SessionCollection.SessionCollection"},
                         {NAME_PROPERTY, "Session Collection"},
                         {MEMBERS_ODATA_COUNT, members.size()},
                         {"Members", std::move(members)}}};
}

Answer getSession(WebService& service, const Call& call) {
    const auto session = service.sessions.find(call.names.front());
    if (!session) {
        throw notFound(call.uri);
    }
    return {.document = sessionDocument(*session)};
}

Answer deleteSession(WebService& service, const Call& call) {
    const std::string& id = call.names.front();
    if (!service.sessions.close(id)) {
        throw notFound(call.uri);
    }
    service.streams.closeOf(id);
    return {.status = 204, .document = nullptr};
}

// --- login --------------------------------------------------------------------------------------

const RequestForm& loginForm() {
    static const RequestForm FORM = {"",
                                     {
                                         {USER_NAME, ParameterType::FREE_TEXT, true},
                                         {PASSWORD, ParameterType::FREE_TEXT, true, true},
                                     }};
    return FORM;
}

Refusal wrongCredentials() {
    Refusal refusal(401, RedfishMessage{"Base.1.9.NoValidSession",
                                        {},
                                        {},
                                        "There is no such user, or the password is wrong."});
    refusal.headers.emplace_back("WWW-Authenticate", "Basic realm=\"Redfish\"");
    return refusal;
}

Refusal tooManySessions() {
    Refusal refusal = serviceUnavailable("");
    refusal.messages.front() = {"Base.1.9.SessionLimitExceeded"};
    return refusal;
}

// The user who proves to be one. Throws Refusal otherwise.
std::string logIn(WebService& service, const Call& call) {
    json body = readCheckedBody(call.request, loginForm());
    const AtScopeEnd wipe([&body] { wipeDocument(body); });
    auto user = body[USER_NAME].get<std::string>();
    if (!service.login.accepts(user, body[PASSWORD].get_ref<const std::string&>(),
                               call.request.peer)) {
        throw wrongCredentials();
    }
    return user;
}

Answer createSession(WebService& service, const Call& call) {
    const std::string user = logIn(service, call);
    const auto made = service.sessions.open(user, call.request.peer);
    if (!made) {
        throw tooManySessions();
    }
    Answer answer = createdAnswer(sessionUri(made->session), sessionDocument(made->session));
    answer.headers.emplace_back("X-Auth-Token", made->token);
    return answer;
}

} // namespace

Routes sessionRoutes() {
    return {{SERVICE_URI, "GET", getService},
            {SESSIONS_URI, "GET", getSessions},
            {SESSIONS_URI, "POST", createSession, Access::OPEN},
            {SESSIONS_MEMBERS_URI, "POST", createSession, Access::OPEN},
            {std::string(SESSIONS_URI) + "/{}", "GET", getSession},
            {std::string(SESSIONS_URI) + "/{}", "DELETE", deleteSession}};
}

bool isSessionCreation(const std::string& uri) {
    return uri == SESSIONS_URI || uri == SESSIONS_MEMBERS_URI;
}
