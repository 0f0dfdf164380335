#include "frontend/web/redfish_service.h"

#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/web/all_routes.h"
#include "frontend/web/resources/session_resources.h"
#include "frontend/web/resources/stored_resources.h"
#include "frontend/web/service/credentials.h"
#include "frontend/web/service/entity_tag.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 9> HTTP_METHODS = {
    "GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "TRACE", "CONNECT"};

// --- the path -----------------------------------------------------------------------------------

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The path with its percent-encoded bytes (RFC 3986, 2.1) decoded, what is no such byte as it is.
std::string decodedPath(std::string_view path) {
    std::string decoded;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const bool isEncoded = path[i] == '%' && i + 2 < path.size() &&
                               hexDigit(path[i + 1]) >= 0 && hexDigit(path[i + 2]) >= 0;
        if (isEncoded) {
            decoded += static_cast<char>(hexDigit(path[i + 1]) * 16 + hexDigit(path[i + 2]));
            i += 2;
        } else {
            decoded += path[i];
        }
    }
    return decoded;
}

bool hasEmptyOrDotSegment(const std::string& uri) {
    const std::string whole = uri + "/";
    return whole.find("//") != std::string::npos || whole.find("/./") != std::string::npos ||
           whole.find("/../") != std::string::npos;
}

// Whether the URI can be a resource's at all. Words of a message to the daemon are parted at
// blanks, and what begins with "&&" is its own.
bool isUsable(const std::string& uri) {
    const bool hasUnprintable = std::any_of(uri.begin(), uri.end(), [](char each) {
        return static_cast<unsigned char>(each) <= ' ' || each == '\x7f';
    });
    return uri.starts_with('/') && !hasUnprintable && isValidUtf8(uri) &&
           uri.find("&&") == std::string::npos && (uri == "/" || !hasEmptyOrDotSegment(uri));
}

// As routes and records know it.
std::string uriOf(const HttpRequest& request) {
    std::string uri = decodedPath(request.path);
    if (uri.size() > 1 && uri.ends_with('/')) {
        uri.pop_back();
    }
    return uri;
}

// --- who asks -----------------------------------------------------------------------------------

Refusal unauthorized() {
    Refusal refusal(401, RedfishMessage{"Base.1.9.NoValidSession",
                                        {},
                                        {},
                                        "Log in first: with a session's token in X-Auth-Token, or "
                                        "with user and password."});
    refusal.headers.emplace_back("WWW-Authenticate", "Basic realm=\"Redfish\"");
    return refusal;
}

// Fills in who sends the request. False when it carries nothing that holds.
bool identify(WebService& service, Call& call) {
    if (const auto token = findHeader(call.request.headers, "X-Auth-Token")) {
        const auto session = service.sessions.use(std::string(*token));
        call.user = session ? session->user : "";
        call.sessionId = session ? session->id : "";
        return session.has_value();
    }
    auto credentials = basicCredentials(call.request);
    if (!credentials) {
        return false;
    }
    const bool accepted =
        service.login.accepts(credentials->user, credentials->password, call.request.peer);
    call.user = accepted ? credentials->user : "";
    wipeText(credentials->password);
    return accepted;
}

// --- the answer ---------------------------------------------------------------------------------

void checkVersion(const HttpRequest& request) {
    const auto version = findHeader(request.headers, "OData-Version");
    if (version && *version != "4.0") {
        throw Refusal(412, RedfishMessage{"Base.1.9.HeaderInvalid", {"OData-Version"}});
    }
}

// Queries that begin with "$" are the protocol's; the service has none of them. Others are for
// whoever put them there.
void checkQuery(const HttpRequest& request) {
    std::string_view rest = request.query;
    while (!rest.empty()) {
        const std::string_view each = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), each.size() + 1));
        const bool isEncoded = each.size() >= 3 && each.starts_with("%24");
        if (each.starts_with('$') || isEncoded) {
            throw Refusal(501, RedfishMessage{"Base.1.9.QueryNotSupported", {}});
        }
    }
}

bool isKnownMethod(const std::string& method) {
    return std::find(HTTP_METHODS.begin(), HTTP_METHODS.end(), method) != HTTP_METHODS.end();
}

Answer answerOf(WebService& service, Call& call) {
    const RouteChoice choice = chooseRoute(call.uri, call.request.method);
    if (!choice.isOpen && !identify(service, call)) {
        throw unauthorized();
    }
    checkVersion(call.request);
    checkQuery(call.request);
    if (!isKnownMethod(call.request.method)) {
        throw Refusal(501,
                      RedfishMessage{"Base.1.9.GeneralError", {}, {}, "There is no such method."});
    }
    if (!isUsable(call.uri)) {
        throw notFound(call.request.path);
    }
    if (choice.route != nullptr) {
        call.names = choice.names;
        Answer answer = choice.route->handler(service, call);
        answer.headers.emplace_back("Allow", choice.allowed);
        return answer;
    }
    if (!choice.allowed.empty()) {
        throw methodNotAllowed(call.request.method, choice.allowed);
    }
    return answerStored(service, call);
}

