#include "hosts/imap/ImapItem.h"

#include "base/VbError.h"
#include "hosts/imap/FolderSnapshot.h"
#include "hosts/imap/ImapApplication.h"
#include "hosts/imap/ImapFolder.h"

#include <QFile>

namespace velmora::imap {

void ImapAttachment::saveAsFile(const QString& path) const {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(m_attachment.bytes) != m_attachment.bytes.size() || !file.flush())
        throw VbError(VbError::PathFileAccessError,
                      path + QStringLiteral(": ") + file.errorString());
}

ImapItem::ImapItem(ImapFolder& folder, QString entryId, const FetchedMessage& fetched)
    : m_folder(&folder), m_entryId(std::move(entryId)), m_uid(fetched.uid),
      m_raw(fetched.body.value_or(QByteArray())),
      m_flags(settableFlags(fetched.flags.value_or(QByteArrayList()))),
      m_internalDate(fetched.internalDate), m_key(messageKey(fetched)),
      m_message(mime::parseMessage(m_raw)) {}

QByteArrayList settableFlags(QByteArrayList flags) {
    // \Recent belongs to the session that saw it first; it cannot be set.
    flags.removeIf(
        [](const QByteArray& flag) { return flag.compare("\\Recent", Qt::CaseInsensitive) == 0; });
    return flags;
}

void ImapItem::setSubject(const QString& subject) {
    if (subject == m_message.subject)
        return;
    m_message.subject = subject;
    m_subjectChanged = true;
}

std::shared_ptr<HostAttachment> ImapItem::attachment(int index) const {
    if (index < 1 || index > m_message.attachments.size())
        throw VbError(VbError::SubscriptOutOfRange,
                      QStringLiteral("%1: no attachment %2").arg(m_entryId).arg(index));
    return std::make_shared<ImapAttachment>(m_message.attachments[index - 1]);
}

void ImapItem::save() {
    if (!m_subjectChanged)
        return;
    m_folder->application().rewriteSubject(*this, m_message.subject);
    m_subjectChanged = false;
}

void ImapItem::rewritten(quint32 uid, QByteArray raw, QString key) {
    m_uid = uid;
    m_raw = std::move(raw);
    m_key = std::move(key);
}

void ImapItem::move(HostFolder& destination) {
    auto* target = dynamic_cast<ImapFolder*>(&destination);
    if (!target || !target->selectable())
        throw VbError(VbError::InvalidCall,
                      destination.Name() + QStringLiteral(": not a mail folder"));
    ImapFolder& source = *m_folder;
    source.application().moveItem(*this, *target);
    source.Items().ItemRemove.raise();
    target->Items().ItemAdd.raise(shared_from_this());
}

} // namespace velmora::imap
