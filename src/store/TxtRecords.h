#pragma once

#include "store/SlotArray.h"
#include "store/TxtRec.h"

#include <QHash>
#include <QString>

#include <array>
#include <cstdint>
#include <vector>

namespace velmora {

// What a scan of the text table reads of one record, packed for it: the
// letter counts in 16 bits, the lines-per-letter density as the comparison
// takes it, and the mail address and link as numbers that are equal exactly
// when the strings are.
struct TxtScanRow {
    std::array<std::uint16_t, 16> counts{};
    float density = 0;
    std::uint32_t mailId = 0;
    std::uint32_t linkId = 0;
    // False when a count does not fit 16 bits or is negative, or the letter
    // total makes the density fail: such a record is compared field by field.
    bool packed = false;
};

// The text table: slot 0 unused, records from slot 1, at most 32,767 of them
// (see SlotArray). Beside the records it keeps their scan rows and their
// senders as numbers, so that scans and sender look-ups run over small
// contiguous arrays instead of the records and their strings.
//
// A row is brought up to date lazily: every way of changing a record marks
// its row stale (a non-const element access counts as a change), and the next
// scanRows() or firstIndexOfSender() recomputes the stale rows. Read through a
// const reference where nothing is changed, or rows get recomputed for nothing.
class TxtRecords {
public:
    static constexpr int kMaxEntries = SlotArray<TxtRec>::kMaxEntries;

    TxtRecords();

    int upperBound() const { return m_records.upperBound(); }
    bool isEmpty() const { return m_records.isEmpty(); }
    bool isFull() const { return m_records.isFull(); }

    const TxtRec& operator[](int index) const { return m_records[index]; }
    TxtRec& operator[](int index) {
        markStale(index);
        return m_records[index];
    }

    void reset();
    void append(TxtRec value);
    void insertAt(int index, TxtRec value);
    void removeLast();
    void reserve(int entries);

    const TxtRec* begin() const { return m_records.begin(); }
    const TxtRec* end() const { return m_records.end(); }
    TxtRec* begin();
    TxtRec* end() { return m_records.end(); }

    bool operator==(const TxtRecords& other) const { return m_records == other.m_records; }

    // The rows, slot 0 unused, up to date with the records.
    const std::vector<TxtScanRow>& scanRows() const {
        if (m_staleCount > 0)
            refresh();
        return m_rows;
    }
    // Changes whenever rows were recomputed, and with them possibly the
    // numbers given to strings.
    std::uint64_t rowGeneration() const { return m_generation; }

    // The number standing for `text` in the rows, or kNoId when no record
    // holds it (then it equals no record's field).
    std::uint32_t idOf(const QString& text) const;
    static constexpr std::uint32_t kNoId = 0xFFFFFFFF;

    // The first record whose sender is `sender`, or 0: what a walk from slot 1
    // comparing senders finds.
    int firstIndexOfSender(const QString& sender) const;

private:
    void markStale(int index) {
        if (!m_stale[static_cast<std::size_t>(index)]) {
            m_stale[static_cast<std::size_t>(index)] = 1;
            ++m_staleCount;
        }
    }
    void refresh() const;
    std::uint32_t intern(const QString& text) const;

    SlotArray<TxtRec> m_records;
    mutable std::vector<TxtScanRow> m_rows;
    mutable std::vector<std::uint32_t> m_senderIds;
    mutable std::vector<std::uint8_t> m_stale;
    mutable int m_staleCount = 0;
    mutable std::uint64_t m_generation = 0;
    mutable QHash<QString, std::uint32_t> m_ids;
};

} // namespace velmora
