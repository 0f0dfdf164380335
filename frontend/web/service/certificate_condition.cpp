#include "frontend/web/service/certificate_condition.h"

#include "platform/x509/dates.h"

#include <nlohmann/json.hpp>

namespace {

constexpr std::time_t NEAR_END_SECONDS = 30L * 24 * 60 * 60;

const char* healthOf(CertificateState state) {
    switch (state) {
    case CertificateState::NEAR_END:
        return "Warning";
    case CertificateState::ENDED:
        return "Critical";
    case CertificateState::GOOD:
        break;
    }
    return "OK";
}

nlohmann::json conditionOf(const RedfishMessage& message, std::time_t since) {
    const nlohmann::json whole = messageObject(message);
    nlohmann::json condition = {{"Timestamp", isoTime(since)}};
    for (const char* property : {"MessageId", "Message", "MessageArgs", "Severity", "Resolution"}) {
        condition[property] = whole[property];
    }
    return condition;
}

} // namespace

CertificateState certificateState(std::time_t end, std::time_t now) {
    if (now > end) {
        return CertificateState::ENDED;
    }
    return now >= end - NEAR_END_SECONDS ? CertificateState::NEAR_END : CertificateState::GOOD;
}

std::optional<RedfishMessage> certificateMessage(const std::string& uri, std::time_t end,
                                                 CertificateState state) {
    const std::string health = healthOf(state);
    switch (state) {
    case CertificateState::NEAR_END:
        return RedfishMessage{"ResourceEvent.1.0.ResourceStatusChangedWarning",
                              {uri, health},
                              {},
                              "The certificate ends on " + isoTime(end) + "."};
    case CertificateState::ENDED:
        return RedfishMessage{"ResourceEvent.1.0.ResourceStatusChangedCritical",
                              {uri, health},
                              {},
                              "The certificate ended on " + isoTime(end) + "."};
    case CertificateState::GOOD:
        break;
    }
    return std::nullopt;
}

nlohmann::json certificateStatus(const std::string& uri, std::time_t end, std::time_t now) {
    const CertificateState state = certificateState(end, now);
    nlohmann::json status = {{"State", "Enabled"}, {"Health", healthOf(state)}};
    if (const auto message = certificateMessage(uri, end, state)) {
        const std::time_t since = state == CertificateState::ENDED ? end : end - NEAR_END_SECONDS;
        status["Conditions"] = nlohmann::json::array({conditionOf(*message, since)});
    }
    return status;
}
