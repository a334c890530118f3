#include "store/TxtRecords.h"

#include <algorithm>
#include <limits>

namespace velmora {
namespace {

TxtScanRow packedRow(const TxtRec& rec) {
    TxtScanRow row;
    row.packed = true;
    for (std::size_t k = 0; k < rec.Counts.size(); ++k) {
        if (rec.Counts[k] < 0 || rec.Counts[k] > 0xFFFF)
            row.packed = false;
        else
            row.counts[k] = static_cast<std::uint16_t>(rec.Counts[k]);
    }
    // These totals make the density fail, with a message the comparison gives.
    if (rec.CharCount == std::numeric_limits<std::int32_t>::max() || rec.CharCount == -1)
        row.packed = false;
    else
        row.density = float(double(rec.LineCount) / (double(rec.CharCount) + 1));
    return row;
}

} // namespace

TxtRecords::TxtRecords() : m_rows(1), m_senderIds(1), m_stale(1) {}

void TxtRecords::reset() {
    m_records.reset();
    m_rows.assign(1, TxtScanRow());
    m_senderIds.assign(1, 0);
    m_stale.assign(1, 0);
    m_staleCount = 0;
    m_ids.clear();
    ++m_generation;
}

void TxtRecords::append(TxtRec value) {
    m_records.append(std::move(value));
    m_rows.emplace_back();
    m_senderIds.push_back(0);
    m_stale.push_back(1);
    ++m_staleCount;
}

void TxtRecords::insertAt(int index, TxtRec value) {
    m_records.insertAt(index, std::move(value));
    const auto at = static_cast<std::ptrdiff_t>(index);
    m_rows.emplace(m_rows.begin() + at);
    m_senderIds.insert(m_senderIds.begin() + at, 0);
    m_stale.insert(m_stale.begin() + at, 1);
    ++m_staleCount;
}

void TxtRecords::removeLast() {
    if (isEmpty())
        return;
    m_records.removeLast();
    if (m_stale.back())
        --m_staleCount;
    m_rows.pop_back();
    m_senderIds.pop_back();
    m_stale.pop_back();
    ++m_generation;
}

void TxtRecords::reserve(int entries) {
    m_records.reserve(entries);
    const auto slots = static_cast<std::size_t>(entries) + 1;
    m_rows.reserve(slots);
    m_senderIds.reserve(slots);
    m_stale.reserve(slots);
}

TxtRec* TxtRecords::begin() {
    for (int i = 1; i <= upperBound(); ++i)
        markStale(i);
    return m_records.begin();
}

std::uint32_t TxtRecords::intern(const QString& text) const {
    const auto found = m_ids.constFind(text);
    if (found != m_ids.cend())
        return found.value();
    const auto id = static_cast<std::uint32_t>(m_ids.size());
    m_ids.insert(text, id);
    return id;
}

std::uint32_t TxtRecords::idOf(const QString& text) const {
    scanRows();
    return m_ids.value(text, kNoId);
}

void TxtRecords::refresh() const {
    for (int i = 1; i <= upperBound(); ++i) {
        const auto slot = static_cast<std::size_t>(i);
        if (!m_stale[slot])
            continue;
        const TxtRec& rec = m_records[i];
        TxtScanRow row = packedRow(rec);
        row.mailId = intern(rec.MailAddr);
        row.linkId = intern(rec.LinkHost);
        m_rows[slot] = row;
        m_senderIds[slot] = intern(rec.Sender);
        m_stale[slot] = 0;
    }
    m_staleCount = 0;
    ++m_generation;
}

int TxtRecords::firstIndexOfSender(const QString& sender) const {
    const std::uint32_t id = idOf(sender);
    if (id == kNoId)
        return 0;
    const auto found = std::find(m_senderIds.begin() + 1, m_senderIds.end(), id);
    return found == m_senderIds.end() ? 0 : static_cast<int>(found - m_senderIds.begin());
}

} // namespace velmora
