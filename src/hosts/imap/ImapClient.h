#pragma once

#include "hosts/imap/ImapConnection.h"
#include "hosts/imap/ImapData.h"
#include "hosts/imap/UidSet.h"

#include <QByteArrayList>
#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace velmora::imap {

// What SELECT or EXAMINE told about the folder now selected.
struct SelectedMailbox {
    quint32 exists = 0;
    quint32 uidValidity = 0;
    quint32 uidNext = 0;
    std::optional<quint64> highestModSeq; // unset with [NOMODSEQ] or without CONDSTORE
    bool readOnly = false;
    QByteArrayList flags;
    QByteArrayList permanentFlags;
    // With QRESYNC: what was expunged since the state given to select(), and
    // the messages whose flags changed since then.
    UidSet vanished;
    QList<FetchedMessage> changed;
};

// The mailbox operations a host needs, over an open, logged-in connection,
// by UID throughout. Every callback follows ImapConnection's contract (once,
// later, on the event loop) and gets the command's result beside the data
// read from it; the data is empty or default when the result is not Ok.
// The client does not own the connection, which must outlive it.
class ImapClient {
public:
    template <class T>
    using Then = std::function<void(const ImapResult&, const T&)>;
    using Done = ImapConnection::Done;

    explicit ImapClient(ImapConnection& connection) : m_connection(connection) {}

    ImapConnection& connection() { return m_connection; }

    // ENABLE of those of `extensions` the server offers (CONDSTORE, QRESYNC);
    // gets the ones it enabled. Asking for none the server has is Ok.
    void enable(const QByteArrayList& extensions, Then<QByteArrayList> done);
    bool qresyncEnabled() const { return m_qresync; }
    bool condstoreEnabled() const { return m_condstore || m_qresync; }

    // Every folder, with its special-use attributes where the server has
    // them (LIST … RETURN (SPECIAL-USE)); findSpecialFolders() reads Junk,
    // Sent and Trash from the answer, by name when the server marks none.
    void listFolders(Then<QList<MailboxEntry>> done);
    // Counts and UIDs of a folder without selecting it (HIGHESTMODSEQ too
    // when the server has CONDSTORE).
    void status(const QString& mailbox, Then<MailboxStatus> done);

    // The state known from an earlier session, for QRESYNC.
    struct KnownState {
        quint32 uidValidity = 0;
        quint64 highestModSeq = 0;
        UidSet uids; // the UIDs known; may be empty
    };
    // SELECT (or EXAMINE when `readOnly`); with QRESYNC enabled and `known`
    // given, the answer says what vanished and changed since.
    void select(const QString& mailbox, bool readOnly, std::optional<KnownState> known,
                Then<SelectedMailbox> done);
    // UID SEARCH ALL of the selected folder.
    void searchAll(Then<UidSet> done);
    // UID, FLAGS, RFC822.SIZE, INTERNALDATE and the Message-ID header: what
    // names a message across folders. One entry per message found, by UID.
    void fetchKeys(const UidSet& uids, Then<QList<FetchedMessage>> done);
    // Whole messages (BODY.PEEK[], which leaves \Seen as it is) with their
    // keys. Each message is held in memory; fetch large ones one at a time.
    void fetchMessages(const UidSet& uids, Then<QList<FetchedMessage>> done);
    // Moves messages to `target`: UID MOVE, else UID COPY, UID STORE
    // +FLAGS.SILENT (\Deleted) and UID EXPUNGE of exactly those UIDs. A
    // server with neither MOVE nor UIDPLUS is refused, since its only
    // EXPUNGE would also remove messages marked deleted by someone else.
    // Gets the new UIDs when the server tells them (COPYUID).
    void move(const UidSet& uids, const QString& target, Then<std::optional<CopyUid>> done);
    // APPEND with flags and an internal date (the message's own time; may be
    // invalid to let the server choose). Gets the new UID with UIDPLUS.
    void append(const QString& mailbox, const QByteArray& message, const QByteArrayList& flags,
                const QDateTime& internalDate, Then<std::optional<AppendUid>> done);
    enum class FlagChange { Add, Remove, Replace };
    // UID STORE ±FLAGS.SILENT: the new flags are not sent back.
    void store(const UidSet& uids, FlagChange change, const QByteArrayList& flags, Done done);
    // UID EXPUNGE of these UIDs only; refused without UIDPLUS.
    void expunge(const UidSet& uids, Done done);

private:
    void fetch(const UidSet& uids, QByteArrayView items, Then<QList<FetchedMessage>> done);
    template <class T>
    void refuse(Then<T> done, const QString& reason);

    ImapConnection& m_connection;
    bool m_qresync = false;
    bool m_condstore = false;
};

} // namespace velmora::imap
