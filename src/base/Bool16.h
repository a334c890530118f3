#pragma once

#include <cstdint>

namespace velmora {

// The system's Booleans are 16-bit integers: true is -1, false is 0, and any
// non-zero value counts as true when tested. They are stored that way so that
// a flag read from one place and written to another keeps its exact value.
using Bool16 = std::int16_t;

inline constexpr Bool16 kTrue = -1;
inline constexpr Bool16 kFalse = 0;

constexpr Bool16 toBool16(bool value) {
    return value ? kTrue : kFalse;
}

} // namespace velmora
