#pragma once

#include "analysis/PackedScores.h"
#include "base/Rounding.h"
#include "store/TxtRecords.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace velmora {

namespace detail {
// Reports a failed comparison ("comppar_error: Overflow") and returns 0.
float compparFailed();
} // namespace detail

// How close the smaller of two quantities is to the larger, in whole percent
// (0 to 100 for non-negative inputs; symmetric). A zero counts as 0.0001, so
// two zeros give 100 and a zero against 1 or more gives 0. The quotient is
// taken in single precision and rounded half to even (1 against 8 gives 12).
// Inline: it runs seventeen times per record when a table is scanned.
inline float comppar(float a, float b) {
    if (a == 0)
        a = 0.0001f;
    if (b == 0)
        b = 0.0001f;
    const float ratio = a <= b ? (a * 100) / b : (b * 100) / a;
    if (!std::isfinite(ratio))
        return detail::compparFailed();
    if (a == b)
        return 100;
    return float(roundHalfEven(ratio));
}

// Likeness of two text records in percent, with two decimals: the sixteen
// letter counts weigh twice as much as the lines-per-letter density; below 100
// an equal mail address, then an equal link, each halve the distance to 100.
// Intended: two empty addresses or links are equal and earn the bonus.
float comparetxt(const TxtRec& stored, const TxtRec& candidate);

// One candidate scored against the records of a text table, from the table's
// scan rows: score(i) gives exactly what comparetxt(table[i], candidate) gives,
// messages included (records that do not pack are compared field by field).
// The table may change between calls, as it may while a scan waits on a
// message; the candidate must not.
class TxtTableScan {
public:
    TxtTableScan(const TxtRecords& table, const TxtRec& candidate);
    float score(int index);

private:
    void takeIds();

    static constexpr int kBatch = 32;

    const TxtRecords& m_table;
    const TxtRec& m_candidate;
    bool m_packed = true;
    PackedCandidate m_prepared;
    std::uint64_t m_generation = 0;
    std::array<float, kBatch> m_batch{};
    int m_batchStart = 0;
    int m_batchEnd = 0; // scores held for m_batchStart up to here
};

} // namespace velmora
