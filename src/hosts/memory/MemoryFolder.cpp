#include "hosts/memory/MemoryFolder.h"

#include "base/VbError.h"

namespace velmora::memory {

MailItemRef MemoryItems::Item(int index) const {
    if (index < 1 || index > m_items.size())
        throw VbError(VbError::AutomationError, QStringLiteral("no item %1").arg(index));
    return m_items[index - 1];
}

MailItemRef MemoryItems::GetFirst() {
    m_cursor = 0;
    return m_items.isEmpty() ? nullptr : m_items.first();
}

MailItemRef MemoryItems::GetNext() {
    if (m_cursor < 0)
        return nullptr;
    ++m_cursor;
    return m_cursor < m_items.size() ? m_items[m_cursor] : nullptr;
}

QList<FolderRef> MemoryFolder::Folders() const {
    QList<FolderRef> result;
    for (const auto& folder : m_subfolders)
        result.append(folder);
    return result;
}

void MemoryFolder::addItem(const std::shared_ptr<MemoryItem>& item, bool notify) {
    m_items.m_items.append(item);
    item->setFolder(this);
    if (notify)
        m_items.ItemAdd.raise(item);
}

void MemoryFolder::takeItem(const std::shared_ptr<MemoryItem>& item) {
    const qsizetype at = m_items.m_items.indexOf(item);
    if (at < 0)
        return;
    m_items.m_items.removeAt(at);
    // The cursor is a position: the item after the removed one slides into it.
    if (at < m_items.m_cursor)
        --m_items.m_cursor;
    item->setFolder(nullptr);
}

} // namespace velmora::memory
