#include "hosts/imap/ImapFolderWatch.h"

#include "hosts/imap/ImapFolder.h"

namespace velmora::imap {

namespace {

// Messages fetched whole per command: a few at a time keeps memory small
// for large ones and lets events start before a big batch is in.
constexpr int kFetchBatch = 8;
// Without IDLE the folder is asked this often.
constexpr int kPollWithoutIdleMs = 15'000;

} // namespace

ImapFolderWatch::ImapFolderWatch(const ImapAccount& account, ImapFolder& folder, Listener listener)
    : m_account(account), m_folder(folder), m_listener(std::move(listener)) {
    m_reconnect.setSingleShot(true);
    connect(&m_reconnect, &QTimer::timeout, this, [this] { connectNow(); });
    m_refetch.setSingleShot(true);
    connect(&m_refetch, &QTimer::timeout, this, [this] { scheduleSync(); });
}

ImapFolderWatch::~ImapFolderWatch() {
    m_client.reset();
    m_connection.reset(); // calls nothing back
}

void ImapFolderWatch::start() {
    connectNow();
}

void ImapFolderWatch::log(const QString& line) const {
    if (m_listener.log)
        m_listener.log(line);
}

void ImapFolderWatch::connectNow() {
    if (m_connection) {
        m_client.reset();
        // Not deleted here: this may run inside its own failure report.
        m_connection.release()->deleteLater();
    }
    const quint64 generation = ++m_generation;
    m_ready = m_idling = m_syncing = m_syncAgain = m_syncQueued = m_fetching = false;
    m_toFetch.clear();
    m_pendingVanished = UidSet();
    m_connection = std::make_unique<ImapConnection>();
    m_client = std::make_unique<ImapClient>(*m_connection);
    m_connection->setFailureHandler([this, generation](const QString& reason) {
        if (!stale(generation))
            onLost(reason);
    });
    m_connection->setUnsolicitedHandler([this, generation](const ImapResponse& response) {
        if (!stale(generation))
            onUpdate(response);
    });
    m_connection->open(m_account.endpoint, [this, generation](const ImapResult& opened) {
        // A failure to open is told through the failure handler.
        if (stale(generation) || !opened.ok())
            return;
        m_connection->login(m_account.credentials, [this, generation](const ImapResult& in) {
            if (stale(generation) || in.status == ImapResult::Status::Failed)
                return;
            if (!in.ok()) {
                onLost(
                    QStringLiteral("%1: the server refused the login of %2: %3")
                        .arg(m_account.endpoint.name(), m_account.credentials.user, in.describe()));
                return;
            }
            m_client->enable({QByteArrayLiteral("QRESYNC"), QByteArrayLiteral("CONDSTORE")},
                             [this, generation](const ImapResult&, const QByteArrayList&) {
                                 if (stale(generation))
                                     return;
                                 m_qresync = m_client->qresyncEnabled();
                                 select();
                             });
        });
    });
}

void ImapFolderWatch::onLost(const QString& reason) {
    ++m_generation; // what the old connection still says is stale
    m_ready = m_idling = m_syncing = m_fetching = false;
    if (!m_toFetch.isEmpty())
        fetchLater(UidSet::fromList(std::exchange(m_toFetch, {})), reason, true);
    if (m_stopped)
        return;
    log(QStringLiteral("%1: %2; connecting again in %3 s")
            .arg(m_folder.Name(), reason)
            .arg(m_backoffMs / 1000.0));
    m_lastProblem = reason;
    m_reconnect.start(m_backoffMs);
    m_backoffMs = qMin(m_backoffMs * 2, qMax(1000, m_account.reconnectMaxMs));
}

void ImapFolderWatch::select() {
    const FolderSnapshot& known = m_folder.snapshot();
    std::optional<ImapClient::KnownState> state;
    if (known.uidValidity != 0)
        state = ImapClient::KnownState{known.uidValidity, known.highestModSeq, known.uids()};
    const quint64 generation = m_generation;
    // EXAMINE: watching changes nothing, not even \Recent.
    m_client->select(
        m_folder.serverName(), true, state,
        [this, generation](const ImapResult& result, const SelectedMailbox& selected) {
            if (stale(generation) || result.status == ImapResult::Status::Failed)
                return;
            if (!result.ok()) {
                // Deleted or renamed on the server: nothing left to watch.
                m_stopped = true;
                log(QStringLiteral("%1: no longer watched, the server cannot open it: %2")
                        .arg(m_folder.Name(), result.describe()));
                m_connection->logout({});
                if (!m_caughtUp && m_listener.caughtUp) {
                    m_caughtUp = true;
                    m_listener.caughtUp(m_folder);
                }
                return;
            }
            m_ready = true;
            m_backoffMs = 1000;
            if (!m_lastProblem.isEmpty()) {
                log(QStringLiteral("%1: connected again").arg(m_folder.Name()));
                m_lastProblem.clear();
            }
            const FolderSnapshot& snapshot = m_folder.snapshot();
            const quint64 modSeq = selected.highestModSeq.value_or(0);
            if (snapshot.uidValidity == 0 || snapshot.uidValidity != selected.uidValidity) {
                baseline(selected.uidValidity, modSeq, snapshot.uidValidity != 0);
                return;
            }
            m_syncing = true;
            for (const FetchedMessage& changed : selected.changed)
                if (changed.uid != 0 && changed.flags)
                    m_folder.setFlags(changed.uid, *changed.flags);
            const bool fromModSeq = m_qresync && snapshot.highestModSeq != 0;
            const quint32 largest = m_folder.seenUpTo();
            m_folder.setModSeq(modSeq);
            if (fromModSeq) {
                takeVanished(selected.vanished);
                syncSince(largest);
            } else {
                syncByDiff();
            }
        });
}

void ImapFolderWatch::baseline(quint32 uidValidity, quint64 highestModSeq, bool renumbered) {
    m_syncing = true;
    const quint64 generation = m_generation;
    m_client->searchAll([this, generation, uidValidity, highestModSeq,
                         renumbered](const ImapResult& searched, const UidSet& uids) {
        if (stale(generation) || searched.status == ImapResult::Status::Failed)
            return;
        const auto take = [this, uidValidity, highestModSeq,
                           renumbered](const QList<FetchedMessage>& keys) {
            FolderSnapshot snapshot;
            snapshot.uidValidity = uidValidity;
            snapshot.highestModSeq = highestModSeq;
            for (const FetchedMessage& message : keys)
                snapshot.add(message.uid,
                             {messageKey(message), message.flags.value_or(QByteArrayList())});
            m_folder.resetSnapshot(snapshot);
            if (renumbered)
                log(QStringLiteral("%1: renumbered by the server (new UIDVALIDITY); its %2 "
                                   "messages are taken as they are, without events")
                        .arg(m_folder.Name())
                        .arg(keys.size()));
            finishSync();
        };
        if (uids.isEmpty()) {
            take({});
            return;
        }
        m_client->fetchKeys(uids, [this, generation, take](const ImapResult& fetched,
                                                           const QList<FetchedMessage>& keys) {
            if (stale(generation) || fetched.status == ImapResult::Status::Failed)
                return;
            take(keys);
        });
    });
}

void ImapFolderWatch::scheduleSync() {
    if (m_syncQueued)
        return;
    m_syncQueued = true;
    const quint64 generation = m_generation;
    QTimer::singleShot(0, this, [this, generation] {
        if (stale(generation))
            return;
        m_syncQueued = false;
        sync();
    });
}

void ImapFolderWatch::sync() {
    if (!m_ready || m_stopped)
        return;
    if (m_syncing) {
        m_syncAgain = true;
        return;
    }
    m_syncing = true;
    const FolderSnapshot& snapshot = m_folder.snapshot();
    if (m_qresync && snapshot.highestModSeq != 0) {
        const quint32 largest = m_folder.seenUpTo();
        takeVanished(std::exchange(m_pendingVanished, UidSet()));
        syncSince(largest);
    } else {
        m_pendingVanished = UidSet();
        syncByDiff();
    }
}

void ImapFolderWatch::syncByDiff() {
    const quint64 generation = m_generation;
    m_client->searchAll([this, generation](const ImapResult& searched, const UidSet& uids) {
        if (stale(generation) || searched.status == ImapResult::Status::Failed)
            return;
        if (!searched.ok()) {
            log(QStringLiteral("%1: cannot list its messages: %2")
                    .arg(m_folder.Name(), searched.describe()));
            finishSync();
            return;
        }
        noteUpdates(searched);
        if (!uids.isEmpty())
            m_folder.sawUpTo(uids.ranges().last().last);
        UidSet gone = m_folder.snapshot().uids();
        gone.remove(uids);
        takeVanished(gone);
        UidSet fresh = uids;
        fresh.remove(m_folder.snapshot().uids());
        if (fresh.isEmpty()) {
            finishSync();
            return;
        }
        m_client->fetchKeys(fresh, [this, generation](const ImapResult& fetched,
                                                      const QList<FetchedMessage>& keys) {
            if (stale(generation) || fetched.status == ImapResult::Status::Failed)
                return;
            noteUpdates(fetched);
            takeNew(keys);
            finishSync();
        });
    });
}

void ImapFolderWatch::syncSince(quint32 largest) {
    UidSet above;
    above.add(largest + 1, 0xffffffffu);
    const quint64 generation = m_generation;
    m_client->fetchKeys(above, [this, generation, largest](const ImapResult& fetched,
                                                           const QList<FetchedMessage>& keys) {
        if (stale(generation) || fetched.status == ImapResult::Status::Failed)
            return;
        noteUpdates(fetched);
        QList<FetchedMessage> fresh;
        for (const FetchedMessage& message : keys) {
            m_folder.sawUpTo(message.uid);
            if (message.uid > largest && !m_folder.snapshot().messages.contains(message.uid))
                fresh.append(message);
        }
        takeNew(fresh);
        finishSync();
    });
}

void ImapFolderWatch::takeVanished(const UidSet& uids) {
    Vanished gone;
    for (const quint32 uid : uids.toList()) {
        const auto it = m_folder.snapshot().messages.constFind(uid);
        if (it == m_folder.snapshot().messages.constEnd())
            continue;
        gone.append({uid, *it});
        m_folder.removeMessage(uid);
    }
    if (!gone.isEmpty() && m_listener.vanished)
        m_listener.vanished(m_folder, gone);
}

void ImapFolderWatch::takeNew(const QList<FetchedMessage>& keys) {
    if (keys.isEmpty())
        return;
    for (const FetchedMessage& message : keys)
        m_folder.addMessage(message.uid,
                            {messageKey(message), message.flags.value_or(QByteArrayList())});
    if (m_listener.appeared)
        m_toFetch += m_listener.appeared(m_folder, keys);
    fetchBodies();
}

void ImapFolderWatch::fetchBodies() {
    if (m_fetching || m_toFetch.isEmpty() || !m_ready)
        return;
    const QList<quint32> batch = m_toFetch.mid(0, kFetchBatch);
    m_toFetch.remove(0, batch.size());
    m_fetching = true;
    const quint64 generation = m_generation;
    m_client->fetchMessages(
        UidSet::fromList(batch),
        [this, generation, batch](const ImapResult& result, const QList<FetchedMessage>& messages) {
            if (stale(generation))
                return;
            m_fetching = false;
            QList<FetchedMessage> whole;
            UidSet missing = UidSet::fromList(batch);
            for (const FetchedMessage& message : messages) {
                if (message.body) {
                    whole.append(message);
                    missing.remove(UidSet{message.uid});
                }
            }
            if (!whole.isEmpty() && m_listener.fetched)
                m_listener.fetched(m_folder, whole);
            const bool lost = result.status == ImapResult::Status::Failed;
            if (!missing.isEmpty())
                fetchLater(missing,
                           result.ok() ? QStringLiteral("the server sent no message (deleted "
                                                        "meanwhile?)")
                                       : result.describe(),
                           lost);
            else
                m_refetchMs = 1000;
            if (lost)
                return; // the rest is handed back by onLost()
            noteUpdates(result);
            fetchBodies();
            resumeIdle();
        });
}

void ImapFolderWatch::fetchLater(const UidSet& uids, const QString& why, bool connectionLost) {
    for (const quint32 uid : uids.toList())
        m_folder.removeMessage(uid);
    m_folder.setModSeq(0); // diffed from now on (see the class comment)
    if (m_listener.notFetched)
        m_listener.notFetched(m_folder, uids, why, connectionLost);
    const QString what = QStringLiteral("%1: message UID %2 could not be fetched")
                             .arg(m_folder.Name(), QString::fromLatin1(uids.toImap()));
    if (connectionLost) {
        // The reconnect diffs the folder and finds them; onLost() says why.
        log(what + QStringLiteral(" (the connection was lost); fetched again once connected"));
        return;
    }
    log(QStringLiteral("%1 (%2); asked again in %3 s").arg(what, why).arg(m_refetchMs / 1000.0));
    m_refetch.start(m_refetchMs);
    m_refetchMs = qMin(m_refetchMs * 2, qMax(1000, m_account.reconnectMaxMs));
}

void ImapFolderWatch::finishSync() {
    m_syncing = false;
    if (!m_caughtUp) {
        m_caughtUp = true;
        if (m_listener.caughtUp)
            m_listener.caughtUp(m_folder);
    }
    if (m_syncAgain) {
        m_syncAgain = false;
        sync();
        return;
    }
    resumeIdle();
}

void ImapFolderWatch::resumeIdle() {
    if (m_stopped || !m_ready || m_idling || m_syncing || m_fetching || !m_toFetch.isEmpty() ||
        !m_connection->isReady())
        return;
    const quint64 generation = m_generation;
    if (!m_connection->hasCapability("IDLE")) {
        // A server without IDLE is asked again in a while.
        QTimer::singleShot(kPollWithoutIdleMs, this, [this, generation] {
            if (!stale(generation))
                scheduleSync();
        });
        return;
    }
    m_idling = true;
    m_connection->idle(
        [this, generation](const ImapResponse& response) {
            if (!stale(generation))
                onUpdate(response);
        },
        {},
        [this, generation](const ImapResult&) {
            if (stale(generation))
                return;
            m_idling = false;
            QTimer::singleShot(0, this, [this, generation] {
                if (!stale(generation))
                    resumeIdle();
            });
        });
}

void ImapFolderWatch::onUpdate(const ImapResponse& response) {
    if (readExists(response) || readExpunge(response)) {
        scheduleSync();
    } else if (const auto vanished = readVanished(response); vanished && !vanished->earlier) {
        m_pendingVanished.add(vanished->uids);
        scheduleSync();
    } else if (const auto fetched = readFetch(response);
               fetched && fetched->uid != 0 && fetched->flags) {
        m_folder.setFlags(fetched->uid, *fetched->flags);
    }
}

void ImapFolderWatch::noteUpdates(const ImapResult& result) {
    for (const ImapResponse& response : result.untagged)
        if (response.isData("EXISTS") || response.isData("EXPUNGE") || response.isData("VANISHED"))
            onUpdate(response);
}

} // namespace velmora::imap
