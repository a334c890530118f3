#include "hosts/maildir/MaildirLiveEvents.h"

#include "addin/host/EntryIdCollection.h"
#include "base/VbError.h"
#include "hosts/events/MonotonicClock.h"
#include "hosts/events/UserActionEvents.h"
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MaildirItem.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace velmora::maildir {
namespace {

// Servers put the destination of a move in place 1-3 ms before removing the
// source; half a second covers a busy machine. A pause of 40 ms ends a
// user's action.
constexpr events::EventCorrelator<int>::Timing kTiming{500, 40};

QString baseOf(const QString& file) {
    return MaildirFileName::parse(file.mid(4)).base;
}

QString inodeOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return QStringLiteral("%1:%2").arg(st.st_dev).arg(st.st_ino);
}

} // namespace

MaildirLiveEvents::MaildirLiveEvents(MaildirApplication& app, Log log)
    : m_app(app), m_log(std::move(log)),
      m_correlator({kTiming.pairWindowMs, kTiming.quietMs},
                   {[this](const QList<Correlator::Move>& moves) { raiseMoves(moves); },
                    [this](const QList<Seen>& seen) { raiseArrivals(seen); },
                    [this](const QList<Seen>& seen) { raiseRemovals(seen); }}) {
    m_watcher = std::make_unique<InotifyWatcher>(
        [this](const QList<FileEvent>& events) { onFileEvents(events); });
    if (m_log)
        m_app.setFaultLog(m_log);
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { settle(); });
    for (const auto& folder : m_app.allFolders())
        watchFolder(*folder, {});
    if (const QString error = m_watcher->watchRoot(m_app.root()); !error.isEmpty() && m_log)
        m_log(QStringLiteral("folders made later are not watched: ") + error);
    m_adoptTimer.setSingleShot(true);
    QObject::connect(&m_adoptTimer, &QTimer::timeout, [this] { adoptFolders(); });
    if (!m_watcher->watching(m_app.inbox().directory()))
        throw VbError(VbError::PathFileAccessError,
                      m_app.inbox().directory() + QStringLiteral(": the Inbox cannot be watched"));
}

MaildirLiveEvents::~MaildirLiveEvents() = default;

QString MaildirLiveEvents::inodeKey(const QString& directory, const QString& base) const {
    return directory + QLatin1Char('/') + base;
}

void MaildirLiveEvents::deliverWaiting() {
    QStringList ids;
    MaildirFolder& inbox = m_app.inbox();
    for (const QString& file : inbox.items().files()) {
        if (file.startsWith(QLatin1String("new/")))
            ids.append(entryIdOf(file.mid(4)));
    }
    if (!ids.isEmpty())
        m_app.NewMailEx.raise(entryIdCollection(ids));
}

void MaildirLiveEvents::flush() {
    m_watcher->readPending();
    // Far enough ahead that every window has passed.
    m_correlator.settle(events::monotonicMs() + 3'600'000);
}

void MaildirLiveEvents::onFileEvents(const QList<FileEvent>& events) {
    for (const FileEvent& e : events) {
        if (e.kind == FileEvent::Overflow) {
            rescan();
            continue;
        }
        if (e.kind == FileEvent::FolderGone) {
            folderGone(e.folder);
            continue;
        }
        if (e.kind == FileEvent::FolderMade) {
            // Its cur/ is made a moment after the folder itself.
            m_adoptAttempts = 0;
            m_adoptTimer.start(100);
            continue;
        }
        MaildirFolder* folder = nullptr;
        for (const auto& candidate : m_app.allFolders()) {
            if (candidate->directory() == e.folder)
                folder = candidate.get();
        }
        if (!folder)
            continue;
        switch (e.kind) {
        case FileEvent::Appeared:
            appeared(*folder, e.file);
            break;
        case FileEvent::Disappeared:
            disappeared(*folder, e.file);
            break;
        case FileEvent::RenamedWithin:
            renamedWithin(*folder, e.oldFile, e.file);
            break;
        default:
            break;
        }
    }
    schedule(0);
}

