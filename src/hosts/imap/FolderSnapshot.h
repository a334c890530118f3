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
    QMap<quint32, Message> messages; // by UID, ascending: the order of arrival

    UidSet uids() const;
    quint32 largestUid() const { return messages.isEmpty() ? 0 : messages.lastKey(); }

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
