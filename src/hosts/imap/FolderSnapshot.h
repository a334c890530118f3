#pragma once

#include "hosts/imap/ImapData.h"
#include "hosts/imap/UidSet.h"

#include <QByteArrayList>
#include <QMap>
#include <QString>

namespace velmora::imap {

// What names one message across folders and sessions: its Message-ID, its
// size and its internal date. COPY and MOVE keep all three, so the halves of
// a move carry the same key; a subject rewrite changes the size.
QString messageKey(const QString& messageId, qint64 size, const QDateTime& internalDate);
QString messageKey(const FetchedMessage& message);

// One folder as last seen: its UIDVALIDITY and HIGHESTMODSEQ, and each
// message's key and flags by UID. Saved after every change, so that the next
// start tells what happened while nobody watched, and nothing twice.
struct FolderSnapshot {
    struct Message {
        QString key;
        QByteArrayList flags;
    };

    quint32 uidValidity = 0; // 0: never seen (no baseline yet)
    quint64 highestModSeq = 0;
    // By UID. Change it only through add(), remove() and replace(), which
    // keep `order` in step.
    QMap<quint32, Message> messages;
    // The folder as listed: the order of arrival, except that a message
    // whose subject was rewritten keeps its place under its new UID, as a
    // saved message keeps its place in any mail client.
    QList<quint32> order;

    UidSet uids() const;
    quint32 largestUid() const { return messages.isEmpty() ? 0 : messages.lastKey(); }
    // Listed last. A UID already listed only has its message replaced.
    void add(quint32 uid, const Message& message) { insert(order.size(), uid, message); }
    // Listed at `at` (from 0, at most the count).
    void insert(qsizetype at, quint32 uid, const Message& message);
    // Returns where the UID was listed, or -1.
    qsizetype remove(quint32 uid);
    // A rewritten message: `newUid` takes the place of `oldUid`, or, when
    // that is gone already, the place `oldAt` it was removed from (-1:
    // unknown, listed last). A `newUid` listed already is moved there.
    // Returns the index where `newUid` was inserted, or -1 when it simply
    // took the old UID's place.
    qsizetype replace(quint32 oldUid, quint32 newUid, const Message& message, qsizetype oldAt);

    // Reads a saved snapshot. A missing file is an empty snapshot; a damaged
    // one is an error naming the file and line, and the caller starts a new
    // baseline rather than replaying from something wrong.
    static FolderSnapshot load(const QString& path, QString* error);
    // Writes the snapshot whole to a new file and renames it over the old
    // one, so a crash leaves either the old or the new snapshot, never half.
    // Returns an error naming the file, or nothing.
    QString save(const QString& path) const;
};

} // namespace velmora::imap
