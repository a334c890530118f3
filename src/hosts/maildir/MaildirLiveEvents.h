#pragma once

#include "hosts/events/EventCorrelator.h"
#include "hosts/maildir/InotifyWatcher.h"

#include <QHash>
#include <QSet>
#include <QTimer>

#include <functional>
#include <memory>

namespace velmora::maildir {

class MaildirApplication;
class MaildirFolder;
class MaildirItem;

// What other mail clients do to the Maildir, raised as the host surface's
// events (see HostApplication.h for their order):
//   - a message that appears in the Inbox and stays unpaired is new mail:
//     ItemAdd on the Inbox, then NewMailEx for all that arrived together;
//   - one that appears in Sent is being sent: ItemAdd, then ItemSend;
//   - one that appears anywhere else (a copy, a server-side filter): as a
//     copy, BeforeItemCopy and BeforeItemPaste with it as the selection,
//     then ItemAdd;
//   - one that came and went before it was reported: nothing, unless it went
//     to another folder, which is a move from the first like any other;
//   - messages moved together between folders are one user action:
//     BeforeMove with them as the explorer's selection, then ItemRemove on
//     the source and ItemAdd on the destination for each; a move into Trash
//     is a deletion, whose BeforeMove has nothing selected;
//   - one that vanishes for good: BeforeMove with nothing selected, then
//     ItemRemove on its folder (see UserActionEvents for why).
// The host's own moves and rewrites are in its journal and are not raised
// again. Folder lists are kept up to date with every change.
class MaildirLiveEvents {
public:
    using Log = std::function<void(const QString&)>;

    // Watches every folder of `app`. Throws VbError when no watch can be set
    // at all; a folder that cannot be watched is logged and left out.
    explicit MaildirLiveEvents(MaildirApplication& app, Log log = {});
    ~MaildirLiveEvents();

    // Raises NewMailEx for mail that was already waiting in the Inbox's new/
    // before the watching began.
    void deliverWaiting();

    // Reads what the kernel has queued and reports everything due, without
    // waiting for the pairing windows (for tests and for shutting down).
    void flush();

private:
    using Correlator = events::EventCorrelator<std::shared_ptr<MaildirItem>>;
    using Seen = events::Sighting<std::shared_ptr<MaildirItem>>;

    void onFileEvents(const QList<FileEvent>& events);
    void appeared(MaildirFolder& folder, const QString& file);
    void disappeared(MaildirFolder& folder, const QString& file);
    void renamedWithin(MaildirFolder& folder, const QString& oldFile, const QString& file);
    void folderGone(const QString& directory);
    void rescan();
    void adoptFolders();
    void watchFolder(MaildirFolder& folder, const QString& logPrefix);

    void raiseMoves(const QList<Correlator::Move>& moves);
    void raiseMoveAction(const QList<Correlator::Move>& moves);
    void raiseArrivals(const QList<Seen>& seen);
    void raiseRemovals(const QList<Seen>& seen);

    void schedule(qint64 waitMs);
    void settle();
    QString inodeKey(const QString& directory, const QString& base) const;

    MaildirApplication& m_app;
    Log m_log;
    Correlator m_correlator;
    std::unique_ptr<InotifyWatcher> m_watcher;
    QTimer m_timer;
    QTimer m_adoptTimer;
    int m_adoptAttempts = 0;
    bool m_raising = false;
    QHash<QString, QString> m_inodes; // directory + '/' + base -> inode
    QSet<QString> m_gone;             // folders removed while watched
};

} // namespace velmora::maildir
