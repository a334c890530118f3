#pragma once

#include "addin/host/HostFolder.h"
#include "addin/host/PositionalWalks.h"
#include "hosts/memory/MemoryItem.h"

#include <QList>

#include <memory>

namespace velmora::memory {

class MemoryFolder;

class MemoryItems final : public HostItems {
public:
    int Count() const override { return int(m_items.size()); }
    MailItemRef Item(int index) const override;
    std::unique_ptr<ItemWalk> newWalk() override;

    const QList<std::shared_ptr<MemoryItem>>& all() const { return m_items; }

private:
    friend class MemoryFolder;
    QList<std::shared_ptr<MemoryItem>> m_items;
    PositionalWalks m_walks{[this] { return m_items.size(); },
                            [this](qsizetype at) -> MailItemRef { return m_items[at]; }};
};

// A folder of the in-memory store. Adding or removing an item raises the
// folder's ItemAdd or ItemRemove at once.
class MemoryFolder final : public HostFolder {
public:
    MemoryFolder(QString name, QString entryId, FolderItemType type = FolderItemType::Mail)
        : m_name(std::move(name)), m_entryId(std::move(entryId)), m_type(type) {}

    QString Name() const override { return m_name; }
    int Class() const override { return kFolderClass; }
    QString EntryID() const override { return m_entryId; }
    FolderItemType defaultItemType() const override { return m_type; }
    HostItems& Items() override { return m_items; }
    QList<FolderRef> Folders() const override;

    void addSubfolder(const std::shared_ptr<MemoryFolder>& folder) { m_subfolders.append(folder); }
    const QList<std::shared_ptr<MemoryFolder>>& subfolders() const { return m_subfolders; }
    const QList<std::shared_ptr<MemoryItem>>& memoryItems() const { return m_items.all(); }

    // `notify` false puts the item there without telling the subscribers.
    void addItem(const std::shared_ptr<MemoryItem>& item, bool notify = true);
    // Takes the item out of the folder without telling the subscribers.
    void takeItem(const std::shared_ptr<MemoryItem>& item);
    void raiseItemAdd(const std::shared_ptr<MemoryItem>& item) { m_items.ItemAdd.raise(item); }
    void raiseItemRemove() { m_items.ItemRemove.raise(); }

private:
    QString m_name;
    QString m_entryId;
    FolderItemType m_type;
    MemoryItems m_items;
    QList<std::shared_ptr<MemoryFolder>> m_subfolders;
};

} // namespace velmora::memory
