#pragma once

#include "addin/host/HostFolder.h"
#include "hosts/memory/MemoryItem.h"

#include <QList>

#include <memory>

namespace velmora::memory {

class MemoryFolder;

class MemoryItems final : public HostItems {
public:
    int count() const override { return int(m_items.size()); }
    MailItemRef item(int index) const override;
    MailItemRef getFirst() override;
    MailItemRef getNext() override;

    const QList<std::shared_ptr<MemoryItem>>& all() const { return m_items; }

private:
    friend class MemoryFolder;
    QList<std::shared_ptr<MemoryItem>> m_items;
    qsizetype m_cursor = -1;
};

// A folder of the in-memory store. Adding or removing an item raises the
// folder's ItemAdd or ItemRemove at once.
class MemoryFolder final : public HostFolder {
public:
    MemoryFolder(QString name, QString entryId, FolderItemType type = FolderItemType::Mail)
        : m_name(std::move(name)), m_entryId(std::move(entryId)), m_type(type) {}

    QString name() const override { return m_name; }
    QString entryId() const override { return m_entryId; }
    FolderItemType defaultItemType() const override { return m_type; }
    HostItems& items() override { return m_items; }
    QList<FolderRef> folders() const override;

    void addSubfolder(const std::shared_ptr<MemoryFolder>& folder) { m_subfolders.append(folder); }
    const QList<std::shared_ptr<MemoryFolder>>& subfolders() const { return m_subfolders; }
    const QList<std::shared_ptr<MemoryItem>>& memoryItems() const { return m_items.all(); }

    // `notify` false puts the item there without telling the subscribers.
    void addItem(const std::shared_ptr<MemoryItem>& item, bool notify = true);
    void removeItem(const std::shared_ptr<MemoryItem>& item);

private:
    QString m_name;
    QString m_entryId;
    FolderItemType m_type;
    MemoryItems m_items;
    QList<std::shared_ptr<MemoryFolder>> m_subfolders;
};

} // namespace velmora::memory
