// A certificate's health as its end comes nearer.

#include "frontend/web/service/certificate_condition.h"

#include <gtest/gtest.h>

namespace {

using nlohmann::json;

const std::string URI = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1";

constexpr std::time_t DAY = 24L * 60 * 60;
constexpr std::time_t END = 2208988799; // 2039-12-31T23:59:59Z

} // namespace

TEST(CertificateCondition, IsAWarningFromThirtyDaysBeforeTheEndAndCriticalAfterIt) {
    using State = CertificateState;
    struct Row {
        std::time_t now;
        State state;
    };
    for (const Row& row : {Row{0, State::GOOD}, Row{END - 30 * DAY - 1, State::GOOD},
                           Row{END - 30 * DAY, State::NEAR_END}, Row{END, State::NEAR_END},
                           Row{END + 1, State::ENDED}, Row{END + 900 * DAY, State::ENDED}}) {
        EXPECT_EQ(certificateState(END, row.now), row.state) << row.now;
    }
}

TEST(CertificateCondition, OfAGoodCertificateIsNone) {
    const json expected = {{"State", "Enabled"}, {"Health", "OK"}};
    EXPECT_EQ(certificateStatus(URI, END, END - 31 * DAY), expected);
    EXPECT_FALSE(certificateMessage(URI, END, CertificateState::GOOD).has_value());
}

TEST(CertificateCondition, SaysWhatIsTheMatterSinceWhenAndWhatHelps) {
    const json warning = {{"State", "Enabled"},
                          {"Health", "Warning"},
                          {"Conditions",
                           {{{"MessageId", "ResourceEvent.1.0.ResourceStatusChangedWarning"},
                             {"Message", "The certificate ends on 2039-12-31T23:59:59Z."},
                             {"MessageArgs", {URI, "Warning"}},
                             {"Severity", "Warning"},
                             {"Resolution", "Replace the certificate before it ends."},
                             {"Timestamp", "2039-12-01T23:59:59Z"}}}}};
    EXPECT_EQ(certificateStatus(URI, END, END - DAY), warning);
    const json critical = {{"State", "Enabled"},
                           {"Health", "Critical"},
                           {"Conditions",
                            {{{"MessageId", "ResourceEvent.1.0.ResourceStatusChangedCritical"},
                              {"Message", "The certificate ended on 2039-12-31T23:59:59Z."},
                              {"MessageArgs", {URI, "Critical"}},
                              {"Severity", "Critical"},
                              {"Resolution", "Replace the certificate."},
                              {"Timestamp", "2039-12-31T23:59:59Z"}}}}};
    EXPECT_EQ(certificateStatus(URI, END, END + DAY), critical);
}