// What the standard's schemas are called: "#Certificate.v1_11_0.Certificate" stands in the file
// "Certificate.v1_11_0.json".
std::string describedBy(const json& document) {
    const std::string type = document.value(ODATA_TYPE, "");
    if (!type.starts_with('#')) {
        return {};
    }
    const std::string schema = type.substr(1, type.rfind('.') - 1);
    return "<http://redfish.dmtf.org/schemas/v1/" + schema + ".json>; rel=describedby";
}

// What the answer to GET and HEAD carries; 304 when the client has the document already.
void describeDocument(const HttpRequest& request, const json& document, HttpAnswer& answer) {
    const std::string tag = entityTagOf(document, answer.body);
    answer.headers.emplace_back("ETag", tag);
    if (const std::string link = document.is_object() ? describedBy(document) : ""; !link.empty()) {
        answer.headers.emplace_back("Link", link);
    }
    const auto known = findHeader(request.headers, "If-None-Match");
    if (known && isNamedBy(*known, tag)) {
        answer.status = 304;
        answer.body.clear();
    }
}

void addCommonHeaders(HttpAnswer& answer) {
    answer.headers.emplace_back("OData-Version", "4.0");
    answer.headers.emplace_back("Cache-Control", "no-cache");
    answer.headers.emplace_back("X-Content-Type-Options", "nosniff");
}

// Bytes that are no UTF-8 are replaced: a stored text may hold anything.
std::string textOf(const json& document) {
    return document.dump(-1, ' ', false, json::error_handler_t::replace);
}

HttpAnswer httpAnswerOf(const HttpRequest& request, Answer answer) {
    HttpAnswer finished = {answer.status, std::move(answer.headers), std::move(answer.body),
                           std::move(answer.stream)};
    addCommonHeaders(finished);
    if (!answer.document.is_null()) {
        finished.body = textOf(answer.document);
        answer.contentType = "application/json; charset=utf-8";
    }
    if (!answer.contentType.empty()) {
        finished.headers.emplace_back("Content-Type", answer.contentType);
    }
    const bool isReading = request.method == "GET" || request.method == "HEAD";
    if (isReading && answer.status == 200 && !finished.stream) {
        describeDocument(request, answer.document, finished);
    }
    return finished;
}

// --- refusals and faults ------------------------------------------------------------------------

HttpAnswer httpAnswerOf(const Refusal& refusal) {
    HttpAnswer answer = {
        refusal.status, refusal.headers, textOf(errorDocument(refusal.messages)), {}};
    addCommonHeaders(answer);
    answer.headers.emplace_back("Content-Type", "application/json; charset=utf-8");
    return answer;
}

std::string withHint(const FrontEndError& error) {
    return error.hint.empty() ? error.what() : std::string(error.what()) + " " + error.hint;
}

Refusal refusalOf(const FrontEndError& error) {
    switch (error.kind) {
    case FailureKind::NO_REDIS:
    case FailureKind::NOBODY_LISTENS:
    case FailureKind::TIMED_OUT:
    case FailureKind::NO_ANSWER:
    case FailureKind::INTERRUPTED:
        return serviceUnavailable(withHint(error));
    case FailureKind::BAD_INPUT:
        return {400, RedfishMessage{"Base.1.9.GeneralError", {}, {}, withHint(error)}};
    case FailureKind::NOT_THERE:
        return {404, RedfishMessage{"Base.1.9.GeneralError", {}, {}, withHint(error)}};
    case FailureKind::LOCAL_FILE:
    case FailureKind::TOO_LARGE:
        break;
    }
    return {500, RedfishMessage{"Base.1.9.GeneralError", {}, {}, withHint(error)}};
}

// Of a request by which a client proves who it is.
bool isLogin(const HttpRequest& request) {
    return (request.method == "POST" && isSessionCreation(uriOf(request))) ||
           findHeader(request.headers, "Authorization").has_value();
}

} // namespace

std::chrono::milliseconds loginDelay(WebService& service, const HttpRequest& request) {
    return isLogin(request) ? service.login.delayFor(request.peer) : std::chrono::milliseconds(0);
}

HttpAnswer answerRequest(WebService& service, const HttpRequest& request) {
    try {
        Call call = {request, uriOf(request), {}, {}, {}};
        return httpAnswerOf(request, answerOf(service, call));
    } catch (const Refusal& refusal) {
        return httpAnswerOf(refusal);
    } catch (const FrontEndError& error) {
        return httpAnswerOf(refusalOf(error));
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "certificateweb: a request failed: %s\n", error.what());
        return httpAnswerOf(Refusal(500, RedfishMessage{"Base.1.9.InternalError"}));
    }
}

HttpAnswer answerUnreadable(int status, const std::string& text) {
    return httpAnswerOf(Refusal(status, RedfishMessage{"Base.1.9.GeneralError", {}, {}, text}));
}
