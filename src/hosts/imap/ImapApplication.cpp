#include "hosts/imap/ImapApplication.h"

#include "base/VbError.h"
#include "hosts/events/MonotonicClock.h"
#include "hosts/imap/ImapItem.h"

#include <QDir>
#include <QEventLoop>
#include <QScopeGuard>

#include <algorithm>

namespace velmora::imap {

namespace {

VbError hostError(const QString& text) {
    return VbError(VbError::AutomationError, text);
}

// The Message-ID part of a message key (see messageKey()).
QString messageIdOfKey(const QString& key) {
    return key.section(u' ', 0, -3);
}

} // namespace

QList<FolderRef> ImapNamespace::Folders() const {
    return {m_app.store()};
}

FolderRef ImapNamespace::GetDefaultFolder(int number) const {
    switch (number) {
    case DefaultFolderDeleted:
        return m_app.folderRef(m_app.trash());
    case DefaultFolderSent:
        return m_app.folderRef(m_app.sent());
    case DefaultFolderInbox:
        return m_app.folderRef(m_app.inbox());
    case DefaultFolderJunk:
        return m_app.folderRef(m_app.junk());
    default:
        throw hostError(QStringLiteral("no default folder %1").arg(number));
    }
}

MailItemRef ImapNamespace::GetItemFromID(const QString& entryId) const {
    if (auto item = m_app.findItem(entryId))
        return item;
    throw hostError(QStringLiteral("no message %1").arg(entryId));
}

ImapApplication::ImapApplication(ImapAccount account, Log log)
    : m_account(std::move(account)), m_log(std::move(log)),
      m_ownActions(m_account.stateDirectory.isEmpty()
                       ? QString()
                       : m_account.stateDirectory + QStringLiteral("/own-actions")) {
    m_namespace = std::make_shared<ImapNamespace>(*this);
    if (!m_account.stateDirectory.isEmpty() && !QDir().mkpath(m_account.stateDirectory))
        throw VbError(VbError::PathFileAccessError,
                      m_account.stateDirectory + QStringLiteral(": cannot be created"));
    if (const QString error = m_ownActions.load(events::monotonicMs()); !error.isEmpty())
        this->log(error + QStringLiteral(" (the rest of it is ignored)"));
    connectCommands();
    readTree(listFolders());
    finishInterruptedRewrites();
}

ImapApplication::~ImapApplication() = default;

namespace {

QList<MailboxEntry> sortedByName(QList<MailboxEntry> entries) {
    std::sort(entries.begin(), entries.end(),
              [](const MailboxEntry& a, const MailboxEntry& b) { return a.name < b.name; });
    return entries;
}

} // namespace

QString ImapApplication::placeKey(const QString& folder, quint32 uid) {
    return folder + u'\n' + QString::number(uid);
}

std::shared_ptr<HostNamespace> ImapApplication::GetNamespace(const QString& type) const {
    if (type != QStringLiteral("MAPI"))
        throw hostError(QStringLiteral("no namespace %1").arg(type));
    return m_namespace;
}

template <class T>
std::pair<ImapResult, T>
ImapApplication::wait(const std::function<void(ImapClient::Then<T>)>& start) {
    struct State {
        bool done = false;
        ImapResult result;
        T value{};
        QEventLoop loop;
    };
    auto state = std::make_shared<State>();
    ++m_waiting;
    start([state](const ImapResult& result, const T& value) {
        state->result = result;
        state->value = value;
        state->done = true;
        state->loop.quit();
    });
    // The connection calls back exactly once, at the latest when its
    // time-out ends the command. The user's clicks wait meanwhile: a sweep
    // started from the menu must not run inside this command.
    if (!state->done)
        state->loop.exec(QEventLoop::ExcludeUserInputEvents);
    --m_waiting;
    return {state->result, state->value};
}

ImapResult ImapApplication::waitDone(const std::function<void(ImapConnection::Done)>& start) {
    return wait<int>([&](ImapClient::Then<int> done) {
               start([done](const ImapResult& result) { done(result, 0); });
           })
        .first;
}

void ImapApplication::connectCommands() {
    if (m_connection) {
        // Not deleted here: this may run inside the old connection's own
        // failure report.
        m_client.reset();
        m_connection.release()->deleteLater();
    }
    m_selected.clear();
    auto connection = std::make_unique<ImapConnection>();
    const ImapResult opened =
        waitDone([&](ImapConnection::Done done) { connection->open(m_account.endpoint, done); });
    if (!opened.ok())
        throw hostError(opened.text);
    const ImapResult loggedIn = waitDone(
        [&](ImapConnection::Done done) { connection->login(m_account.credentials, done); });
    if (loggedIn.status == ImapResult::Status::Failed)
        throw hostError(loggedIn.text); // dropped, or no OAuth token to be had
    if (!loggedIn.ok())
        throw hostError(
            QStringLiteral("%1: the server refused the login of %2: %3")
                .arg(m_account.endpoint.name(), m_account.credentials.user, loggedIn.describe()));
    m_connection = std::move(connection);
    m_client = std::make_unique<ImapClient>(*m_connection);
    ImapClient& client = *m_client;
    wait<QByteArrayList>([&](ImapClient::Then<QByteArrayList> done) {
        client.enable({QByteArrayLiteral("QRESYNC"), QByteArrayLiteral("CONDSTORE")}, done);
    });
    m_qresync = client.qresyncEnabled();
}

ImapClient& ImapApplication::commands() {
    if (!m_connection || !m_connection->isReady())
        connectCommands();
    return *m_client;
}

QStringList ImapApplication::extensionsInUse() const {
    QStringList used;
    if (!m_connection)
        return used;
    for (const char* name : {"IDLE", "MOVE", "UIDPLUS", "CONDSTORE", "QRESYNC", "ENABLE",
                             "SPECIAL-USE", "ESEARCH", "LITERAL+", "LITERAL-", "SASL-IR"}) {
        if (m_connection->hasCapability(name) && (qstrcmp(name, "QRESYNC") != 0 || m_qresync))
            used.append(QLatin1StringView(name));
    }
    return used;
}

void ImapApplication::ensureSelected(ImapFolder& folder, bool forWriting) {
    // A command of someone else's may have selected another folder while
    // this one waited; it is selected again, right before its command.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (m_selected == folder.serverName() && (m_selectedForWriting || !forWriting) &&
            m_connection && m_connection->isReady())
            return;
        ImapClient& client = commands();
        const auto [result, selected] =
            wait<SelectedMailbox>([&](ImapClient::Then<SelectedMailbox> done) {
                client.select(folder.serverName(), !forWriting, std::nullopt, done);
            });
        if (!result.ok()) {
            m_selected.clear();
            throw hostError(QStringLiteral("%1: cannot open the folder %2: %3")
                                .arg(m_account.name(), folder.Name(), result.describe()));
        }
        if (forWriting && selected.readOnly)
            throw hostError(QStringLiteral("%1: the folder %2 is read-only")
                                .arg(m_account.name(), folder.Name()));
        const quint32 known = folder.snapshot().uidValidity;
        if (forWriting && known != 0 && selected.uidValidity != known)
            throw hostError(QStringLiteral("%1: the folder %2 was renumbered (new UIDVALIDITY); "
                                           "its messages are read again first")
                                .arg(m_account.name(), folder.Name()));
        m_selected = folder.serverName();
        m_selectedForWriting = forWriting;
        m_selectedValidity = selected.uidValidity;
    }
    throw hostError(QStringLiteral("%1: the folder %2 could not be kept selected")
                        .arg(m_account.name(), folder.Name()));
}

