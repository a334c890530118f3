#include "hosts/imap/ImapLiveEvents.h"

#include "addin/host/EntryIdCollection.h"
#include "base/VbError.h"
#include "hosts/events/MonotonicClock.h"
#include "hosts/events/UserActionEvents.h"
#include "hosts/imap/ImapApplication.h"
#include "hosts/imap/ImapItem.h"

#include <QEventLoop>
#include <QScopeGuard>

namespace velmora::imap {

namespace {

// The halves of a move reach two IDLE sessions, each batched by the server
// (Dovecot waits half a second), and each needs a round trip or two before
// its sighting is known: a second and a half pairs them on a slow link. A
// pause of 40 ms ends a user's action.
constexpr events::EventCorrelator<int>::Timing kTiming{1500, 40};
// A fetch that never ends holds back every event; after this long the
// events go out without it.
constexpr qint64 kLoadingGivesUpMs = 180'000;
// A move's other half in a folder without a watcher is looked for this soon
// after the half in a watched folder is seen, well within the pairing window.
constexpr int kPollSoonMs = 100;
// A new folder holding more than this many messages at its first look was
// copied or restored whole, not filled by the user's moves.
constexpr quint32 kNewFolderArrivals = 50;

struct Raising {
    explicit Raising(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Raising() { m_flag = false; }
    bool& m_flag;
};

} // namespace

ImapLiveEvents::ImapLiveEvents(ImapApplication& app, Log log)
    : m_app(app), m_log(std::move(log)),
      m_correlator({kTiming.pairWindowMs, kTiming.quietMs},
                   {[this](const QList<Correlator::Move>& moves) { raiseMoves(moves); },
                    [this](const QList<Seen>& seen) { raiseArrivals(seen); },
                    [this](const QList<Seen>& seen) { raiseRemovals(seen); }}) {
    if (m_log)
        m_app.setLog(m_log);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { settle(events::monotonicMs()); });
    connect(&m_pollTimer, &QTimer::timeout, this, [this] { pollOthers(); });