void MaildirLiveEvents::appeared(MaildirFolder& folder, const QString& file) {
    const QString base = baseOf(file);
    const qint64 now = events::monotonicMs();
    if (m_app.journal().consume(folder.directory(), base, OwnActionJournal::Appears, now))
        return; // the host's own move or rewrite
    MaildirItems& items = folder.items();
    if (items.indexOfBase(base) >= 0)
        return; // already known (reported twice)
    const QString path = folder.directory() + QLatin1Char('/') + file;
    const QString inode = inodeOf(path);
    if (inode.isEmpty())
        return; // gone again already: a rename on its way elsewhere reports itself
    std::shared_ptr<MaildirItem> item;
    try {
        item = std::make_shared<MaildirItem>(folder, file);
    } catch (const VbError& error) {
        if (m_log)
            m_log(QStringLiteral("cannot read a new message: ") + error.description());
        return;
    }
    items.append(file);
    m_inodes.insert(inodeKey(folder.directory(), base), inode);
    m_correlator.arrival({folder.path(), inode, base, std::move(item)}, now);
}

void MaildirLiveEvents::disappeared(MaildirFolder& folder, const QString& file) {
    const QString base = baseOf(file);
    const qint64 now = events::monotonicMs();
    if (m_app.journal().consume(folder.directory(), base, OwnActionJournal::Disappears, now))
        return;
    MaildirItems& items = folder.items();
    const qsizetype at = items.indexOfBase(base);
    if (at < 0)
        return; // never listed, or already taken off by the host itself
    items.remove(at);
    const QString inode = m_inodes.take(inodeKey(folder.directory(), base));
    m_correlator.vanish({folder.path(), inode, base, nullptr}, now);
}

void MaildirLiveEvents::renamedWithin(MaildirFolder& folder, const QString& oldFile,
                                      const QString& file) {
    const QString oldBase = baseOf(oldFile);
    const QString base = baseOf(file);
    MaildirItems& items = folder.items();
    const qsizetype at = items.indexOfBase(oldBase);
    if (at < 0) {
        appeared(folder, file); // renamed in from a part not listed (a file in the making)
        return;
    }
    items.replace(at, file);
    if (base != oldBase)
        m_inodes.insert(inodeKey(folder.directory(), base),
                        m_inodes.take(inodeKey(folder.directory(), oldBase)));
}

void MaildirLiveEvents::folderGone(const QString& directory) {
    if (m_gone.contains(directory))
        return; // its cur/ and new/ both report it
    m_gone.insert(directory);
    m_watcher->unwatch(directory);
    for (const auto& folder : m_app.allFolders()) {
        if (folder->directory() != directory)
            continue;
        if (m_log)
            m_log(QStringLiteral("folder removed, no longer watched: ") + folder->Name() +
                  QStringLiteral(" (") + directory + QLatin1Char(')'));
        folder->items().reset({});
    }
}

void MaildirLiveEvents::adoptFolders() {
    bool found = false;
    try {
        for (const auto& folder : m_app.adoptNewFolders()) {
            watchFolder(*folder, QStringLiteral("new folder, watched: "));
            found = true;
        }
        // A folder removed while watched and made again.
        for (const auto& folder : m_app.allFolders()) {
            if (m_gone.contains(folder->directory()) &&
                QFileInfo(folder->directory() + QStringLiteral("/cur")).isDir()) {
                m_gone.remove(folder->directory());
                folder->scan();
                watchFolder(*folder, QStringLiteral("folder made again, watched: "));
                found = true;
            }
        }
    } catch (const VbError& error) {
        if (m_log)
            m_log(error.description());
    }
    if (!found && ++m_adoptAttempts < 5)
        m_adoptTimer.start(400);
}

