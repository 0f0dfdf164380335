// A decimal of few places that lies well inside the range of decimals that are read back as the
// number is what the library writes. It looks for the shortest decimal in that range (Grisu2), but
// for less than a hundredth at its edges, which its arithmetic is not sure of; and of all decimals
// with at most 15 digits no two lie in the range of one number.

#include "store/fraction_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

namespace {

// Of the distance to the next number; the range ends at half of it.
constexpr double WELL_INSIDE = 0.49;

constexpr std::array<double, 10> POWERS_OF_TEN = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

constexpr double SMALLEST_IN_FULL = 1e-4; // the library writes others with an exponent
constexpr double SIXTEEN_DIGITS = 1e15;

// A number of so many parts: of tenths, of hundredths ...
struct Decimal {
    std::uint64_t parts;
    std::uint64_t partsOfOne;
};

std::optional<Decimal> findDecimal(double size) {
    const double gap = size - std::nextafter(size, 0.0); // the one above is as large or twice that
    for (const double scale : POWERS_OF_TEN) {
        if (size * scale >= SIXTEEN_DIGITS - 1) {
            return std::nullopt;
        }
        const auto parts = static_cast<std::uint64_t>(std::llround(size * scale));
        const double distance = std::fma(size, scale, -static_cast<double>(parts));
        if (std::fabs(distance) <= WELL_INSIDE * gap * scale) {
            return Decimal{parts, static_cast<std::uint64_t>(scale)};
        }
    }
    return std::nullopt;
}

char* writeDecimal(char* next, char* end, const Decimal& decimal) {
    const std::uint64_t rest = decimal.parts % decimal.partsOfOne;
    char* point = std::to_chars(next, end, decimal.parts / decimal.partsOfOne).ptr;
    // A one in front keeps the zeros that the fraction begins with, and makes room for the point.
    char* last = std::to_chars(point, end, decimal.partsOfOne + rest).ptr;
    *point = '.';
    if (decimal.partsOfOne == 1) {
        *last++ = '0';
    }
    return last;
}

} // namespace

bool setFractionText(std::string& text, double number) {
    const double size = std::fabs(number);
    if (!(size >= SMALLEST_IN_FULL && size < SIXTEEN_DIGITS)) {
        return false;
    }
    const std::optional<Decimal> decimal = findDecimal(size);
    if (!decimal) {
        return false;
    }
    std::array<char, 32> digits; // NOLINT(*-member-init): written before it is read
    text = std::signbit(number) ? "-" : "";
    text.append(digits.begin(), writeDecimal(digits.begin(), digits.end(), *decimal));
    return true;
}