void ImapApplication::catchUpSelected() {
    const ImapResult synced = waitDone([&](ImapConnection::Done done) {
        m_client->connection().run(ImapCommand(QByteArrayLiteral("NOOP")), std::move(done));
    });
    if (!synced.ok())
        m_selected.clear();
}

std::shared_ptr<ImapFolder> ImapApplication::addFolder(const MailboxEntry& entry,
                                                       const QString& parentName) {
    const bool isInbox = entry.name.compare(QStringLiteral("INBOX"), Qt::CaseInsensitive) == 0;
    const QString name = isInbox ? QStringLiteral("INBOX") : entry.name;
    if (m_byName.contains(name))
        return nullptr;
    auto folder = std::make_shared<ImapFolder>(
        *this, name, isInbox ? QStringLiteral("Inbox") : entry.leafName(), entry.selectable());
    folder->setMirror(entry.has("\\All") || entry.has("\\Flagged") || entry.has("\\Important"));
    m_byName.insert(name, folder);
    std::shared_ptr<ImapFolder> parent =
        parentName.isEmpty() ? nullptr : m_byName.value(parentName);
    (parent ? parent : m_store)->addSubfolder(folder);
    return folder;
}

QList<MailboxEntry> ImapApplication::listFolders() {
    ImapClient& client = commands();
    const auto [listed, entries] = wait<QList<MailboxEntry>>(
        [&](ImapClient::Then<QList<MailboxEntry>> done) { client.listFolders(done); });
    if (!listed.ok())
        throw hostError(QStringLiteral("%1: cannot list the folders: %2")
                            .arg(m_account.name(), listed.describe()));
    return entries;
}