void MaildirLiveEvents::watchFolder(MaildirFolder& folder, const QString& logPrefix) {
    if (const QString error = m_watcher->watch(folder.directory()); !error.isEmpty()) {
        if (m_log)
            m_log(QStringLiteral("not watched: ") + error);
        return;
    }
    for (const QString& file : folder.items().files())
        m_inodes.insert(inodeKey(folder.directory(), baseOf(file)),
                        inodeOf(folder.directory() + QLatin1Char('/') + file));
    if (m_log && !logPrefix.isEmpty())
        m_log(logPrefix + folder.Name());
}

void MaildirLiveEvents::rescan() {
    if (m_log)
        m_log(QStringLiteral("too many changes at once: reading every folder again"));
    for (const auto& folder : m_app.allFolders()) {
        try {
            folder->scan();
        } catch (const VbError& error) {
            if (m_log)
                m_log(error.description());
        }
    }
}

void MaildirLiveEvents::raiseMoves(const QList<Correlator::Move>& moves) {
    for (const QList<Correlator::Move>& action : Correlator::userActions(moves))
        raiseMoveAction(action);
}

void MaildirLiveEvents::raiseMoveAction(const QList<Correlator::Move>& moves) {
    if (moves.isEmpty())
        return;
    QList<MailItemRef> items;
    QStringList what;
    for (const auto& move : moves) {
        items.append(move.to.payload);
        what.append(move.to.payload->subject());
    }
    const auto from = m_app.folderByPath(moves.first().from.folder);
    const auto to = m_app.folderByPath(moves.first().to.folder);
    const bool deletion = to.get() == &m_app.trash();
    if (m_log) // one line per user action: where from, where to, what
        m_log(QStringLiteral("%1 by the user: %2 -> %3: %4")
                  .arg(deletion ? QStringLiteral("deleted") : QStringLiteral("moved"),
                       from ? from->Name() : moves.first().from.folder,
                       to ? to->Name() : moves.first().to.folder, what.join(QStringLiteral("; "))));
    events::UserActionEvents(m_app.explorer()).moved(from, to, &m_app.trash(), items);
}

void MaildirLiveEvents::raiseArrivals(const QList<Seen>& seen) {
    QStringList newMail;
    for (const Seen& s : seen) {
        const auto folder = m_app.folderByPath(s.folder);
        // Gone again meanwhile (deleted, or moved where it is not watched):
        // there is nothing left to judge.
        if (!folder || folder->items().indexOfBase(s.name) < 0)
            continue;
        if (folder.get() == &m_app.inbox()) {
            folder->Items().ItemAdd.raise(s.payload);
            newMail.append(s.payload->EntryID());
        } else if (folder.get() == &m_app.sent()) {
            folder->Items().ItemAdd.raise(s.payload);
            m_app.ItemSend.raise(s.payload);
        } else {
            if (m_log)
                m_log(
                    QStringLiteral("copied into %1: %2").arg(folder->Name(), s.payload->subject()));
            events::UserActionEvents(m_app.explorer()).copied(folder, s.payload);
        }
    }
    if (!newMail.isEmpty())
        m_app.NewMailEx.raise(entryIdCollection(newMail));
}

void MaildirLiveEvents::raiseRemovals(const QList<Seen>& seen) {
    for (const Seen& s : seen) {
        if (const auto folder = m_app.folderByPath(s.folder))
            events::UserActionEvents(m_app.explorer()).removed(*folder, 1);
    }
}

void MaildirLiveEvents::schedule(qint64 waitMs) {
    if (waitMs < 0)
        return;
    if (!m_timer.isActive() || m_timer.remainingTime() > waitMs)
        m_timer.start(int(waitMs));
}

void MaildirLiveEvents::settle() {
    // Handlers yield to the event loop: what falls due meanwhile waits until
    // the events being raised are done, so they never interleave.
    if (m_raising) {
        schedule(5);
        return;
    }
    m_raising = true;
    qint64 next = -1;
    try {
        next = m_correlator.settle(events::monotonicMs());
    } catch (...) {
        m_raising = false;
        throw;
    }
    m_raising = false;
    schedule(next);
}

} // namespace velmora::maildir
