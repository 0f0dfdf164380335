// Writing down what a request sends.

#include "tests/requests/expected_commands.h"

#include "tests/requests/request_fixture.h"
#include "tests/support/commands.h"

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
    std::map<std::string, std::string> all = values;
    all.insert({{"COLLECTION", "/redfish/v1/Managers/1/Certificates"},
                {"LOCATIONS", "/redfish/v1/CertificateService/CertificateLocations"}});
    for (const auto& [name, value] : all) {
        const std::string gap = "{" + name + "}";
        for (auto place = text.find(gap); place != std::string::npos;
             place = text.find(gap, place + value.size())) {
            text.replace(place, gap.size(), value);
        }
    }
    return text;
}

std::string failureCommands(const std::string& status, const std::string& messageId,
                            const std::vector<std::string>& arguments) {
    std::string list;
    for (const auto& argument : arguments) {
        list += "RPUSH status/1/ExtendedInfo/1/MessageArgs " +
                describeText("\"" + argument + "\"") + "\n";
    }
    if (!arguments.empty()) {
        list = R"(TYPE status/1/ExtendedInfo/1/MessageArgs
INCR Array-Member-Sequence-ID
)" + list + "EXPIRE status/1/ExtendedInfo/1/MessageArgs 6\n";
    }
    return BEGIN_STATUS + filled(R"(HSET status/1/result &&ExtendedInfo status/1/ExtendedInfo
HSET status/1/result &&ReturnStatus {STATUS}
TYPE status/1/ExtendedInfo/1
INCR Array-Member-Sequence-ID
HSET status/1/ExtendedInfo/1 &&MessageArgs status/1/ExtendedInfo/1/MessageArgs
HSET status/1/ExtendedInfo/1 &&MessageId {ID}
EXPIRE status/1/ExtendedInfo/1 6
{LIST}TYPE status/1/ExtendedInfo
INCR Array-Member-Sequence-ID
RPUSH status/1/ExtendedInfo "\"status/1/ExtendedInfo/1\""
EXPIRE status/1/ExtendedInfo 6
)",
                                 {{"STATUS", status}, {"ID", messageId}, {"LIST", list}});
}

std::string defaultFailureCommands() {
    return failureCommands("EXCEPTION", "ExtendedError.1.2.DatabaseOperationError");
}
