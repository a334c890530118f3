#pragma once

#include "addin/host/HostApplication.h"
#include "hosts/maildir/MaildirFolder.h"
#include "hosts/maildir/OwnActionJournal.h"
#include "hosts/memory/MemoryCommandBars.h"

#include <QHash>

#include <functional>

#include <memory>

namespace velmora::maildir {

class MaildirApplication;

// Which folders serve as Junk, Sent and Deleted Items: Maildir++ names
// ("Junk", "Archive.Spam"); empty to find them by their usual names.
struct SpecialFolders {
    QString junk;
    QString sent;
    QString trash;
};

class MaildirNamespace final : public HostNamespace {
public:
    explicit MaildirNamespace(MaildirApplication& app) : m_app(app) {}
    QList<FolderRef> Folders() const override;
    FolderRef GetDefaultFolder(int number) const override;
    MailItemRef GetItemFromID(const QString& entryId) const override;

private:
    MaildirApplication& m_app;
};

// The explorer of a mail client that has no window of its own: its selection
// is what the user's last action moved (set by the host before BeforeMove),
// its current folder what a sweep is asked to clean, and its command bar the
// one the add-in's menu is built on (shown as a tray menu where there is a
// screen).
class MaildirExplorer final : public HostExplorer {
public:
    QList<MailItemRef> Selection() const override { return m_selection; }
    FolderRef currentFolder() const override { return m_current; }
    std::shared_ptr<CommandBars> commandBars() const override { return m_bars; }

    void setSelection(const QList<MailItemRef>& items) { m_selection = items; }
    void setCurrentFolder(const FolderRef& folder) { m_current = folder; }
    memory::MemoryCommandBars& menuBars() { return *m_bars; }

private:
    QList<MailItemRef> m_selection;
    FolderRef m_current;
    std::shared_ptr<memory::MemoryCommandBars> m_bars =
        std::make_shared<memory::MemoryCommandBars>();
};

// A mail client over a Maildir++ tree on disk, as Dovecot, mbsync,
// offlineimap, mutt and notmuch keep one: the host surface's folders and
// items are the tree's folders and message files.
//
// It keeps the host contract of HostApplication.h for what the add-in does
// (moves and saves). What other clients do reaches it through a watcher and
// the event correlator, which call the raise...() members below.
class MaildirApplication final : public HostApplication {
public:
    // Reads the folder tree under `root` (which must exist), creating the
    // Inbox's cur/, new/, tmp/ and any missing Junk, Sent and Trash folder.
    // Throws VbError naming the folder when it cannot.
    explicit MaildirApplication(const QString& root, const SpecialFolders& special = {});

    std::shared_ptr<HostNamespace> GetNamespace(const QString& type) const override;
    std::shared_ptr<HostExplorer> ActiveExplorer() const override { return m_explorer; }
    QList<std::shared_ptr<HostExplorer>> Explorers() const override { return {m_explorer}; }

    const QString& root() const { return m_root; }
    // The whole mailbox as the one store: its folders are the top-level ones.
    FolderRef store() const { return m_store; }
    MaildirFolder& inbox() const { return *m_inbox; }
    MaildirFolder& junk() const { return *m_junk; }
    MaildirFolder& sent() const { return *m_sent; }
    MaildirFolder& trash() const { return *m_trash; }
    MaildirExplorer& explorer() const { return *m_explorer; }
    // Every folder with a directory, the Inbox first.
    QList<std::shared_ptr<MaildirFolder>> allFolders() const;
    // The folder of that Maildir++ name ("" for the Inbox), or nullptr.
    std::shared_ptr<MaildirFolder> folderByPath(const QString& path) const;
    std::shared_ptr<MaildirFolder> folderRef(const MaildirFolder& folder) const;
    // The folder named as a user would name it: "Inbox", a Maildir++ name
    // ("Work.Projects") or a path with slashes ("Work/Projects").
    std::shared_ptr<MaildirFolder> findFolder(const QString& name) const;

    // Folders made on disk since the tree was read (by a mail client or
    // server), now part of it. Returns them.
    QList<std::shared_ptr<MaildirFolder>> adoptNewFolders();

    // The message of that EntryID wherever it is now, or nullptr. A message
    // whose subject was rewritten keeps the EntryID it had.
    std::shared_ptr<class MaildirItem> findItem(const QString& entryId) const;
    // A saved message now lives under `newBase`: its old EntryID still finds it.
    void noteRewritten(const QString& entryId, const QString& newBase);
    // The host's own renames and rewrites, so the watcher does not report
    // them back as the user's.
    OwnActionJournal& journal() { return m_journal; }
    // Where failures of the host's own writes are told, naming the message
    // (the add-in's handlers end quietly on them, as they always have).
    void setFaultLog(std::function<void(const QString&)> log) { m_faultLog = std::move(log); }
    void reportFault(const QString& what) const {
        if (m_faultLog)
            m_faultLog(what);
    }

private:
    void readTree(const SpecialFolders& special);
    QStringList folderPathsOnDisk() const;
    std::shared_ptr<MaildirFolder>
    specialFolder(const QString& overridden, const QStringList& usualNames, const QString& created);

    QString m_root;
    std::shared_ptr<MaildirFolder> m_store; // the mailbox as one store
    std::shared_ptr<MaildirFolder> m_inbox, m_junk, m_sent, m_trash;
    QHash<QString, std::shared_ptr<MaildirFolder>> m_byPath;
    QHash<QString, QString> m_rewritten; // EntryID -> base name now
    OwnActionJournal m_journal;
    std::function<void(const QString&)> m_faultLog;
    std::shared_ptr<MaildirExplorer> m_explorer = std::make_shared<MaildirExplorer>();
    std::shared_ptr<MaildirNamespace> m_namespace;
};

// An IMAP folder name in modified UTF-7 ("Entw&APw-rfe"), as Maildir++ trees
// keep non-ASCII names, decoded ("Entwürfe").
QString decodeFolderName(const QString& name);

} // namespace velmora::maildir
