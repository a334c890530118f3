#include "analysis/TextSimilarity.h"

#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace velmora {
namespace {

double density(const TxtRec& rec) {
    if (rec.CharCount == std::numeric_limits<std::int32_t>::max())
        throw VbError(VbError::Overflow);
    return double(rec.LineCount) / (double(rec.CharCount) + 1);
}

float halfwayTo100(float score) {
    return float(roundHalfEvenTo2((double(score) + 100) / 2));
}

} // namespace

float comppar(float a, float b) {
    float result = 0;
    try {
        if (a == 0)
            a = 0.0001f;
        if (b == 0)
            b = 0.0001f;
        const float ratio = a <= b ? (a * 100) / b : (b * 100) / a;
        if (!std::isfinite(ratio))
            throw VbError(VbError::Overflow);
        result = float(roundHalfEven(ratio));
        if (a == b)
            result = 100;
    } catch (const VbError& error) {
        showMessage(QStringLiteral("comppar_error: ") + error.description());
    }
    return result;
}

float comparetxt(const TxtRec& stored, const TxtRec& candidate) {
    float score = 0;
    try {
        int total = 0; // at most 16 x 255, well inside 16 bits
        for (int k = 0; k < 16; ++k)
            total += toByte(comppar(float(stored.Counts[k]), float(candidate.Counts[k])));
        const float densityLikeness =
            comppar(float(density(stored)), float(density(candidate)));
        score = float(roundHalfEvenTo2(((total / 16.0) * 2 + densityLikeness) / 3));
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
