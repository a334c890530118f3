#include "hosts/imap/ImapFolder.h"

#include "base/VbError.h"
#include "hosts/imap/ImapApplication.h"
#include "hosts/imap/ImapItem.h"

namespace velmora::imap {

qsizetype ImapItems::listed() const {
    return m_folder.snapshot().messages.size();
}

int ImapItems::Count() const {
    if (!m_folder.watched())
        m_folder.application().readFolder(m_folder);
    return int(listed());
}

MailItemRef ImapItems::Item(int index) const {
    const auto& order = m_folder.snapshot().order;
    if (index < 1 || index > order.size())
        throw VbError(VbError::SubscriptOutOfRange,
                      QStringLiteral("%1: no message %2").arg(m_folder.Name()).arg(index));
    const quint32 uid = order[index - 1];
    return m_folder.application().itemAt(m_folder, uid);
}

ImapFolder::ImapFolder(ImapApplication& application, QString serverName, QString name,
                       bool selectable)
    : m_application(application), m_serverName(std::move(serverName)), m_name(std::move(name)),
      m_selectable(selectable) {}

QList<FolderRef> ImapFolder::Folders() const {
    // Views of messages that live in other folders (Gmail's All Mail) are
    // not shown: the database build would learn each message again, spam
    // not yet judged in the Inbox included.
    QList<FolderRef> folders;
    for (const auto& folder : m_subfolders)
        if (!folder->mirror())
            folders.append(folder);
    return folders;
}

void ImapFolder::resetSnapshot(FolderSnapshot snapshot) {
    m_snapshot = std::move(snapshot);
    m_seenUpTo = m_snapshot.largestUid();
    m_unreportedArrivals.clear();
    m_unreportedVanished.clear();
    m_cameAndWent.clear();
    m_dirty = true;
}

void ImapFolder::setModSeq(quint64 highestModSeq) {
    if (highestModSeq != m_snapshot.highestModSeq) {
        m_snapshot.highestModSeq = highestModSeq;
        m_dirty = true;
    }
}

void ImapFolder::addMessage(quint32 uid, const FolderSnapshot::Message& message) {
    m_snapshot.add(uid, message);
    m_dirty = true;
}

void ImapFolder::beginRewrite(quint32 oldUid) {
    m_rewriting = Rewriting{oldUid, -1};
}

void ImapFolder::replaceMessage(quint32 oldUid, quint32 newUid,
                                const FolderSnapshot::Message& message) {
    // The watcher may have listed the new copy last, or dropped the old one.
    if (m_snapshot.order.contains(newUid) && oldUid != newUid)
        removeMessage(newUid);
    const qsizetype oldAt =
        m_rewriting && m_rewriting->oldUid == oldUid ? m_rewriting->removedAt : -1;
    if (const qsizetype at = m_snapshot.replace(oldUid, newUid, message, oldAt); at >= 0)
        m_items.insertedAt(at);
    m_dirty = true;
}

bool ImapFolder::removeMessage(quint32 uid) {
    const qsizetype at = m_snapshot.remove(uid);
    if (at < 0)
        return false;
    if (m_rewriting && m_rewriting->oldUid == uid)
        m_rewriting->removedAt = at;
    // Came and went before the add-in heard of it: there is nothing to tell.
    if (m_unreportedArrivals.remove(uid))
        m_cameAndWent.insert(uid);
    m_items.removedAt(at);
    m_dirty = true;
    return true;
}

void ImapFolder::vanishUnreported(quint32 uid, const FolderSnapshot::Message& message) {
    if (!m_cameAndWent.remove(uid))
        m_unreportedVanished.insert(uid, message);
}

FolderSnapshot ImapFolder::savedView() const {
    const bool ownAboveSeen = m_snapshot.largestUid() > m_seenUpTo;
    if (m_unreportedArrivals.isEmpty() && m_unreportedVanished.isEmpty() && !ownAboveSeen)
        return m_snapshot;
    FolderSnapshot view = m_snapshot;
    for (const quint32 uid : m_unreportedArrivals)
        view.remove(uid);
    for (auto it = m_unreportedVanished.begin(); it != m_unreportedVanished.end(); ++it)
        view.add(it.key(), it.value());
    // The server's list of what vanished since a HIGHESTMODSEQ would not
    // name a removal older than it, and what is new is asked for above the
    // largest UID listed: the next start compares UIDs instead.
    view.highestModSeq = 0;
    return view;
}

void ImapFolder::setFlags(quint32 uid, const QByteArrayList& flags) {
    const auto it = m_snapshot.messages.find(uid);
    if (it != m_snapshot.messages.end() && it->flags != flags) {
        it->flags = flags;
        m_dirty = true;
    }
}

} // namespace velmora::imap
