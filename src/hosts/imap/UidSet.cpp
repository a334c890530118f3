#include "hosts/imap/UidSet.h"

#include <algorithm>

namespace velmora::imap {

namespace {

std::optional<quint32> readUid(QByteArrayView text, quint32 star) {
    if (text == "*")
        return star;
    if (text.isEmpty() || text.size() > 10)
        return std::nullopt;
    for (const char c : text)
        if (c < '0' || c > '9')
            return std::nullopt;
    const quint64 value = QByteArray(text.data(), text.size()).toULongLong();
    if (value == 0 || value > 0xffffffffu)
        return std::nullopt;
    return static_cast<quint32>(value);
}

// Calls `each(first, last)` for every item of `text`, low end first.
template <class Each>
bool forEachRange(QByteArrayView text, quint32 star, Each each) {
    if (text.isEmpty())
        return false;
    for (const QByteArrayView item : QByteArray(text.data(), text.size()).split(',')) {
        const qsizetype colon = item.indexOf(':');
        const auto first = readUid(colon < 0 ? item : item.first(colon), star);
        const auto last = colon < 0 ? first : readUid(item.sliced(colon + 1), star);
        if (!first || !last)
            return false;
        each(qMin(*first, *last), qMax(*first, *last));
    }
    return true;
}

} // namespace

UidSet::UidSet(std::initializer_list<quint32> uids) {
    for (const quint32 uid : uids)
        add(uid);
}

UidSet UidSet::fromList(const QList<quint32>& uids) {
    UidSet set;
    for (const quint32 uid : uids)
        set.add(uid);
    return set;
}

std::optional<UidSet> UidSet::parse(QByteArrayView text, quint32 star) {
    UidSet set;
    if (!forEachRange(text, star, [&](quint32 first, quint32 last) { set.add(first, last); }))
        return std::nullopt;
    return set;
}

std::optional<QList<quint32>> UidSet::parseInOrder(QByteArrayView text, quint32 star) {
    QList<quint32> uids;
    bool tooMany = false;
    const bool ok = forEachRange(text, star, [&](quint32 first, quint32 last) {
        // A COPYUID answer names only what was copied; a range of millions is
        // not one, and would only cost memory.
        if (tooMany || uids.size() + (quint64(last) - first) > 10'000'000) {
            tooMany = true;
            return;
        }
        for (quint64 uid = first; uid <= last; ++uid)
            uids.append(static_cast<quint32>(uid));
    });
    if (!ok || tooMany)
        return std::nullopt;
    return uids;
}

void UidSet::add(quint32 first, quint32 last) {
    if (first > last)
        std::swap(first, last);
    // The fast path: UIDs usually come in ascending order.
    if (m_ranges.isEmpty() || quint64(m_ranges.last().last) + 1 < first) {
        m_ranges.append({first, last});
        return;
    }
    // Find the first range that ends at or after first - 1, then merge every
    // range that starts at or before last + 1.
    auto it =
        std::lower_bound(m_ranges.begin(), m_ranges.end(), first,
                         [](const Range& r, quint32 uid) { return quint64(r.last) + 1 < uid; });
    auto end = it;
    quint32 low = first;
    quint32 high = last;
    while (end != m_ranges.end() && quint64(end->first) <= quint64(last) + 1) {
        low = qMin(low, end->first);
        high = qMax(high, end->last);
        ++end;
    }
    const qsizetype at = it - m_ranges.begin();
    m_ranges.erase(it, end);
    m_ranges.insert(at, {low, high});
}

void UidSet::add(const UidSet& other) {
    for (const Range& range : other.m_ranges)
        add(range.first, range.last);
}

void UidSet::remove(const UidSet& other) {
    QList<Range> kept;
    for (Range range : std::as_const(m_ranges)) {
        for (const Range& cut : other.m_ranges) {
            if (cut.last < range.first || cut.first > range.last)
                continue;
            if (cut.first > range.first)
                kept.append({range.first, cut.first - 1});
            if (cut.last >= range.last) {
                range.first = 1;
                range.last = 0; // nothing left of this range
                break;
            }
            range.first = cut.last + 1;
        }
        if (range.first <= range.last)
            kept.append(range);
    }
    m_ranges = kept;
}

bool UidSet::contains(quint32 uid) const {
    const auto it = std::lower_bound(m_ranges.begin(), m_ranges.end(), uid,
                                     [](const Range& r, quint32 u) { return r.last < u; });
    return it != m_ranges.end() && it->first <= uid;
}

quint64 UidSet::size() const {
    quint64 count = 0;
    for (const Range& range : m_ranges)
        count += quint64(range.last) - range.first + 1;
    return count;
}

QList<quint32> UidSet::toList() const {
    QList<quint32> uids;
    for (const Range& range : m_ranges)
        for (quint64 uid = range.first; uid <= range.last; ++uid)
            uids.append(static_cast<quint32>(uid));
    return uids;
}

QByteArray UidSet::toImap() const {
    QByteArrayList items;
    for (const Range& range : m_ranges)
        items.append(range.first == range.last
                         ? QByteArray::number(range.first)
                         : QByteArray::number(range.first) + ':' + QByteArray::number(range.last));
    return items.join(',');
}

} // namespace velmora::imap
