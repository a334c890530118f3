#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QtGlobal>

#include <optional>

namespace velmora::imap {

// A set of message UIDs kept as sorted, merged ranges, so that a folder of
// 100,000 messages costs a few ranges, and written the short IMAP way
// (`1:4,7,9:12`).
class UidSet {
public:
    struct Range {
        quint32 first;
        quint32 last;
        bool operator==(const Range&) const = default;
    };

    UidSet() = default;
    UidSet(std::initializer_list<quint32> uids);
    static UidSet fromList(const QList<quint32>& uids);
    // Reads `1:4,7,12:9`; `*` stands for `star` (the largest UID in the
    // folder when known). Nothing when the text is not a set.
    static std::optional<UidSet> parse(QByteArrayView text, quint32 star = 0xffffffffu);
    // The UIDs of `text` in the order written, repeated ones kept: COPYUID
    // pairs its two sets position by position.
    static std::optional<QList<quint32>> parseInOrder(QByteArrayView text,
                                                      quint32 star = 0xffffffffu);

    void add(quint32 uid) { add(uid, uid); }
    void add(quint32 first, quint32 last);
    void add(const UidSet& other);
    void remove(const UidSet& other);
    bool contains(quint32 uid) const;

    bool isEmpty() const { return m_ranges.isEmpty(); }
    quint64 size() const;
    const QList<Range>& ranges() const { return m_ranges; }
    QList<quint32> toList() const;
    // `1:4,7`; empty for an empty set (which no command accepts).
    QByteArray toImap() const;

    bool operator==(const UidSet&) const = default;

private:
    QList<Range> m_ranges; // sorted, not overlapping, not touching
};

} // namespace velmora::imap
