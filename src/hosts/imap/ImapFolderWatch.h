#pragma once

#include "hosts/imap/FolderSnapshot.h"
#include "hosts/imap/ImapAccount.h"
#include "hosts/imap/ImapClient.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

namespace velmora::imap {

class ImapFolder;

// Watches one folder over a connection of its own, with IDLE, and keeps the
// folder's snapshot equal to what is on the server:
//   - at the start (and after every reconnect) it replays what happened
//     since the snapshot: from QRESYNC's VANISHED (EARLIER) and the UIDs
//     above the largest known where the server offers QRESYNC, else from a
//     diff of all UIDs; a new UIDVALIDITY is a new baseline, told to nobody;
//   - while idling, every EXISTS, EXPUNGE or VANISHED leads to the same
//     catching up, and flag changes are noted;
//   - a dropped connection is opened again after 1 s, 2 s, 4 s ... up to
//     the account's maximum; a folder that can no longer be selected (it was
//     deleted) stops the watch, told once;
//   - a message that cannot be fetched (the server says NO, or the
//     connection drops in the middle) is taken off the snapshot and found
//     again by the next diff of the folder's UIDs: after the reconnect, or
//     after 1 s, 2 s, 4 s ... up to the account's maximum. Until the next
//     reconnect the folder is diffed rather than caught up from QRESYNC,
//     which asks only above the largest UID known, and a snapshot saved
//     meanwhile says so (no HIGHESTMODSEQ), so that the next start diffs
//     too. Each failure is logged with the folder and UID.
// What it finds is handed to the listener, messages that arrived fetched
// whole (BODY.PEEK[]), in batches.
class ImapFolderWatch final : public QObject {
public:
    using Vanished = QList<std::pair<quint32, FolderSnapshot::Message>>;
    struct Listener {
        // New messages, already listed in the snapshot, with their keys;
        // returns the UIDs to fetch whole.
        std::function<QList<quint32>(ImapFolder&, const QList<FetchedMessage>&)> appeared;
        std::function<void(ImapFolder&, const Vanished&)> vanished;
        std::function<void(ImapFolder&, const QList<FetchedMessage>&)> fetched;
        // UIDs asked for that did not come. They are taken off the snapshot
        // and come again through appeared() once they can be fetched; `again`
        // says the connection dropped (else the server refused them).
        std::function<void(ImapFolder&, const UidSet&, const QString& why, bool again)> notFetched;
        // The replay after a (re)connect is done; the folder is idling.
        std::function<void(ImapFolder&)> caughtUp;
        std::function<void(const QString&)> log;
    };

    ImapFolderWatch(const ImapAccount& account, ImapFolder& folder, Listener listener);
    ~ImapFolderWatch() override;

    void start();
    ImapFolder& folder() const { return m_folder; }
    bool caughtUp() const { return m_caughtUp; }
    bool stopped() const { return m_stopped; }

private:
    void connectNow();
    void onLost(const QString& reason);
    void select();
    void baseline(quint32 uidValidity, quint64 highestModSeq, bool renumbered);
    void sync();
    void syncByDiff();
    void syncSince(quint32 largest);
    void takeNew(const QList<FetchedMessage>& keys);
    void takeVanished(const UidSet& uids);
    void fetchBodies();
    void fetchLater(const UidSet& uids, const QString& why, bool connectionLost);
    void finishSync();
    void resumeIdle();
    void scheduleSync();
    void onUpdate(const ImapResponse& response);
    void noteUpdates(const ImapResult& result);
    void log(const QString& line) const;
    // A callback of the connection `generation` is stale once it was replaced.
    bool stale(quint64 generation) const { return generation != m_generation; }

    const ImapAccount& m_account;
    ImapFolder& m_folder;
    Listener m_listener;
    std::unique_ptr<ImapConnection> m_connection;
    std::unique_ptr<ImapClient> m_client;
    quint64 m_generation = 0;
    QTimer m_reconnect;
    int m_backoffMs = 1000;
    QTimer m_refetch; // the next diff after a message could not be fetched
    int m_refetchMs = 1000;
    bool m_ready = false;    // selected
    bool m_caughtUp = false; // the first replay is done
    bool m_stopped = false;  // no longer watched
    bool m_idling = false;
    bool m_syncing = false;
    bool m_syncAgain = false;
    bool m_syncQueued = false;
    bool m_qresync = false;
    UidSet m_pendingVanished; // told by VANISHED while idling
    QList<quint32> m_toFetch;
    bool m_fetching = false;
    QString m_lastProblem;
};

} // namespace velmora::imap
