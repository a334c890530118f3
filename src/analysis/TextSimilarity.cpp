#include "analysis/TextSimilarity.h"

#include "analysis/LikenessSum.h"
#include "analysis/PackedScores.h"

#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <algorithm>
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
        // The stored record's density first: when both fail, its error is the one told.
        const float storedDensity = float(density(stored));
        const float densityLikeness = comppar(storedDensity, float(density(candidate)));
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

TxtTableScan::TxtTableScan(const TxtRecords& table, const TxtRec& candidate)
    : m_table(table), m_candidate(candidate) {
    for (std::size_t k = 0; k < candidate.Counts.size(); ++k) {
        if (candidate.Counts[k] < 0)
            m_packed = false;
        m_prepared.counts[k] = candidate.Counts[k] == 0 ? 0.0001f : float(candidate.Counts[k]);
    }
    if (candidate.CharCount == std::numeric_limits<std::int32_t>::max() ||
        candidate.CharCount == -1)
        m_packed = false;
    else
        m_prepared.density = float(double(candidate.LineCount) / (double(candidate.CharCount) + 1));
    takeIds();
}

void TxtTableScan::takeIds() {
    m_prepared.mailId = m_table.idOf(m_candidate.MailAddr);
    m_prepared.linkId = m_table.idOf(m_candidate.LinkHost);
    m_generation = m_table.rowGeneration();
}

float TxtTableScan::score(int index) {
    const std::vector<TxtScanRow>& rows = m_table.scanRows();
    if (m_generation != m_table.rowGeneration()) {
        takeIds();
        m_batchEnd = 0;
    }
    if (index >= m_batchStart && index < m_batchEnd)
        return m_batch[std::size_t(index - m_batchStart)];
    if (!m_packed || !rows[std::size_t(index)].packed)
        return comparetxt(m_table[index], m_candidate);
    // Rows are scored a batch at a time, in one tight loop; a scan that stops
    // at its first hit wastes at most one batch.
    const int wanted = std::min<int>(kBatch, m_table.upperBound() - index + 1);
    m_batchStart = index;
    m_batchEnd =
        index + scorePackedRows(&rows[std::size_t(index)], wanted, m_prepared, m_batch.data());
    return m_batch[0];
}

} // namespace velmora