QList<std::shared_ptr<ImapFolder>> ImapApplication::findNewFolders() {
    QList<std::shared_ptr<ImapFolder>> added;
    try {
        const QList<MailboxEntry> sorted = sortedByName(listFolders());
        const QHash<QString, QString> parents = folderParents(sorted, m_specialNames);
        for (const MailboxEntry& entry : sorted)
            if (auto folder = addFolder(entry, parents.value(entry.name));
                folder && folder->selectable())
                added.append(folder);
    } catch (const VbError& error) {
        log(error.description());
    }
    return added;
}

void ImapApplication::readTree(const QList<MailboxEntry>& entries) {
    m_store = std::make_shared<ImapFolder>(*this, QString(), m_account.name(), false);
    const SpecialFolders found = findSpecialFolders(entries);
    const auto choose = [](const QString& chosen, const QString& onServer, const char* usual) {
        return !chosen.isEmpty()     ? chosen
               : !onServer.isEmpty() ? onServer
                                     : QString::fromLatin1(usual);
    };
    const QString junk = choose(m_account.folders.junk, found.junk, "Junk");
    const QString sent = choose(m_account.folders.sent, found.sent, "Sent");
    const QString trash = choose(m_account.folders.trash, found.trash, "Trash");
    m_specialNames = {junk, sent, trash};
    const QList<MailboxEntry> sorted = sortedByName(entries);
    const QHash<QString, QString> parents = folderParents(sorted, m_specialNames);
    for (const MailboxEntry& entry : sorted)
        addFolder(entry, parents.value(entry.name));
    m_inbox = m_byName.value(QStringLiteral("INBOX"));
    if (!m_inbox)
        throw hostError(QStringLiteral("%1: the server lists no INBOX").arg(m_account.name()));
    m_junk = specialFolder(junk);
    m_sent = specialFolder(sent);
    m_trash = specialFolder(trash);
}

std::shared_ptr<ImapFolder> ImapApplication::specialFolder(const QString& name) {
    if (auto folder = m_byName.value(name); folder && folder->selectable())
        return folder;
    // None there yet: made, as mail clients make their special folders.
    ImapClient& client = commands();
    ImapCommand create(QByteArrayLiteral("CREATE"));
    create.mailbox(name);
    const ImapResult result = waitDone(
        [&](ImapConnection::Done done) { client.connection().run(create, std::move(done)); });
    if (!result.ok())
        throw hostError(QStringLiteral("%1: the folder %2 is missing and cannot be made: %3")
                            .arg(m_account.name(), name, result.describe()));
    log(QStringLiteral("made the folder %1").arg(name));
    auto folder = std::make_shared<ImapFolder>(*this, name, name, true);
    m_byName.insert(name, folder);
    m_store->addSubfolder(folder);
    return folder;
}

QList<std::shared_ptr<ImapFolder>> ImapApplication::allFolders() const {
    QList<std::shared_ptr<ImapFolder>> folders{m_inbox};
    QStringList names = m_byName.keys();
    names.sort();
    for (const QString& name : names) {
        const auto& folder = m_byName[name];
        if (folder != m_inbox && folder->selectable())
            folders.append(folder);
    }
    return folders;
}

std::shared_ptr<ImapFolder> ImapApplication::folderByName(const QString& serverName) const {
    return m_byName.value(serverName);
}

std::shared_ptr<ImapFolder> ImapApplication::folderRef(const ImapFolder& folder) const {
    return m_byName.value(folder.serverName());
}

