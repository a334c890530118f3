#include "hosts/memory/MemoryItem.h"

#include "base/VbError.h"
#include "hosts/memory/MemoryFolder.h"

#include <QFile>

namespace velmora::memory {

QString MemoryAttachment::displayName() const {
    return m_content.displayName.isEmpty() ? m_content.fileName : m_content.displayName;
}

void MemoryAttachment::saveAsFile(const QString& path) const {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(m_content.bytes) != m_content.bytes.size())
        throw VbError(VbError::AutomationError, QStringLiteral("cannot save %1").arg(path));
    ++m_saveCount;
}

MemoryItem::MemoryItem(QString entryId, MessageContent content)
    : m_entryId(std::move(entryId)), m_content(std::move(content)),
      m_savedSubject(m_content.subject) {
    for (const AttachmentContent& a : std::as_const(m_content.attachments))
        m_attachments.append(std::make_shared<MemoryAttachment>(a));
}

std::shared_ptr<HostAttachment> MemoryItem::attachment(int index) const {
    return memoryAttachment(index);
}

std::shared_ptr<MemoryAttachment> MemoryItem::memoryAttachment(int index) const {
    if (index < 1 || index > m_attachments.size())
        throw VbError(VbError::AutomationError,
                      QStringLiteral("no attachment %1 in %2").arg(index).arg(m_entryId));
    return m_attachments[index - 1];
}

MessageContent MemoryItem::content() const {
    return m_content;
}

void MemoryItem::setFailing(Operation operation, bool failing) {
    (operation == Operation::Save ? m_saveFails : m_moveFails) = failing;
}

void MemoryItem::save() {
    if (m_saveFails)
        throw VbError(VbError::AutomationError, QStringLiteral("cannot save %1").arg(m_entryId));
    if (!m_folder)
        throw VbError(VbError::AutomationError, QStringLiteral("item %1 has gone").arg(m_entryId));
    m_savedSubject = m_content.subject;
    ++m_saveCount;
}

void MemoryItem::move(HostFolder& destination) {
    if (m_moveFails)
        throw VbError(VbError::AutomationError, QStringLiteral("cannot move %1").arg(m_entryId));
    if (!m_folder)
        throw VbError(VbError::AutomationError, QStringLiteral("item %1 has gone").arg(m_entryId));
    auto* target = dynamic_cast<MemoryFolder*>(&destination);
    if (!target)
        throw VbError(VbError::AutomationError, QStringLiteral("not a folder of this store"));
    // As in the real client the move is complete before either folder tells
    // its subscribers: first the source's ItemRemove, then the target's ItemAdd.
    const std::shared_ptr<MemoryItem> self = shared_from_this();
    MemoryFolder* source = m_folder;
    source->takeItem(self);
    target->addItem(self, false);
    source->raiseItemRemove();
    target->raiseItemAdd(self);
}

} // namespace velmora::memory
