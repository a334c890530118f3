#include "analysis/PackedScores.h"

#include "analysis/LikenessSum.h"
#include "analysis/TextSimilarity.h"

#include <algorithm>

namespace velmora {
namespace {

// The score depends on the likeness sum and the density likeness only through
// total + 8 * density likeness (the sum is taken over 16 and doubled, and the
// density likeness added, all exactly; only the third is rounded), and on how
// many of the address and the link agree. Computed once with the formula
// itself, for every sum and every density likeness from 0 to 100.
constexpr int kMaxWeightedSum = 16 * 100 + 8 * 100;

float formulaScore(int total, float densityLikeness, int bonuses) {
    float score = float(roundHalfEvenTo2(((total / 16.0) * 2 + densityLikeness) / 3));
    if (score < 100) {
        for (int b = 0; b < bonuses; ++b)
            score = halfwayTo100(score);
    }
    return score;
}

using ScoreTable = std::array<std::array<float, 3>, kMaxWeightedSum + 1>;

const ScoreTable& scoreTable() {
    static const ScoreTable table = [] {
        ScoreTable t{};
        for (int weighted = 0; weighted <= kMaxWeightedSum; ++weighted) {
            // Any split of the weighted sum gives the same score; take one.
            const int densityLikeness = std::min(weighted / 8, 100);
            const int total = weighted - 8 * densityLikeness;
            for (int bonuses = 0; bonuses < 3; ++bonuses)
                t[std::size_t(weighted)][std::size_t(bonuses)] =
                    formulaScore(total, float(densityLikeness), bonuses);
        }
        return t;
    }();
    return table;
}

// comppar of two densities, without branches: the choice of which density is
// the smaller one is as unpredictable as the mail. Packed densities are
// finite, so the check for a failed quotient is not needed.
inline float densityLikeness(float a, float b) {
    a = a == 0 ? 0.0001f : a;
    b = b == 0 ? 0.0001f : b;
    const float ratio = (std::min(a, b) * 100) / std::max(a, b);
    const float rounded = float(roundHalfEven(double(ratio)));
    return a == b ? 100.0f : rounded;
}

} // namespace

int scorePackedRows(const TxtScanRow* rows, int count, const PackedCandidate& candidate,
                    float* scores) {
    const ScoreTable& table = scoreTable();
    int n = 0;
    for (; n < count && rows[n].packed; ++n) {
        const TxtScanRow& row = rows[n];
        const int total = likenessSum16(row.counts.data(), candidate.counts.data());
        const float densityLikeness = velmora::densityLikeness(row.density, candidate.density);
        const int bonuses =
            int(row.mailId == candidate.mailId) + int(row.linkId == candidate.linkId);
        // Negative densities (from damaged records) can give likenesses beyond 100.
        scores[n] = densityLikeness >= 0 && densityLikeness <= 100
                        ? table[std::size_t(total + 8 * int(densityLikeness))][std::size_t(bonuses)]
                        : formulaScore(total, densityLikeness, bonuses);
    }
    return n;
}

} // namespace velmora