QString ImapApplication::snapshotPath(const ImapFolder& folder) const {
    if (m_account.stateDirectory.isEmpty())
        return {};
    return m_account.stateDirectory + QStringLiteral("/") +
           QString::fromLatin1(folder.serverName().toUtf8().toPercentEncoding()) +
           QStringLiteral(".snapshot");
}

QString ImapApplication::entryIdFor(const ImapFolder& folder, quint32 uid) {
    const QString place = placeKey(folder.serverName(), uid);
    if (const auto it = m_entryIds.constFind(place); it != m_entryIds.constEnd())
        return *it;
    const QString entryId = QStringLiteral("imap:%1").arg(++m_lastEntryId);
    m_entryIds.insert(place, entryId);
    m_locations.insert(entryId, {folder.serverName(), uid});
    return entryId;
}

std::shared_ptr<ImapItem> ImapApplication::findItem(const QString& entryId) const {
    if (auto handle = m_handles.value(entryId).lock())
        return handle;
    const auto it = m_locations.constFind(entryId);
    if (it == m_locations.constEnd())
        return nullptr;
    const auto folder = m_byName.value(it->folder);
    if (!folder || !folder->snapshot().messages.contains(it->uid))
        return nullptr;
    try {
        return const_cast<ImapApplication*>(this)->itemAt(*folder, it->uid);
    } catch (const VbError&) {
        return nullptr;
    }
}

std::shared_ptr<ImapItem> ImapApplication::itemAt(ImapFolder& folder, quint32 uid) {
    const QString entryId = entryIdFor(folder, uid);
    if (auto handle = m_handles.value(entryId).lock())
        return handle;
    ensureSelected(folder, false);
    ImapClient& client = *m_client;
    const auto [result, fetched] =
        wait<QList<FetchedMessage>>([&](ImapClient::Then<QList<FetchedMessage>> done) {
            client.fetchMessages(UidSet{uid}, done);
        });
    if (!result.ok() || fetched.isEmpty() || !fetched.first().body)
        throw hostError(QStringLiteral("%1: message UID %2 in %3 cannot be fetched: %4")
                            .arg(m_account.name())
                            .arg(uid)
                            .arg(folder.Name(), result.ok() ? QStringLiteral("the server sent "
                                                                             "no message")
                                                            : result.describe()));
    return adopt(folder, fetched.first());
}

std::shared_ptr<ImapItem> ImapApplication::adopt(ImapFolder& folder,
                                                 const FetchedMessage& fetched) {
    const QString entryId = entryIdFor(folder, fetched.uid);
    auto item = std::make_shared<ImapItem>(folder, entryId, fetched);
    // Handles of forgotten messages are kept while held; the rest go now
    // and then.
    if (++m_adopted % 1024 == 0)
        m_handles.removeIf([](const auto& handle) { return handle.value().expired(); });
    m_handles.insert(entryId, item);
    return item;
}

std::shared_ptr<ImapItem> ImapApplication::forget(ImapFolder& folder, quint32 uid) {
    const QString entryId = m_entryIds.take(placeKey(folder.serverName(), uid));
    if (entryId.isEmpty())
        return nullptr;
    m_locations.remove(entryId);
    auto handle = m_handles.value(entryId).lock();
    if (!handle)
        m_handles.remove(entryId);
    return handle;
}

void ImapApplication::follow(ImapItem& handle, const ImapItem& moved) {
    handle.relocate(moved.folder(), moved.uid());
    const QString place = placeKey(moved.folder().serverName(), moved.uid());
    const QString replaced = m_entryIds.value(place);
    if (!replaced.isEmpty() && replaced != handle.EntryID()) {
        m_locations.remove(replaced);
        m_handles.remove(replaced);
    }
    m_entryIds.insert(place, handle.EntryID());
    m_locations.insert(handle.EntryID(), {moved.folder().serverName(), moved.uid()});
}

void ImapApplication::fault(const QString& what, const QString& why) const {
    log(what + QStringLiteral(": ") + why);
}

void ImapApplication::saveOwnActions() {
    if (const QString error = m_ownActions.save(); !error.isEmpty())
        throw VbError(VbError::PathFileAccessError, error);
}

