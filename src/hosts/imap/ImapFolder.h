#pragma once

#include "addin/host/HostFolder.h"
#include "addin/host/PositionalWalks.h"
#include "hosts/imap/FolderSnapshot.h"

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

namespace velmora::imap {

class ImapApplication;
class ImapFolder;

// A folder's messages as listed: in the order they arrived in.
class ImapItems final : public HostItems {
public:
    explicit ImapItems(ImapFolder& folder) : m_folder(folder) {}

    // For a folder nobody watches, the count asks the server first.
    int Count() const override;
    // The message at `index` (from 1), fetched whole from the server unless
    // a handle on it is still alive. Throws VbError when out of range or
    // when it cannot be fetched.
    MailItemRef Item(int index) const override;
    std::unique_ptr<ItemWalk> newWalk() override { return m_walks.newWalk(); }

    void removedAt(qsizetype at) { m_walks.removed(at); }
    void insertedAt(qsizetype at) { m_walks.inserted(at); }

private:
    qsizetype listed() const; // without asking the server

    ImapFolder& m_folder;
    PositionalWalks m_walks{[this] { return listed(); },
                            [this](qsizetype at) { return Item(int(at) + 1); }};
};

// One folder (mailbox) on the server. It keeps the folder as last seen (the
// snapshot): kept up to date by the folder's watcher where it has one, read
// on demand where not.
class ImapFolder final : public HostFolder {
public:
    // `serverName` is the mailbox's full name as the server lists it; empty
    // for the store (the account itself).
    ImapFolder(ImapApplication& application, QString serverName, QString name, bool selectable);

    QString Name() const override { return m_name; }
    int Class() const override { return kFolderClass; }
    QString EntryID() const override { return QStringLiteral("imap-folder:") + m_serverName; }
    FolderItemType defaultItemType() const override { return FolderItemType::Mail; }
    HostItems& Items() override { return m_items; }
    QList<FolderRef> Folders() const override;

    const QString& serverName() const { return m_serverName; }
    bool selectable() const { return m_selectable; }
    ImapApplication& application() const { return m_application; }
    void addSubfolder(const std::shared_ptr<ImapFolder>& folder) { m_subfolders.append(folder); }
    // Returns whether it was a subfolder of this one.
    bool removeSubfolder(const ImapFolder* folder) {
        return m_subfolders.removeIf([folder](const auto& f) { return f.get() == folder; }) > 0;
    }

    // A watcher keeps the snapshot current; otherwise it is read again from
    // the server whenever the add-in counts the folder's items.
    bool watched() const { return m_watched; }
    void setWatched(bool watched) { m_watched = watched; }
    // Asked now and then for its changes, which are reported like a watched
    // folder's; its list is read again whenever the add-in counts it.
    bool polled() const { return m_polled; }
    void setPolled(bool polled) { m_polled = polled; }
    // Its snapshot is saved and its changes reported, so the host's own
    // changes to it are recorded there rather than left to the next start.
    bool tracked() const { return m_watched || m_polled; }
    // The folder shows messages that live in other folders too (Gmail's All
    // Mail, a server's Flagged view): its changes tell nothing of a move.
    bool mirror() const { return m_mirror; }
    void setMirror(bool mirror) { m_mirror = mirror; }
    const FolderSnapshot& snapshot() const { return m_snapshot; }
    // A new baseline: the list replaced without telling walks (a new
    // UIDVALIDITY, or the first look at an unwatched folder).
    void resetSnapshot(FolderSnapshot snapshot);
    void setModSeq(quint64 highestModSeq);
    void addMessage(quint32 uid, const FolderSnapshot::Message& message);
    // A subject rewrite of `oldUid` is under way: its watcher may list the
    // new copy or drop the old one before the rewrite is done.
    void beginRewrite(quint32 oldUid);
    // The rewrite is done: the new copy takes the old one's place in the
    // list, as a saved message keeps its place in any mail client.
    void replaceMessage(quint32 oldUid, quint32 newUid, const FolderSnapshot::Message& message);
    void endRewrite() { m_rewriting.reset(); }
    // Returns false when the UID was not listed.
    bool removeMessage(quint32 uid);
    void setFlags(quint32 uid, const QByteArrayList& flags);
    // What the watcher has seen but the add-in has not been told yet. The
    // folder is saved as if it had not been seen (savedView()), so that a
    // stop before the telling reports it at the next start.
    void arrivalUnreported(quint32 uid) {
        m_unreportedArrivals.insert(uid);
        m_cameAndWent.remove(uid);
    }
    void arrivalReported(quint32 uid) { m_unreportedArrivals.remove(uid); }
    // Its vanishing is kept for telling, unless its arrival never was told.
    void vanishUnreported(quint32 uid, const FolderSnapshot::Message& message);
    void vanishReported(quint32 uid) {
        m_unreportedVanished.remove(uid);
        m_cameAndWent.remove(uid);
    }
    FolderSnapshot savedView() const;
    // The largest UID the folder's watcher has seen the server list. The
    // watcher asks for what is above it; the host's own additions (a moved
    // or rewritten message's new UID) may lie above messages the watcher
    // has not been told of yet, so they do not raise it.
    quint32 seenUpTo() const { return m_seenUpTo; }
    void sawUpTo(quint32 uid) { m_seenUpTo = qMax(m_seenUpTo, uid); }
    // True when the folder changed since it was last saved.
    bool dirty() const { return m_dirty; }
    void markSaved() { m_dirty = false; }

private:
    ImapApplication& m_application;
    QString m_serverName;
    QString m_name;
    bool m_selectable;
    bool m_watched = false;
    bool m_mirror = false;
    bool m_polled = false;
    quint32 m_seenUpTo = 0;
    bool m_dirty = false;
    FolderSnapshot m_snapshot;
    struct Rewriting {
        quint32 oldUid = 0;
        qsizetype removedAt = -1; // where the old copy was when its watcher dropped it
    };
    std::optional<Rewriting> m_rewriting;
    QSet<quint32> m_unreportedArrivals;
    QMap<quint32, FolderSnapshot::Message> m_unreportedVanished;
    QSet<quint32> m_cameAndWent; // removed before reported; its vanishing is no news
    ImapItems m_items{*this};
    QList<std::shared_ptr<ImapFolder>> m_subfolders;
};

} // namespace velmora::imap
