// Numbers with a fraction: the JSON library's own text decides.

#include "store/fraction_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

const std::string UNTOUCHED = "as it was";

// What was written, which may be nothing, but nothing else than the library writes.
bool isWritten(double number) {
    std::string text = UNTOUCHED;
    const bool isWritten = setFractionText(text, number);
    EXPECT_EQ(text, isWritten ? nlohmann::json(number).dump() : UNTOUCHED);
    return isWritten;
}

// A decimal of up to 17 digits and 11 places, as a reading would be.
double randomDecimal(std::mt19937_64& random) {
    const std::uint64_t most = static_cast<std::uint64_t>(std::pow(10, 1 + random() % 17));
    return std::stod(std::to_string(random() % most) + "e-" + std::to_string(random() % 12));
}

} // namespace

TEST(FractionText, OfAReadingIsWritten) {
    for (const double number :
         {23.4, -23.4, 0.25, 0.1, 0.3, 1.0, -1.0, 100.0, 0.0001, 0.001, 0.05, 1.05, 3.3, 12.125,
          999.999999999, 123456789012345.0, 99999999999999.5, 4096.0, 0.000000001 + 0.5}) {
        EXPECT_TRUE(isWritten(number)) << number;
    }
}

// The library misses the shortest decimal of these: 7.254 is 7.2540000000000004.
TEST(FractionText, AtTheEdgeIsLeftToTheLibrary) {
    for (const double number : {7.254, 390.63070965, 0.25000058, 39643889.11228, 0.221855178,
                                0.0594715, 4419.0390112, 6.142587813}) {
        EXPECT_FALSE(isWritten(number)) << number;
    }
}

TEST(FractionText, OfOtherFormIsLeftToTheLibrary) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double number :
         {0.0, -0.0, 0.00009, 1e15, 1e16, 1e300, 5e-324, 0.1 + 0.2, 1.0 / 3, 999999999999999.5,
          0.0000000001 + 0.5, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(isWritten(number)) << number;
    }
}

TEST(FractionText, IsTheLibrarysForAnyNumber) {
    std::mt19937_64 random(20261122);
    int written = 0;
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        const double decimal = randomDecimal(random);
        const double power = std::ldexp(1.0, static_cast<int>(random() % 80) - 20);
        for (const double number :
             {decimal, -decimal, std::nextafter(decimal, 0), std::nextafter(decimal, 1e300), power,
              std::nextafter(power, 0), decimal + 0.25}) {
            written += isWritten(number) ? 1 : 0;
        }
    }
    EXPECT_GT(written, 20000);
}