void ImapApplication::moveItem(ImapItem& item, ImapFolder& destination) {
    ImapFolder& source = item.folder();
    if (&source == &destination)
        return;
    const QString what = QStringLiteral("\"%1\" (UID %2 in %3)")
                             .arg(item.subject())
                             .arg(item.uid())
                             .arg(source.Name());
    const qint64 now = events::monotonicMs();
    // Written down before the server does it: the watchers see the move
    // come back, and so would the next start after a crash.
    m_ownActions.expect(source.serverName(), item.key(), OwnActionLog::Disappears, now,
                        !source.tracked());
    m_ownActions.expect(destination.serverName(), item.key(), OwnActionLog::Appears, now,
                        !destination.tracked());
    const auto withdraw = [&] {
        m_ownActions.withdraw(source.serverName(), item.key(), OwnActionLog::Disappears);
        m_ownActions.withdraw(destination.serverName(), item.key(), OwnActionLog::Appears);
    };
    std::optional<CopyUid> copied;
    try {
        saveOwnActions();
        ensureSelected(source, true);
        ImapClient& client = *m_client;
        ImapResult result;
        std::tie(result, copied) =
            wait<std::optional<CopyUid>>([&](ImapClient::Then<std::optional<CopyUid>> done) {
                client.move(UidSet{item.uid()}, destination.serverName(), done);
            });
        if (!result.ok())
            throw hostError(result.describe());
        // A server with UIDPLUS names the new UID of every message it moved;
        // none named, none moved (another client took it away first).
        if (!copied && client.connection().hasCapability("UIDPLUS"))
            throw hostError(QStringLiteral("it was moved or deleted meanwhile"));
    } catch (const VbError& error) {
        withdraw();
        m_ownActions.save();
        fault(what + QStringLiteral(" was not moved to ") + destination.Name(),
              error.description());
        throw;
    }
    quint32 newUid = 0;
    if (copied)
        for (const auto& [from, to] : copied->moved)
            if (from == item.uid())
                newUid = to;
    const FolderSnapshot::Message listed =
        source.snapshot().messages.value(item.uid(), {item.key(), item.flags()});
    // A watched folder's snapshot now holds the change, so its watcher finds
    // nothing to report; an unwatched one's is never saved, so the entries
    // stay for the next start's watchers.
    source.removeMessage(item.uid());
    if (source.tracked())
        m_ownActions.withdraw(source.serverName(), item.key(), OwnActionLog::Disappears);
    const QString entryId = m_entryIds.take(placeKey(source.serverName(), item.uid()));
    if (newUid != 0) {
        // Without the new UID the watcher matches it against the log instead.
        destination.addMessage(newUid, listed);
        if (destination.tracked())
            m_ownActions.withdraw(destination.serverName(), item.key(), OwnActionLog::Appears);
        m_entryIds.insert(placeKey(destination.serverName(), newUid), entryId);
        m_locations.insert(entryId, {destination.serverName(), newUid});
    } else {
        m_locations.remove(entryId);
    }
    item.relocate(destination, newUid);
    persist(source);
    persist(destination);
    m_ownActions.save();
}

void ImapApplication::persist(ImapFolder& folder) {
    if (!folder.tracked() || !folder.dirty() || snapshotPath(folder).isEmpty())
        return;
    if (const QString error = folder.savedView().save(snapshotPath(folder)); !error.isEmpty()) {
        log(QStringLiteral("the state of %1 was not saved: %2").arg(folder.Name(), error));
        return;
    }
    folder.markSaved();
}

ImapApplication::RewriteUndo ImapApplication::undoRewrite(ImapFolder& folder, quint32 oldUid,
                                                          quint32 newUid) {
    try {
        ensureSelected(folder, true);
        ImapClient& client = *m_client;
        const auto [asked, found] =
            wait<QList<FetchedMessage>>([&](ImapClient::Then<QList<FetchedMessage>> done) {
                client.fetchKeys(UidSet{oldUid}, done);
            });
        if (!asked.ok())
            return RewriteUndo::Unknown;
        if (std::none_of(found.begin(), found.end(),
                         [&](const FetchedMessage& m) { return m.uid == oldUid; }))
            return RewriteUndo::OldGone;
        const ImapResult unmarked = waitDone([&](ImapConnection::Done done) {
            client.store(UidSet{oldUid}, ImapClient::FlagChange::Remove,
                         {QByteArrayLiteral("\\Deleted")}, done);
        });
        if (!unmarked.ok())
            return RewriteUndo::Unknown;
        ImapResult undone = waitDone([&](ImapConnection::Done done) {
            client.store(UidSet{newUid}, ImapClient::FlagChange::Add,
                         {QByteArrayLiteral("\\Deleted")}, done);
        });
        if (undone.ok())
            undone =
                waitDone([&](ImapConnection::Done done) { client.expunge(UidSet{newUid}, done); });
        return undone.ok() ? RewriteUndo::Undone : RewriteUndo::Unknown;
    } catch (const VbError&) {
        return RewriteUndo::Unknown;
    }
}

