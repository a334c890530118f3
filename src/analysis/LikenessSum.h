#pragma once

#include <cstdint>
#include <optional>

namespace velmora {

// Sum of comppar(a[k], b[k]) over k < count (a multiple of 4), each likeness
// taken as a byte, computed four at a time. Bit for bit the same as calling
// comppar per pair; nullopt when some likeness falls outside 0..255 (negative
// inputs), in which case the caller runs the per-pair path, which reports the
// failure.
std::optional<int> likenessSum(const std::int32_t* a, const std::int32_t* b, int count);

} // namespace velmora
