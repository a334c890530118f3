#pragma once

#include "hosts/events/EventCorrelator.h"
#include "hosts/imap/ImapFolderWatch.h"

#include <QHash>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace velmora::imap {

class ImapApplication;
class ImapItem;

// What other mail clients do on the server, raised as the host surface's
// events, as the Maildir host raises them (see HostApplication.h for their
// order):
//   - the Inbox, Junk and Trash are watched with IDLE, each on a connection
//     of its own; their arrivals and vanishings go through the event
//     correlator, which pairs the halves of a move by message key;
//   - a message that arrives in the Inbox unpaired is new mail: ItemAdd,
//     then NewMailEx for all that arrived together, unless a message of the
//     same key is in another folder; that, and one that arrives unpaired
//     anywhere else, is a copy (or a server-side filter's delivery):
//     BeforeItemCopy, BeforeItemPaste, ItemAdd;
//   - messages moved together are one user action: BeforeMove with them as
//     the explorer's selection, then ItemRemove and ItemAdd for each; a move
//     into Trash is a deletion, whose BeforeMove has nothing selected;
//   - one that vanishes unpaired: BeforeMove with nothing selected, then
//     ItemRemove on its folder (see UserActionEvents for why);
//   - every other folder is asked with STATUS now and then (and at once
//     when a watched folder's news may have its other half there), and its
//     changes go through the correlator too: a move to or from Archive is a
//     move; what arrives in Sent unpaired is raised as ItemAdd then
//     ItemSend. Folders that mirror others (Gmail's All Mail) are left out.
// Messages are fetched whole before their event is raised. The host's own
// moves and rewrites are in its log of own actions and are not raised again.
// Each folder's snapshot is saved once its events have been raised, so a
// restart replays exactly what it had not yet raised.
class ImapLiveEvents final : public QObject {
public:
    using Log = std::function<void(const QString&)>;

    explicit ImapLiveEvents(ImapApplication& app, Log log = {});
    ~ImapLiveEvents() override;

    // Runs the event loop until every watched folder has replayed what
    // happened since the last run, or `timeoutMs` has passed. False on the
    // time-out.
    bool waitUntilWatching(int timeoutMs);
    // Reports everything seen so far without waiting for the pairing
    // windows, and saves the snapshots (for shutting down and for tests).
    void flush();

private:
    using Correlator = events::EventCorrelator<std::shared_ptr<ImapItem>>;
    using Seen = events::Sighting<std::shared_ptr<ImapItem>>;

    QList<quint32> appeared(ImapFolder& folder, const QList<FetchedMessage>& keys);
    void vanished(ImapFolder& folder, const ImapFolderWatch::Vanished& gone);
    void fetched(ImapFolder& folder, const QList<FetchedMessage>& messages);
    void notFetched(ImapFolder& folder, const UidSet& uids, const QString& why, bool again);
    void caughtUp(ImapFolder& folder);

    void raiseMoves(const QList<Correlator::Move>& moves);
    void raiseMoveAction(const QList<Correlator::Move>& moves);
    void raiseArrivals(const QList<Seen>& seen);
    void raiseRemovals(const QList<Seen>& seen);
    bool listedElsewhere(const ImapFolder& folder, const QString& key) const;
    void pollSoon(const ImapFolder& folder);
    void pollOthers();
    void pollNewFolders();

    void loaded(int count);
    void schedule(qint64 waitMs);
    void settle(qint64 now);
    void persistAll();
    void log(const QString& line) const;

    ImapApplication& m_app;
    Log m_log;
    Correlator m_correlator;
    std::vector<std::unique_ptr<ImapFolderWatch>> m_watches;
    QTimer m_timer;
    // Handles on messages seen vanishing, until their move (if it is one)
    // is raised.
    QHash<QString, std::weak_ptr<ImapItem>> m_goneHandles;
    QList<ImapFolder*> m_polled; // asked with STATUS, having no watcher
    QHash<const ImapFolder*, MailboxStatus> m_lastStatus;
    QTimer m_pollTimer;
    QTimer m_pollSoon;
    int m_loading = 0;         // messages being fetched before their sighting
    qint64 m_loadingSince = 0; // when m_loading last rose from 0 (0: nothing loading)
    bool m_raising = false;
    bool m_replayOver = false;
    bool m_replayEndsAfterPoll = false;
};

} // namespace velmora::imap