void ImapApplication::rewriteSubject(ImapItem& item, const QString& subject) {
    ImapFolder& folder = item.folder();
    const QString what = QStringLiteral("the new subject of \"%1\" (UID %2 in %3)")
                             .arg(subject)
                             .arg(item.uid())
                             .arg(folder.Name());
    const QByteArray rewritten = mime::withSubject(item.raw(), subject);
    const QString newKey =
        messageKey(messageIdOf(rewritten), rewritten.size(), item.internalDate());
    const quint32 oldUid = item.uid();
    const qint64 now = events::monotonicMs();
    int rewrite = 0;
    quint32 newUid = 0;
    QByteArrayList flags = item.flags();
    bool appendedUnknown = false;
    folder.beginRewrite(oldUid);
    const auto rewriteOver = qScopeGuard([&folder] { folder.endRewrite(); });
    const auto forgetRewrite = [&] {
        m_ownActions.withdraw(folder.serverName(), newKey, OwnActionLog::Appears);
        m_ownActions.withdraw(folder.serverName(), item.key(), OwnActionLog::Disappears);
        m_ownActions.endRewrite(rewrite);
        m_ownActions.save();
    };
    try {
        // Without UIDPLUS the old message could only go with a plain
        // EXPUNGE, which takes every message marked deleted along.
        ImapClient& client = commands();
        if (!client.connection().hasCapability("UIDPLUS"))
            throw hostError(QStringLiteral("the server does not offer UIDPLUS, so the old "
                                           "message could not be removed alone"));
        // Moved or deleted by another client while it was judged: a new copy
        // would bring it back where the user no longer wants it. Its flags
        // may have changed meanwhile too; the new copy takes them as they
        // are now.
        ensureSelected(folder, true);
        catchUpSelected();
        ensureSelected(folder, true);
        const auto [looked, present] =
            wait<QList<FetchedMessage>>([&](ImapClient::Then<QList<FetchedMessage>> done) {
                m_client->fetchKeys(UidSet{oldUid}, done);
            });
        const auto current =
            std::find_if(present.begin(), present.end(), [&](const FetchedMessage& m) {
                return m.uid == oldUid && messageKey(m) == item.key();
            });
        if (!looked.ok() || current == present.end())
            throw hostError(looked.ok() ? QStringLiteral("it was moved or deleted meanwhile")
                                        : looked.describe());
        flags = current->flags ? settableFlags(*current->flags) : item.flags();
        m_ownActions.expect(folder.serverName(), newKey, OwnActionLog::Appears, now,
                            !folder.tracked());
        m_ownActions.expect(folder.serverName(), item.key(), OwnActionLog::Disappears, now,
                            !folder.tracked());
        rewrite = m_ownActions.beginRewrite(
            {folder.serverName(), folder.snapshot().uidValidity, oldUid, 0, item.key(), newKey});
        saveOwnActions();
        const auto [appended, appendUid] =
            wait<std::optional<AppendUid>>([&](ImapClient::Then<std::optional<AppendUid>> done) {
                m_client->append(folder.serverName(), rewritten, flags, item.internalDate(), done);
            });
        if (!appended.ok())
            throw hostError(appended.describe());
        if (!appendUid) {
            appendedUnknown = true;
            throw hostError(QStringLiteral("the server did not tell the new message's UID; "
                                           "the next start removes the old one"));
        }
        newUid = appendUid->uid;
        m_ownActions.setRewriteUid(rewrite, newUid);
        saveOwnActions();
    } catch (const VbError& error) {
        if (appendedUnknown)
            m_ownActions.save(); // kept for the next start
        else
            forgetRewrite();
        fault(what + QStringLiteral(" was not saved"), error.description());
        throw;
    }
    // The new message is whole on the server: now exactly the old one goes.
    // The STORE is answered with the old message's flags while it is there;
    // without that answer another client took it away during the APPEND,
    // and the new copy must not bring it back.
    bool oldWasThere = true;
    try {
        ensureSelected(folder, true);
        ImapClient& client = *m_client;
        ImapCommand mark(QByteArrayLiteral("UID STORE"));
        mark.raw(QByteArray::number(oldUid)).raw("+FLAGS").raw("(\\Deleted)");
        ImapResult result = waitDone(
            [&](ImapConnection::Done done) { client.connection().run(mark, std::move(done)); });
        if (result.ok()) {
            oldWasThere = std::any_of(result.untagged.begin(), result.untagged.end(),
                                      [&](const ImapResponse& response) {
                                          const auto fetched = readFetch(response);
                                          return fetched && fetched->uid == oldUid;
                                      });
            if (!oldWasThere)
                throw hostError(QStringLiteral("it was moved or deleted meanwhile"));
            result =
                waitDone([&](ImapConnection::Done done) { client.expunge(UidSet{oldUid}, done); });
        }
        if (!result.ok())
            throw hostError(result.describe());
    } catch (const VbError& error) {
        if (!oldWasThere) {
            ImapClient& client = *m_client;
            ImapResult removed = waitDone([&](ImapConnection::Done done) {
                client.store(UidSet{newUid}, ImapClient::FlagChange::Add,
                             {QByteArrayLiteral("\\Deleted")}, done);
            });
            if (removed.ok())
                removed = waitDone(
                    [&](ImapConnection::Done done) { client.expunge(UidSet{newUid}, done); });
            if (removed.ok())
                forgetRewrite();
            fault(what + QStringLiteral(" was not saved"), error.description());
            throw;
        }
        const RewriteUndo undo = undoRewrite(folder, oldUid, newUid);
        // When the server carried out the EXPUNGE but its answer was lost,
        // the old message is gone and the new copy is the message now.
        if (undo != RewriteUndo::OldGone) {
            if (undo == RewriteUndo::Undone)
                forgetRewrite();
            // Otherwise left in the log: the next start removes the one too many.
            fault(what + QStringLiteral(" was not saved"), error.description());
            throw;
        }
    }
    const FolderSnapshot::Message listed{newKey, flags};
    folder.replaceMessage(oldUid, newUid, listed);
    if (folder.tracked()) {
        m_ownActions.withdraw(folder.serverName(), newKey, OwnActionLog::Appears);
        m_ownActions.withdraw(folder.serverName(), item.key(), OwnActionLog::Disappears);
    }
    m_ownActions.endRewrite(rewrite);
    const QString entryId = m_entryIds.take(placeKey(folder.serverName(), oldUid));
    m_entryIds.insert(placeKey(folder.serverName(), newUid), entryId);
    m_locations.insert(entryId, {folder.serverName(), newUid});
    item.rewritten(newUid, rewritten, newKey);
    persist(folder);
    m_ownActions.save();
}

