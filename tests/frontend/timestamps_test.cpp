// Times as they stand in resources.

#include "frontend/records/timestamps.h"

#include <gtest/gtest.h>

namespace {

TEST(TimeOfIso, ReadsTextsWithZAndWithAnOffset) {
    EXPECT_EQ(timeOfIso("1970-01-02T00:00:01Z"), 86401);
    EXPECT_EQ(timeOfIso("1970-01-02T02:00:01+02:00"), 86401);
    EXPECT_EQ(timeOfIso("2100-01-01T00:00:00Z"), 4102444800);
}

TEST(TimeOfIso, ReadsNoOtherText) {
    for (const char* text : {"", "1970-01-02", "1970-01-02T00:00:01", "1970-01-02T00:00:01Z "}) {
        EXPECT_EQ(timeOfIso(text), std::nullopt) << text;
    }
}

} // namespace
