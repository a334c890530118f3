#pragma once

#include "base/Rounding.h"
#include "store/TxtRecords.h"

#include <array>
#include <cstdint>

namespace velmora {

// Halves the distance of a score to 100, to two decimals.
inline float halfwayTo100(float score) {
    return float(roundHalfEvenTo2((double(score) + 100) / 2));
}

// A candidate record made ready for scoring against packed rows.
struct PackedCandidate {
    std::array<float, 16> counts{}; // every zero taken as 0.0001
    float density = 0;
    std::uint32_t mailId = TxtRecords::kNoId;
    std::uint32_t linkId = TxtRecords::kNoId;
};

// Scores rows[0], rows[1], ... against the candidate into `scores`, exactly as
// the record comparison scores their records, and stops at the first row that
// is not packed or after `count` rows. Returns how many rows it scored. It
// never shows a message: packed rows cannot make a comparison fail.
int scorePackedRows(const TxtScanRow* rows, int count, const PackedCandidate& candidate,
                    float* scores);

} // namespace velmora
