#pragma once

#include "addin/host/HostApplication.h"
#include "hosts/imap/ImapAccount.h"
#include "hosts/imap/ImapClient.h"
#include "hosts/imap/ImapFolder.h"
#include "hosts/imap/OwnActionLog.h"
#include "hosts/memory/MemoryApplication.h"

#include <QHash>

#include <functional>
#include <memory>

namespace velmora::imap {

class ImapApplication;
class ImapItem;

class ImapNamespace final : public HostNamespace {
public:
    explicit ImapNamespace(ImapApplication& app) : m_app(app) {}
    QList<FolderRef> Folders() const override;
    FolderRef GetDefaultFolder(int number) const override;
    MailItemRef GetItemFromID(const QString& entryId) const override;

private:
    ImapApplication& m_app;
};

// A mail client over one IMAP account: the host surface's folders are the
// server's mailboxes, its items the messages, fetched whole when handed out.
//
// It keeps the host contract of HostApplication.h for what the add-in does:
// move() and save() talk to the server and wait for its answer (on the event
// loop, so the program stays alive meanwhile), and raise their events before
// they return. What other clients do reaches it through ImapLiveEvents.
//
// Commands go over one connection of their own, opened again when it drops.
// The waits never nest: while one runs, the watchers hold back the events
// they have to raise, and the user's clicks wait.
class ImapApplication final : public HostApplication {
public:
    using Log = std::function<void(const QString&)>;

    // Connects and logs in, lists the folders and finds Junk, Sent and
    // Trash (creating any that is missing), and finishes or undoes a subject
    // rewrite a crash interrupted. Throws VbError with a message naming the
    // server and the cause (refused certificate, wrong password, ...).
    explicit ImapApplication(ImapAccount account, Log log = {});
    ~ImapApplication() override;

    std::shared_ptr<HostNamespace> GetNamespace(const QString& type) const override;
    std::shared_ptr<HostExplorer> ActiveExplorer() const override { return m_explorer; }
    QList<std::shared_ptr<HostExplorer>> Explorers() const override { return {m_explorer}; }

    const ImapAccount& account() const { return m_account; }
    FolderRef store() const { return m_store; }
    ImapFolder& inbox() const { return *m_inbox; }
    ImapFolder& junk() const { return *m_junk; }
    ImapFolder& sent() const { return *m_sent; }
    ImapFolder& trash() const { return *m_trash; }
    memory::MemoryExplorer& explorer() const { return *m_explorer; }
    QList<std::shared_ptr<ImapFolder>> allFolders() const;
    std::shared_ptr<ImapFolder> folderByName(const QString& serverName) const;
    std::shared_ptr<ImapFolder> folderRef(const ImapFolder& folder) const;
    // The capabilities of the command connection, for reports.
    QStringList extensionsInUse() const;
    bool qresync() const { return m_qresync; }

    // The item of that EntryID, or nullptr when its message is gone.
    std::shared_ptr<ImapItem> findItem(const QString& entryId) const;
    // A handle on the message `uid` of `folder`, fetched whole unless one
    // is alive already. Throws VbError naming the message when it cannot.
    std::shared_ptr<ImapItem> itemAt(ImapFolder& folder, quint32 uid);
    // A handle on a message fetched by a watcher, with a new EntryID.
    std::shared_ptr<ImapItem> adopt(ImapFolder& folder, const FetchedMessage& fetched);
    // The message's UID is no longer in the folder (deleted, or moved where
    // nobody watches): its EntryID finds nothing any more, except a handle
    // still held. New mail the user deletes while the filter judges the
    // mail that came with it is still read from that handle, so the rest of
    // the batch is judged; only writing to it fails. Returns that handle.
    std::shared_ptr<ImapItem> forget(ImapFolder& folder, quint32 uid);
    // Names one message's place: its folder and UID.
    static QString placeKey(const QString& folder, quint32 uid);
    // The user moved the message of `handle` to where `moved` (a handle
    // fetched there) is: `handle` and its EntryID follow it, as they do after
    // the add-in's own move, and take the place of `moved`.
    void follow(ImapItem& handle, const ImapItem& moved);