    // Inbox, Junk and Trash each have a watcher of their own; every other
    // folder is asked now and then, and at once when a message vanishes from
    // or appears in a watched one without its other half (a move to or from
    // Archive, say).
    QList<ImapFolder*> watched;
    for (ImapFolder* folder : {&m_app.inbox(), &m_app.junk(), &m_app.trash()})
        if (!watched.contains(folder))
            watched.append(folder);
    for (const auto& folder : m_app.allFolders())
        if (!watched.contains(folder.get()) && !folder->mirror())
            m_polled.append(folder.get());
    for (ImapFolder* folder : watched + m_polled) {
        QString error;
        FolderSnapshot snapshot = FolderSnapshot::load(m_app.snapshotPath(*folder), &error);
        if (!error.isEmpty())
            this->log(error + QStringLiteral(": starting a new baseline for ") + folder->Name());
        folder->resetSnapshot(snapshot);
        folder->markSaved();
        if (watched.contains(folder))
            folder->setWatched(true);
        else
            folder->setPolled(true);
    }
    ImapFolderWatch::Listener listener;
    listener.appeared = [this](ImapFolder& f, const QList<FetchedMessage>& keys) {
        return appeared(f, keys);
    };
    listener.vanished = [this](ImapFolder& f, const ImapFolderWatch::Vanished& gone) {
        vanished(f, gone);
    };
    listener.fetched = [this](ImapFolder& f, const QList<FetchedMessage>& messages) {
        fetched(f, messages);
    };
    listener.notFetched = [this](ImapFolder& f, const UidSet& uids, const QString& why,
                                 bool again) { notFetched(f, uids, why, again); };
    listener.caughtUp = [this](ImapFolder& f) { caughtUp(f); };
    listener.log = [this](const QString& line) { this->log(line); };
    for (ImapFolder* folder : watched)
        m_watches.push_back(std::make_unique<ImapFolderWatch>(m_app.account(), *folder, listener));
    for (const auto& watch : m_watches)
        watch->start();
    m_pollTimer.start(qMax(1000, m_app.account().sentPollMs));
    m_pollSoon.setSingleShot(true);
    connect(&m_pollSoon, &QTimer::timeout, this, [this] { pollOthers(); });
}

ImapLiveEvents::~ImapLiveEvents() {
    // What was seen but not yet told is saved as unseen, for the next start.
    persistAll();
    m_watches.clear();
}

void ImapLiveEvents::log(const QString& line) const {
    if (m_log)
        m_log(line);
}

bool ImapLiveEvents::waitUntilWatching(int timeoutMs) {
    const auto allCaughtUp = [this] {
        for (const auto& watch : m_watches)
            if (!watch->caughtUp())
                return false;
        return true;
    };
    QEventLoop loop;
    QTimer tick;
    connect(&tick, &QTimer::timeout, &loop, [&] {
        if (allCaughtUp())
            loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    tick.start(10);
    if (!allCaughtUp())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return allCaughtUp();
}

void ImapLiveEvents::flush() {
    if (m_loading == 0)
        settle(events::monotonicMs() + 3'600'000);
}

QList<quint32> ImapLiveEvents::appeared(ImapFolder& folder, const QList<FetchedMessage>& keys) {
    const qint64 now = events::monotonicMs();
    QList<quint32> wanted;
    for (const FetchedMessage& message : keys) {
        if (m_app.ownActions().consume(folder.serverName(), messageKey(message),
                                       OwnActionLog::Appears, now))
            continue; // the host's own move or rewrite
        wanted.append(message.uid);
        folder.arrivalUnreported(message.uid);
    }
    if (!wanted.isEmpty())
        pollSoon(folder);
    m_loading += int(wanted.size());
    return wanted;
}

void ImapLiveEvents::vanished(ImapFolder& folder, const ImapFolderWatch::Vanished& gone) {
    const qint64 now = events::monotonicMs();
    for (const auto& [uid, message] : gone) {
        if (m_app.ownActions().consume(folder.serverName(), message.key, OwnActionLog::Disappears,
                                       now)) {
            folder.vanishReported(uid);
            continue;
        }
        if (auto handle = m_app.forget(folder, uid))
            m_goneHandles.insert(ImapApplication::placeKey(folder.serverName(), uid), handle);
        folder.vanishUnreported(uid, message);
        // The UID rides along as the sighting's name, for telling the folder
        // once the vanishing is raised. Arrivals have no name, so it pairs
        // nothing.
        m_correlator.vanish({folder.serverName(), message.key, QString::number(uid), nullptr}, now);
        pollSoon(folder);
    }
    schedule(0);
}

void ImapLiveEvents::fetched(ImapFolder& folder, const QList<FetchedMessage>& messages) {
    const qint64 now = events::monotonicMs();
    for (const FetchedMessage& message : messages) {
        loaded(1);
        // Gone again while it was fetched: its vanishing is what counts.
        if (!folder.snapshot().messages.contains(message.uid))
            continue;
        const auto item = m_app.adopt(folder, message);
        const QString key = folder.snapshot().messages.value(message.uid).key;
        m_correlator.arrival({folder.serverName(), key, {}, item}, now);
    }
    schedule(0);
}

void ImapLiveEvents::notFetched(ImapFolder&, const UidSet& uids, const QString&, bool) {
    // The watcher logs it and hands the messages over again once fetched;
    // meanwhile they hold nothing else back.
    loaded(int(uids.size()));
    schedule(0);
}

void ImapLiveEvents::caughtUp(ImapFolder& folder) {
    log(QStringLiteral("%1: watched (%2)")
            .arg(folder.Name(),
                 m_app.qresync() ? QStringLiteral("IDLE, QRESYNC") : QStringLiteral("IDLE")));
    for (const auto& watch : m_watches)
        if (!watch->caughtUp())
            return;
    if (m_replayOver)
        return;
    m_replayOver = true;
    // What the last run left undone has been seen once the first look at
    // the folders without a watcher is over too, or never will be.
    m_replayEndsAfterPoll = true;
    QTimer::singleShot(0, this, [this] { pollOthers(); });
}

void ImapLiveEvents::loaded(int count) {
    // Never below nothing: after a give-up the late ones still report in.
    m_loading = qMax(0, m_loading - count);
}

void ImapLiveEvents::schedule(qint64 waitMs) {
    if (waitMs < 0)
        return;
    if (!m_timer.isActive() || m_timer.remainingTime() > waitMs)
        m_timer.start(int(waitMs));
}

void ImapLiveEvents::settle(qint64 now) {
    if (m_loading > 0 && m_loadingSince == 0)
        m_loadingSince = now;
    if (m_loading <= 0)
        m_loadingSince = 0;
    if (m_loading > 0 && now - m_loadingSince > kLoadingGivesUpMs) {
        log(QStringLiteral("%1 messages still not fetched after %2 s; going on without them")
                .arg(m_loading)
                .arg(kLoadingGivesUpMs / 1000));
        m_loading = 0;
        m_loadingSince = 0;
    }
    // Handlers yield to the event loop, and the add-in's own commands wait
    // on it: what falls due meanwhile waits until they are done, and until
    // every message seen is fetched (its sighting may pair with one
    // already waiting).
    if (m_raising || m_app.busy() || m_loading > 0) {
        schedule(20);
        return;
    }
    qint64 next = -1;
    {
        Raising raising(m_raising);
        next = m_correlator.settle(now);
    }
    if (m_correlator.idle()) {
        persistAll();
        m_goneHandles.clear();
    }
    schedule(next);
}

void ImapLiveEvents::persistAll() {
    for (const auto& watch : m_watches)
        m_app.persist(watch->folder());
    for (ImapFolder* folder : std::as_const(m_polled))
        m_app.persist(*folder);
    if (const QString error = m_app.ownActions().save(); !error.isEmpty())
        log(error);
}

void ImapLiveEvents::raiseMoves(const QList<Correlator::Move>& moves) {
    // Handles the add-in holds follow their messages before any handler
    // runs: a message rescued from Junk and filed away at once is still
    // cleaned where it is now.
    QList<Correlator::Move> followed = moves;
    for (auto& move : followed) {
        const auto handle =
            m_goneHandles.take(ImapApplication::placeKey(move.from.folder, move.from.name.toUInt()))
                .lock();
        if (handle && handle != move.to.payload) {
            m_app.follow(*handle, *move.to.payload);
            move.to.payload = handle;
        }
    }
    for (const QList<Correlator::Move>& action : Correlator::userActions(followed))
        raiseMoveAction(action);
}

void ImapLiveEvents::raiseMoveAction(const QList<Correlator::Move>& moves) {
    if (moves.isEmpty())
        return;
    QList<MailItemRef> items;
    QStringList subjects;
    for (const auto& move : moves) {
        items.append(move.to.payload);
        subjects.append(move.to.payload->subject());
    }
    const auto from = m_app.folderByName(moves.first().from.folder);
    const auto to = m_app.folderByName(moves.first().to.folder);
    for (const auto& move : moves) {
        if (from)
            from->vanishReported(move.from.name.toUInt());
        move.to.payload->folder().arrivalReported(move.to.payload->uid());
    }
    const bool deletion = to.get() == &m_app.trash();
    log(QStringLiteral("%1 by the user: %2 -> %3: %4")
            .arg(deletion ? QStringLiteral("deleted") : QStringLiteral("moved"),
                 from ? from->Name() : moves.first().from.folder,
                 to ? to->Name() : moves.first().to.folder, subjects.join(QStringLiteral("; "))));
    events::UserActionEvents(m_app.explorer()).moved(from, to, &m_app.trash(), items);
}

void ImapLiveEvents::raiseArrivals(const QList<Seen>& seen) {
    QStringList newMail;
    for (const Seen& s : seen) {
        const auto folder = m_app.folderByName(s.folder);
        // Gone again meanwhile (deleted, or moved where nobody watches):
        // there is nothing left to judge.
        if (!folder || &s.payload->folder() != folder.get() ||
            !folder->snapshot().messages.contains(s.payload->uid()))
            continue;
        // A copy keeps the internal date, so a message of the same key in
        // another folder is where this one was copied from: a delivery has
        // a date of its own.
        if (folder.get() == &m_app.inbox() && !listedElsewhere(*folder, s.payload->key())) {
            folder->Items().ItemAdd.raise(s.payload);
            newMail.append(s.payload->EntryID());
        } else if (folder.get() == &m_app.sent()) {
            folder->Items().ItemAdd.raise(s.payload);
            m_app.ItemSend.raise(s.payload);
        } else {
            // Anywhere else a message that came from nowhere is a copy (or a
            // server-side filter's delivery), raised as a copy is.
            log(QStringLiteral("copied into %1: %2").arg(folder->Name(), s.payload->subject()));
            events::UserActionEvents(m_app.explorer()).copied(folder, s.payload);
        }
    }
    if (!newMail.isEmpty())
        m_app.NewMailEx.raise(entryIdCollection(newMail));
    // Only now: a stop while the batch is judged (the filter's moves save
    // the folder) leaves the rest of it to be reported at the next start.
    for (const Seen& s : seen)
        if (const auto folder = m_app.folderByName(s.folder))
            folder->arrivalReported(s.payload->uid());
}

bool ImapLiveEvents::listedElsewhere(const ImapFolder& folder, const QString& key) const {
    for (const auto& other : m_app.allFolders()) {
        if (other.get() == &folder)
            continue;
        for (const auto& message : other->snapshot().messages)
            if (message.key == key)
                return true;
    }
    return false;
}

void ImapLiveEvents::raiseRemovals(const QList<Seen>& seen) {
    for (const Seen& s : seen) {
        if (const auto folder = m_app.folderByName(s.folder)) {
            folder->vanishReported(s.name.toUInt());
            log(QStringLiteral("gone from %1 (deleted, or moved to a folder not watched)")
                    .arg(folder->Name()));
            events::UserActionEvents(m_app.explorer()).removed(*folder, 1);
        }
    }
}

void ImapLiveEvents::pollSoon(const ImapFolder& folder) {
    // Only a watched folder's news may have its other half elsewhere; the
    // other folders' halves are found by the poll itself.
    if (m_polled.contains(&folder) || m_pollSoon.isActive())
        return;
    m_pollSoon.start(kPollSoonMs);
}

void ImapLiveEvents::pollNewFolders() {
    // Made by another client since the watch began ("move to a new
    // folder"): what it holds at the first look arrived there, unless it is
    // a whole folder's worth, copied or restored, which is taken as it is.
    for (const auto& folder : m_app.findNewFolders()) {
        if (folder->mirror())
            continue;
        log(QStringLiteral("new folder: %1").arg(folder->Name()));
        try {
            const MailboxStatus status = m_app.status(*folder);
            if (status.messages.value_or(0) <= kNewFolderArrivals) {
                FolderSnapshot empty;
                empty.uidValidity = status.uidValidity.value_or(0);
                folder->resetSnapshot(empty);
            }
        } catch (const VbError& error) {
            log(error.description());
        }
        folder->setPolled(true);
        m_polled.append(folder.get());
    }
}

void ImapLiveEvents::pollOthers() {
    // Never inside another command's wait or another event.
    if (m_raising || m_app.busy()) {
        m_pollSoon.start(kPollSoonMs);
        return;
    }
    // Holds back the events until the other halves are in.
    ++m_loading;
    if (m_replayOver)
        pollNewFolders();
    const auto done = qScopeGuard([this] {
        loaded(1);
        schedule(0);
        if (std::exchange(m_replayEndsAfterPoll, false))
            QTimer::singleShot(kTiming.pairWindowMs * 2, this,
                               [this] { m_app.ownActions().endReplay(); });
    });
    for (ImapFolder* folder : std::as_const(m_polled)) {
        try {
            const MailboxStatus status = m_app.status(*folder);
            const auto last = m_lastStatus.constFind(folder);
            if (last != m_lastStatus.constEnd() && last->uidNext == status.uidNext &&
                last->messages == status.messages && last->uidValidity == status.uidValidity &&
                status.uidValidity == folder->snapshot().uidValidity)
                continue;
            const ImapApplication::FolderChanges changes = m_app.readChanges(*folder);
            if (changes.read) // else read again at the next poll
                m_lastStatus.insert(folder, status);
            if (!changes.gone.isEmpty())
                vanished(*folder, changes.gone);
            const QList<quint32> wanted = appeared(*folder, changes.fresh);
            for (const quint32 uid : wanted) {
                loaded(1); // counted by appeared()
                try {
                    const auto item = m_app.itemAt(*folder, uid);
                    m_correlator.arrival({folder->serverName(), item->key(), {}, item},
                                         events::monotonicMs());
                } catch (const VbError& error) {
                    // Looked for again at the next poll.
                    log(error.description());
                    folder->removeMessage(uid);
                    m_lastStatus.remove(folder);
                }
            }
        } catch (const VbError& error) {
            log(error.description());
        }
    }
}

} // namespace velmora::imap
