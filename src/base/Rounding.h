#pragma once

#include <cmath>
#include <cstdint>

namespace velmora {

[[noreturn]] void throwOverflow();

// Half-to-even rounding ("banker's rounding"): 62.5 -> 62, 63.5 -> 64.
// Inline because it sits on the scoring hot path: the default floating-point
// environment rounds to nearest, ties to even, and for magnitudes below 2^51
// adding and removing 1.5 * 2^52 applies exactly that rounding.
inline double roundHalfEven(double value) {
    constexpr double kShift = 6755399441055744.0; // 1.5 * 2^52
    if (std::fabs(value) < 2251799813685248.0)    // 2^51
        return (value + kShift) - kShift;
    return std::nearbyint(value);
}

// Half-to-even rounding to two decimals, as used for every stored score.
inline double roundHalfEvenTo2(double value) {
    return roundHalfEven(value * 100.0) / 100.0;
}

// Conversions of a floating value to the 16- and 32-bit integer types: rounded
// half to even, VbError::Overflow when the rounded value does not fit.
std::int16_t toInt16(double value);
std::int32_t toInt32(double value);

inline std::uint8_t toByte(double value) {
    const double r = roundHalfEven(value);
    if (!(r >= 0.0 && r <= 255.0))
        throwOverflow();
    return static_cast<std::uint8_t>(r);
}

// 16-bit counter arithmetic that overflows where the 16-bit original did.
std::int16_t checkedInt16(std::int64_t value);

} // namespace velmora
