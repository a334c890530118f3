#include "analysis/TextSimilarity.h"

#include "analysis/LikenessSum.h"

#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <cstdint>
#include <limits>

namespace velmora {
namespace {

double density(const TxtRec& rec) {
    if (rec.CharCount == std::numeric_limits<std::int32_t>::max())
        throw VbError(VbError::Overflow);
    if (rec.CharCount == -1) // only from a damaged table file
        throw VbError(rec.LineCount == 0 ? VbError::Overflow : VbError::DivisionByZero);
    return double(rec.LineCount) / (double(rec.CharCount) + 1);
}

float halfwayTo100(float score) {
    return float(roundHalfEvenTo2((double(score) + 100) / 2));
}

} // namespace

float detail::compparFailed() {
    showMessage(QStringLiteral("comppar_error: ") +
                VbError::standardDescription(VbError::Overflow));
    return 0;
}

float comparetxt(const TxtRec& stored, const TxtRec& candidate) {
    float score = 0;
    try {
        // At most 16 x 255, well inside 16 bits.
        std::optional<int> total = likenessSum(stored.Counts.data(), candidate.Counts.data(), 16);
        if (!total) {
            // Some likeness does not fit a byte: find it pair by pair, in order.
            total = 0;
            for (int k = 0; k < 16; ++k)
                *total += toByte(comppar(float(stored.Counts[k]), float(candidate.Counts[k])));
        }
        const float densityLikeness = comppar(float(density(stored)), float(density(candidate)));
        score = float(roundHalfEvenTo2(((*total / 16.0) * 2 + densityLikeness) / 3));
        if (score < 100) {
            if (stored.MailAddr == candidate.MailAddr)
                score = halfwayTo100(score);
            if (stored.LinkHost == candidate.LinkHost)
                score = halfwayTo100(score);
        }
    } catch (const VbError& error) {
        showMessage(QStringLiteral("comparetxt_error: ") + error.description());
    }
    return score;
}

} // namespace velmora
