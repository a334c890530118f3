#pragma once

#include <cstdint>

namespace velmora {

// Half-to-even rounding ("banker's rounding"): 62.5 -> 62, 63.5 -> 64.
double roundHalfEven(double value);

// Half-to-even rounding to two decimals, as used for every stored score.
double roundHalfEvenTo2(double value);

// Conversions of a floating value to the 16- and 32-bit integer types: rounded
// half to even, VbError::Overflow when the rounded value does not fit.
std::int16_t toInt16(double value);
std::int32_t toInt32(double value);
std::uint8_t toByte(double value);

// 16-bit counter arithmetic that overflows where the 16-bit original did.
std::int16_t checkedInt16(std::int64_t value);

} // namespace velmora
