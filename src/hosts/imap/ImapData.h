#pragma once

#include "hosts/imap/ImapResponse.h"
#include "hosts/imap/UidSet.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <optional>

// What the host reads out of server responses, each from the response that
// carries it. Every reader returns nothing for a response of another kind or
// one too broken to use, so a caller can run all of them over the untagged
// responses of a command and keep what fits.
namespace velmora::imap {

// `* CAPABILITY …`, `[CAPABILITY …]` and `* ENABLED …`: upper-case names.
std::optional<QSet<QByteArray>> readCapabilities(const ImapResponse& response);
std::optional<QByteArrayList> readEnabled(const ImapResponse& response);

// `* LIST (\HasNoChildren \Junk) "." "INBOX.Junk"`.
struct MailboxEntry {
    QByteArrayList attributes; // as sent: `\Junk`, `\Noselect`, `\HasChildren`
    QChar delimiter;           // null when the server has no hierarchy (NIL)
    QString name;              // decoded from modified UTF-7
    QByteArray wireName;       // exactly as the server sent it

    bool has(QByteArrayView attribute) const; // without case
    bool selectable() const;                  // neither \Noselect nor \NonExistent
    QString leafName() const;                 // the last part below the delimiter
};
std::optional<MailboxEntry> readList(const ImapResponse& response);

// `* STATUS Junk (MESSAGES 3 UIDNEXT 9 UIDVALIDITY 7 UNSEEN 1 HIGHESTMODSEQ 22)`.
struct MailboxStatus {
    QString mailbox;
    std::optional<quint32> messages;
    std::optional<quint32> uidNext;
    std::optional<quint32> uidValidity;
    std::optional<quint32> unseen;
    std::optional<quint64> highestModSeq;
};
std::optional<MailboxStatus> readStatus(const ImapResponse& response);

// `* 4 FETCH (UID 12 FLAGS (\Seen) RFC822.SIZE 2310 …)`: what was asked for.
struct FetchedMessage {
    quint32 sequence = 0;
    quint32 uid = 0; // 0 when the response has none (a flag change without UID)
    std::optional<QByteArrayList> flags;
    std::optional<qint64> size;
    QDateTime internalDate; // invalid when not sent; keeps the server's offset
    std::optional<quint64> modSeq;
    std::optional<QByteArray> body;         // BODY[] (also BINARY[]): the whole message
    std::optional<QByteArray> headerFields; // BODY[HEADER.FIELDS (…)]
    QHash<QByteArray, QByteArray> sections; // every BODY[…], keyed `BODY[…]`, upper case

    bool hasFlag(QByteArrayView flag) const; // without case
};
std::optional<FetchedMessage> readFetch(const ImapResponse& response);

// `* 3 EXPUNGE`: the sequence number gone.
std::optional<quint32> readExpunge(const ImapResponse& response);
// `* 17 EXISTS`.
std::optional<quint32> readExists(const ImapResponse& response);

// `* VANISHED 4:6` (expunged now) and `* VANISHED (EARLIER) 4:6` (expunged
// while away, the answer to SELECT … QRESYNC or UID FETCH … VANISHED).
struct Vanished {
    bool earlier = false;
    UidSet uids;
};
std::optional<Vanished> readVanished(const ImapResponse& response);

// `* SEARCH 2 5 9` or `* ESEARCH (TAG "A4") UID ALL 2,5:9`: the numbers found.
std::optional<UidSet> readSearch(const ImapResponse& response);

// `[APPENDUID 7 12]`: the folder's UIDVALIDITY and the new message's UID.
struct AppendUid {
    quint32 uidValidity = 0;
    quint32 uid = 0;
};
std::optional<AppendUid> readAppendUid(const ResponseCode& code);

// `[COPYUID 7 3:4 20:21]`: source and destination UIDs, pair by pair.
struct CopyUid {
    quint32 uidValidity = 0;
    QList<std::pair<quint32, quint32>> moved; // (source UID, destination UID)
};
std::optional<CopyUid> readCopyUid(const ResponseCode& code);

// `17-Jul-1996 02:44:25 -0700` (the day may start with a space), and back.
QDateTime readInternalDate(QByteArrayView text);
QByteArray writeInternalDate(const QDateTime& when);

// The Message-ID of a header block (as fetched by HEADER.FIELDS), unfolded,
// angle brackets kept; empty when there is none.
QString messageIdOf(QByteArrayView headers);

} // namespace velmora::imap