void ImapApplication::finishInterruptedRewrites() {
    const QList<OwnActionLog::Rewrite> pending = m_ownActions.pendingRewrites();
    if (pending.isEmpty())
        return;
    for (const OwnActionLog::Rewrite& r : pending) {
        const auto folder = m_byName.value(r.folder);
        if (!folder)
            continue;
        try {
            ensureSelected(*folder, true);
            ImapClient& client = *m_client;
            // Both copies still there? The rewritten one is kept: it is what
            // the filter meant.
            // Without a Message-ID the new copy is looked for among the
            // messages that came after the old one.
            ImapCommand search(QByteArrayLiteral("UID SEARCH"));
            const QString messageId = messageIdOfKey(r.oldKey);
            if (messageId.isEmpty())
                search.raw("UID").raw(QByteArray::number(r.oldUid) + ":*");
            else
                search.raw("HEADER Message-ID").string(messageId.toUtf8());
            const ImapResult found = waitDone([&](ImapConnection::Done done) {
                client.connection().run(search, std::move(done));
            });
            UidSet candidates;
            for (const ImapResponse& response : found.untagged)
                if (const auto uids = readSearch(response))
                    candidates.add(*uids);
            if (candidates.isEmpty())
                continue;
            const auto [fetchedOk, keys] =
                wait<QList<FetchedMessage>>([&](ImapClient::Then<QList<FetchedMessage>> done) {
                    client.fetchKeys(candidates, done);
                });
            bool oldThere = false, newThere = false;
            for (const FetchedMessage& message : keys) {
                oldThere = oldThere || (message.uid == r.oldUid && messageKey(message) == r.oldKey);
                newThere = newThere || (message.uid != r.oldUid && messageKey(message) == r.newKey);
            }
            if (!oldThere || !newThere)
                continue;
            ImapResult result = waitDone([&](ImapConnection::Done done) {
                client.store(UidSet{r.oldUid}, ImapClient::FlagChange::Add,
                             {QByteArrayLiteral("\\Deleted")}, done);
            });
            if (result.ok())
                result = waitDone(
                    [&](ImapConnection::Done done) { client.expunge(UidSet{r.oldUid}, done); });
            if (!result.ok())
                throw hostError(result.describe());
            log(QStringLiteral("removed the old copy of a message whose subject rewrite was "
                               "interrupted (UID %1 in %2)")
                    .arg(r.oldUid)
                    .arg(folder->Name()));
        } catch (const VbError& error) {
            log(QStringLiteral("an interrupted subject rewrite in %1 (UID %2) could not be "
                               "finished: %3")
                    .arg(folder->Name())
                    .arg(r.oldUid)
                    .arg(error.description()));
        }
    }
    // Each is finished now, or cannot be any more.
    m_ownActions.clearRewrites();
    m_ownActions.save();
}

