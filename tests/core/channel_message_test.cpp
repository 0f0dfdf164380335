// The message of a request channel and the two keys in it.

#include "core/channel_message.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct Splitting {
    const char* name;
    std::string message;
    std::string requestKey;
    std::string statusKey;

    friend void PrintTo(const Splitting& row, std::ostream* out) {
        *out << row.name;
    }
};

class ChannelMessage : public testing::TestWithParam<Splitting> {};

TEST_P(ChannelMessage, splits) {
    const RequestKeys keys = splitChannelMessage(GetParam().message);
    EXPECT_EQ(keys.requestKey, GetParam().requestKey);
    EXPECT_EQ(keys.statusKey, GetParam().statusKey);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ChannelMessage,
    testing::Values(
        Splitting{"twoWords", "request status", "request", "status"},
        Splitting{"threeWords", "request status more", "request", "status more"},
        Splitting{"twoBlanks", "request  status", "request", " status"},
        Splitting{"noBlank", "request", "request", "request"},
        Splitting{"blankAtEnd", "request ", "request", ""},
        Splitting{"blankAtBeginning", " status", "", "status"},
        Splitting{"onlyABlank", " ", "", ""}, Splitting{"empty", "", "", ""},
        Splitting{"tabIsNoBlank", "request\tstatus", "request\tstatus", "request\tstatus"},
        Splitting{"lineEndIsNoBlank", "request\nline status\n", "request\nline", "status\n"},
        Splitting{"nulIsKept", std::string("re\0quest sta\0tus", 16), std::string("re\0quest", 8),
                  std::string("sta\0tus", 7)},
        Splitting{"urisAndMarkers", "&&/redfish/v1/X?a=1%20 &&/status/1", "&&/redfish/v1/X?a=1%20",
                  "&&/status/1"}),
    [](const auto& row) { return row.param.name; });

} // namespace
