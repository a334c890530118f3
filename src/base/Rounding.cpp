#include "base/Rounding.h"

#include "base/VbError.h"

#include <cmath>

namespace velmora {

double roundHalfEven(double value) {
    // The default floating-point environment rounds to nearest, ties to even;
    // for magnitudes below 2^52 adding and removing 1.5 * 2^52 applies exactly
    // that rounding without a library call (this sits on the scoring hot path).
    constexpr double kShift = 6755399441055744.0; // 1.5 * 2^52
    if (std::fabs(value) < 4503599627370496.0) {  // 2^52
        const double shifted = value + kShift;
        return shifted - kShift;
    }
    return std::nearbyint(value);
}

double roundHalfEvenTo2(double value) {
    return roundHalfEven(value * 100.0) / 100.0;
}

std::int16_t toInt16(double value) {
    const double r = roundHalfEven(value);
    if (!(r >= -32768.0 && r <= 32767.0))
        throw VbError(VbError::Overflow);
    return static_cast<std::int16_t>(r);
}

std::int32_t toInt32(double value) {
    const double r = roundHalfEven(value);
    if (!(r >= -2147483648.0 && r <= 2147483647.0))
        throw VbError(VbError::Overflow);
    return static_cast<std::int32_t>(r);
}

std::uint8_t toByte(double value) {
    const double r = roundHalfEven(value);
    if (!(r >= 0.0 && r <= 255.0))
        throw VbError(VbError::Overflow);
    return static_cast<std::uint8_t>(r);
}

std::int16_t checkedInt16(std::int64_t value) {
    if (value < -32768 || value > 32767)
        throw VbError(VbError::Overflow);
    return static_cast<std::int16_t>(value);
}

} // namespace velmora