    // What the add-in does, on the server. Each throws VbError (and tells
    // the fault log, naming the message) when it fails, and leaves the
    // message as it was, whole.
    void moveItem(ImapItem& item, ImapFolder& destination);
    void rewriteSubject(ImapItem& item, const QString& subject);
    // What changed in a folder since its last listing.
    struct FolderChanges {
        QList<FetchedMessage> fresh; // UID, flags and key of each new message
        QList<std::pair<quint32, FolderSnapshot::Message>> gone;
        bool read = true; // false when the folder could not be read (logged)
    };
    // Lists a folder again (its UIDs and keys) on the command connection,
    // for folders no watcher keeps current, and returns what changed: nothing
    // at the first look, nor after a new UIDVALIDITY. Failures are logged.
    FolderChanges readChanges(ImapFolder& folder);
    // The same, for callers that want only the UIDs new since the last look.
    UidSet readFolder(ImapFolder& folder);
    // Folders made on the server since the last look, now in the tree.
    // Failures are logged.
    QList<std::shared_ptr<ImapFolder>> findNewFolders();
    // STATUS of a folder. Throws VbError.
    MailboxStatus status(ImapFolder& folder);

    OwnActionLog& ownActions() { return m_ownActions; }
    // Saves the folder's snapshot when it changed (watched folders only);
    // a failure is logged, and the folder saved again at its next change.
    void persist(ImapFolder& folder);
    // Where each folder's snapshot is kept.
    QString snapshotPath(const ImapFolder& folder) const;
    // True while a command of the add-in's waits for the server.
    bool busy() const { return m_waiting > 0; }

    void setLog(Log log) { m_log = std::move(log); }
    void log(const QString& line) const {
        if (m_log)
            m_log(line);
    }

private:
    enum class RewriteUndo { Undone, OldGone, Unknown };
    // After the old message of a rewrite could not be removed: the new copy
    // goes only once the old one is verifiably there again without its
    // deleted mark; when the old one is gone, the new copy is the message.
    RewriteUndo undoRewrite(ImapFolder& folder, quint32 oldUid, quint32 newUid);
    struct Location {
        QString folder;
        quint32 uid = 0;
    };

    ImapClient& commands();
    void connectCommands();
    void ensureSelected(ImapFolder& folder, bool forWriting);
    // Lets the server tell the command connection what other sessions did
    // to the selected folder: until then a server may answer from the
    // session's own older view (Dovecot does, for STATUS and UID FETCH).
    void catchUpSelected();
    // Runs one command of the client and waits for its answer.
    template <class T>
    std::pair<ImapResult, T> wait(const std::function<void(ImapClient::Then<T>)>& start);
    ImapResult waitDone(const std::function<void(ImapConnection::Done)>& start);
    // The server's LIST of every folder. Throws VbError.
    QList<MailboxEntry> listFolders();
    void readTree(const QList<MailboxEntry>& entries);
    // A folder the server lists, put in the tree; nullptr when known.
    std::shared_ptr<ImapFolder> addFolder(const MailboxEntry& entry, const QString& parentName);
    std::shared_ptr<ImapFolder> specialFolder(const QString& name);
    void finishInterruptedRewrites();
    void saveOwnActions();
    void fault(const QString& what, const QString& why) const;
    QString entryIdFor(const ImapFolder& folder, quint32 uid);

    ImapAccount m_account;
    Log m_log;
    std::unique_ptr<ImapConnection> m_connection;
    std::unique_ptr<ImapClient> m_client;
    QString m_selected;
    bool m_selectedForWriting = false;
    quint32 m_selectedValidity = 0;
    bool m_qresync = false;
    QStringList m_specialNames; // Junk, Sent and Trash as chosen, shown at the top
    int m_waiting = 0;
    std::shared_ptr<ImapFolder> m_store;
    std::shared_ptr<ImapFolder> m_inbox, m_junk, m_sent, m_trash;
    QHash<QString, std::shared_ptr<ImapFolder>> m_byName;
    QHash<QString, Location> m_locations;              // EntryID -> where
    QHash<QString, QString> m_entryIds;                // folder + '\n' + UID -> EntryID
    QHash<QString, std::weak_ptr<ImapItem>> m_handles; // EntryID -> live handle
    quint64 m_lastEntryId = 0;
    quint64 m_adopted = 0;
    OwnActionLog m_ownActions;
    std::shared_ptr<memory::MemoryExplorer> m_explorer = std::make_shared<memory::MemoryExplorer>();
    std::shared_ptr<ImapNamespace> m_namespace;
};

} // namespace velmora::imap
