#include "base/Rounding.h"

#include "base/VbError.h"

namespace velmora {

void throwOverflow() {
    throw VbError(VbError::Overflow);
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

std::int16_t checkedInt16(std::int64_t value) {
    if (value < -32768 || value > 32767)
        throw VbError(VbError::Overflow);
    return static_cast<std::int16_t>(value);
}

} // namespace velmora
