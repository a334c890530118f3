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
    const auto& messages = m_folder.snapshot().messages;
    if (index < 1 || index > messages.size())
        throw VbError(VbError::SubscriptOutOfRange,
                      QStringLiteral("%1: no message %2").arg(m_folder.Name()).arg(index));
    const quint32 uid = *std::next(messages.keyBegin(), index - 1);
    return m_folder.application().itemAt(m_folder, uid);
}

ImapFolder::ImapFolder(ImapApplication& application, QString serverName, QString name,
                       bool selectable)
    : m_application(application), m_serverName(std::move(serverName)), m_name(std::move(name)),
      m_selectable(selectable) {}

QList<FolderRef> ImapFolder::Folders() const {
    QList<FolderRef> folders;
    for (const auto& folder : m_subfolders)
        folders.append(folder);
    return folders;
}

void ImapFolder::resetSnapshot(FolderSnapshot snapshot) {
    m_snapshot = std::move(snapshot);
    m_dirty = true;
}

void ImapFolder::setModSeq(quint64 highestModSeq) {
    if (highestModSeq != m_snapshot.highestModSeq) {
        m_snapshot.highestModSeq = highestModSeq;
        m_dirty = true;
    }
}

void ImapFolder::addMessage(quint32 uid, const FolderSnapshot::Message& message) {
    m_snapshot.messages.insert(uid, message);
    m_dirty = true;
}

bool ImapFolder::removeMessage(quint32 uid) {
    const auto it = m_snapshot.messages.find(uid);
    if (it == m_snapshot.messages.end())
        return false;
    const qsizetype at = std::distance(m_snapshot.messages.begin(), it);
    m_snapshot.messages.erase(it);
    m_items.removedAt(at);
    m_dirty = true;
    return true;
}

void ImapFolder::setFlags(quint32 uid, const QByteArrayList& flags) {
    const auto it = m_snapshot.messages.find(uid);
    if (it != m_snapshot.messages.end() && it->flags != flags) {
        it->flags = flags;
        m_dirty = true;
    }
}

} // namespace velmora::imap
