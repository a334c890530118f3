#include "hosts/memory/MemoryFolder.h"

#include "base/VbError.h"

namespace velmora::memory {

MailItemRef MemoryItems::Item(int index) const {
    if (index < 1 || index > m_items.size())
        throw VbError(VbError::AutomationError, QStringLiteral("no item %1").arg(index));
    return m_items[index - 1];
}

std::unique_ptr<ItemWalk> MemoryItems::newWalk() {
    return m_walks.newWalk();
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
    m_items.m_walks.removed(at);
    item->setFolder(nullptr);
}

} // namespace velmora::memory
