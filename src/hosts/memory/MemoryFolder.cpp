#include "hosts/memory/MemoryFolder.h"

#include "base/VbError.h"

namespace velmora::memory {

MailItemRef MemoryItems::Item(int index) const {
    if (index < 1 || index > m_items.size())
        throw VbError(VbError::AutomationError, QStringLiteral("no item %1").arg(index));
    return m_items[index - 1];
}

class MemoryItemWalk final : public ItemWalk {
public:
    MemoryItemWalk(MemoryItems& items, std::shared_ptr<qsizetype> position)
        : m_items(items), m_position(std::move(position)) {}

    MailItemRef GetFirst() override {
        *m_position = 0;
        return m_items.m_items.isEmpty() ? nullptr : m_items.m_items.first();
    }

    MailItemRef GetNext() override {
        if (*m_position < 0)
            return nullptr;
        ++*m_position;
        return *m_position < m_items.m_items.size() ? m_items.m_items[*m_position] : nullptr;
    }

private:
    MemoryItems& m_items;
    std::shared_ptr<qsizetype> m_position;
};

std::unique_ptr<ItemWalk> MemoryItems::newWalk() {
    std::erase_if(m_walkPositions, [](const auto& p) { return p.expired(); });
    auto position = std::make_shared<qsizetype>(-1);
    m_walkPositions.push_back(position);
    return std::make_unique<MemoryItemWalk>(*this, std::move(position));
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
    // Each cursor is a position: the items after the removed one slide down,
    // and the one after a removed current item slides into the cursor's place.
    for (const auto& weak : m_items.m_walkPositions) {
        if (const auto position = weak.lock(); position && at < *position)
            --*position;
    }
    item->setFolder(nullptr);
}

} // namespace velmora::memory