ImapApplication::FolderChanges ImapApplication::readChanges(ImapFolder& folder) {
    if (!folder.selectable())
        return {};
    try {
        ensureSelected(folder, false);
        ImapClient& client = *m_client;
        const auto [searched, uids] =
            wait<UidSet>([&](ImapClient::Then<UidSet> done) { client.searchAll(done); });
        if (!searched.ok())
            throw hostError(searched.describe());
        // A first look, or a folder renumbered by the server: the messages
        // are taken as they are, none of them new.
        const bool baseline = folder.snapshot().uidValidity != m_selectedValidity;
        if (baseline) {
            FolderSnapshot fresh;
            fresh.uidValidity = m_selectedValidity;
            folder.resetSnapshot(fresh);
        }
        FolderChanges changes;
        if (!uids.isEmpty())
            folder.sawUpTo(uids.ranges().last().last);
        UidSet fresh = uids;
        fresh.remove(folder.snapshot().uids());
        UidSet gone = folder.snapshot().uids();
        gone.remove(uids);
        for (const quint32 uid : gone.toList()) {
            changes.gone.append({uid, folder.snapshot().messages.value(uid)});
            folder.removeMessage(uid);
        }
        if (fresh.isEmpty())
            return changes;
        const auto [fetchedOk, keys] = wait<QList<FetchedMessage>>(
            [&](ImapClient::Then<QList<FetchedMessage>> done) { client.fetchKeys(fresh, done); });
        if (!fetchedOk.ok())
            throw hostError(fetchedOk.describe());
        for (const FetchedMessage& message : keys) {
            folder.addMessage(message.uid,
                              {messageKey(message), message.flags.value_or(QByteArrayList())});
            changes.fresh.append(message);
        }
        if (baseline)
            changes.fresh.clear();
        return changes;
    } catch (const VbError& error) {
        log(error.description());
        FolderChanges none;
        none.read = false;
        return none;
    }
}

UidSet ImapApplication::readFolder(ImapFolder& folder) {
    UidSet fresh;
    for (const FetchedMessage& message : readChanges(folder).fresh)
        fresh.add(message.uid);
    return fresh;
}

MailboxStatus ImapApplication::status(ImapFolder& folder) {
    ImapClient& client = commands();
    // A server may answer STATUS on the selected folder from the session's
    // own view of it, which other sessions' changes reach only with the next
    // command that lets the server tell them (Dovecot does so).
    if (m_selected == folder.serverName())
        catchUpSelected();
    const auto [result, status] = wait<MailboxStatus>(
        [&](ImapClient::Then<MailboxStatus> done) { client.status(folder.serverName(), done); });
    if (!result.ok())
        throw hostError(QStringLiteral("%1: cannot ask about %2: %3")
                            .arg(m_account.name(), folder.Name(), result.describe()));
    return status;
}

} // namespace velmora::imap
