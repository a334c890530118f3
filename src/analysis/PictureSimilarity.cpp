#include "analysis/PictureSimilarity.h"

#include "analysis/LikenessSum.h"
#include "analysis/TextSimilarity.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

namespace velmora {

float comparepics(const PicRec& entry, const PicRec& fingerprint) {
    float result = 0;
    try {
        std::optional<int> total = likenessSum(entry.Values.data(), fingerprint.Values.data(), 20);
        if (!total) {
            // Some likeness does not fit a byte: find it band by band, in order.
            std::int16_t sum = 0;
            for (int k = 0; k < 20; ++k) {
                const std::uint8_t band =
                    toByte(comppar(float(entry.Values[k]), float(fingerprint.Values[k])));
                sum = checkedInt16(sum + band);
            }
            total = sum;
        }
        const float size = comppar(float(entry.Size), float(fingerprint.Size));
        result = float(roundHalfEvenTo2(((*total / 17.0) + size) / 2));
    } catch (const VbError& error) {
        showMessage(QStringLiteral("comparepics_error: ") + error.description());
    }
    return result;
}

} // namespace velmora
