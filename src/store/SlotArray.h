#pragma once

#include "base/VbError.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace velmora {

// A growable array used from index 1: slot 0 is a permanent placeholder that is
// never used as an entry, so the upper bound is also the number of entries and
// an empty array has upper bound 0. Lists and tables of the data store share
// this shape because their files and their callers count entries from 1.
//
// Positions are 16-bit everywhere the array is read back (the file readers,
// the searches), so it holds at most 32,767 entries: growing a full array
// throws VbError "Overflow" saying so, and leaves it as it was. Nothing grows
// a table past what its file can give back at the next start.
template <typename T>
class SlotArray {
public:
    static constexpr int kMaxEntries = 32767;

    SlotArray() : m_slots(1) {}

    int upperBound() const { return static_cast<int>(m_slots.size()) - 1; }
    bool isEmpty() const { return m_slots.size() <= 1; }

    T& operator[](int index) { return m_slots[static_cast<std::size_t>(index)]; }
    const T& operator[](int index) const { return m_slots[static_cast<std::size_t>(index)]; }

    // Back to the single placeholder slot; the previous content is discarded.
    void reset() {
        m_slots.clear();
        m_slots.resize(1);
    }

    bool isFull() const { return upperBound() >= kMaxEntries; }

    // Grows by one slot and stores `value` in the new last slot.
    void append(T value) {
        checkRoom();
        m_slots.push_back(std::move(value));
    }

    // Grows by one slot, moves the entries from `index` to the old last one up
    // by one place and stores `value` at `index` (1 or more).
    void insertAt(int index, T value) {
        checkRoom();
        m_slots.insert(m_slots.begin() + index, std::move(value));
    }

    // Shrinks by one slot, dropping the last entry (never the placeholder).
    void removeLast() {
        if (m_slots.size() > 1)
            m_slots.pop_back();
    }

    void reserve(int entries) { m_slots.reserve(static_cast<std::size_t>(entries) + 1); }

    // The entries, slot 1 to the upper bound.
    const T* begin() const { return m_slots.data() + 1; }
    const T* end() const { return m_slots.data() + m_slots.size(); }
    T* begin() { return m_slots.data() + 1; }
    T* end() { return m_slots.data() + m_slots.size(); }

    bool operator==(const SlotArray&) const = default;

private:
    void checkRoom() const {
        if (isFull())
            throw VbError(VbError::Overflow, QStringLiteral("the table is full: 32767 entries"));
    }

    std::vector<T> m_slots;
};

} // namespace velmora
