#include "hosts/memory/MemoryApplication.h"

#include "addin/host/EntryIdCollection.h"
#include "base/VbError.h"

#include <functional>

namespace velmora::memory {
namespace {

// Calls `visit` for `folder` and every folder below it, depth first.
void forEachFolder(const std::shared_ptr<MemoryFolder>& folder,
                   const std::function<void(const std::shared_ptr<MemoryFolder>&)>& visit) {
    visit(folder);
    for (const auto& sub : folder->subfolders())
        forEachFolder(sub, visit);
}

} // namespace

QList<FolderRef> MemoryNamespace::Folders() const {
    QList<FolderRef> stores;
    for (const auto& store : m_app.stores())
        stores.append(store);
    return stores;
}

FolderRef MemoryNamespace::GetDefaultFolder(int number) const {
    switch (number) {
    case DefaultFolderDeleted:
        return m_app.folderRef(m_app.deletedItems());
    case DefaultFolderSent:
        return m_app.folderRef(m_app.sentItems());
    case DefaultFolderInbox:
        return m_app.folderRef(m_app.inbox());
    case DefaultFolderJunk:
        return m_app.folderRef(m_app.junk());
    default:
        throw VbError(VbError::AutomationError, QStringLiteral("no default folder %1").arg(number));
    }
}

MailItemRef MemoryNamespace::GetItemFromID(const QString& entryId) const {
    if (auto item = m_app.findItem(entryId))
        return item;
    throw VbError(VbError::AutomationError, QStringLiteral("no item %1").arg(entryId));
}

MemoryApplication::MemoryApplication() {
    m_namespace = std::make_shared<MemoryNamespace>(*this);
    m_store = newFolder(QStringLiteral("Personal Folders"), FolderItemType::Mail);
    m_stores.append(m_store);
    m_deleted = newFolder(QStringLiteral("Deleted Items"), FolderItemType::Mail);
    m_inbox = newFolder(QStringLiteral("Inbox"), FolderItemType::Mail);
    m_sent = newFolder(QStringLiteral("Sent Items"), FolderItemType::Mail);
    m_junk = newFolder(QStringLiteral("Junk E-mail"), FolderItemType::Mail);
    for (const auto& folder : {m_deleted, m_inbox, m_sent, m_junk})
        m_store->addSubfolder(folder);
    m_store->addSubfolder(newFolder(QStringLiteral("Drafts"), FolderItemType::Mail));
    m_store->addSubfolder(newFolder(QStringLiteral("Outbox"), FolderItemType::Mail));
    m_store->addSubfolder(newFolder(QStringLiteral("Calendar"), FolderItemType::Appointment));
    m_store->addSubfolder(newFolder(QStringLiteral("Contacts"), FolderItemType::Contact));
    m_store->addSubfolder(newFolder(QStringLiteral("Tasks"), FolderItemType::Task));
    m_explorer->setCurrentFolder(m_inbox);
}

std::shared_ptr<HostNamespace> MemoryApplication::GetNamespace(const QString& type) const {
    if (type != QStringLiteral("MAPI"))
        throw VbError(VbError::AutomationError, QStringLiteral("no namespace %1").arg(type));
    return m_namespace;
}

std::shared_ptr<MemoryFolder> MemoryApplication::folderRef(const MemoryFolder& folder) const {
    std::shared_ptr<MemoryFolder> found;
    for (const auto& store : m_stores) {
        forEachFolder(store, [&](const std::shared_ptr<MemoryFolder>& f) {
            if (f.get() == &folder)
                found = f;
        });
    }
    return found;
}

MemoryFolder& MemoryApplication::addStore(const QString& name) {
    auto store = newFolder(name, FolderItemType::Mail);
    m_stores.append(store);
    return *store;
}

MemoryFolder& MemoryApplication::addFolder(MemoryFolder& parent, const QString& name,
                                           FolderItemType type) {
    auto folder = newFolder(name, type);
    parent.addSubfolder(folder);
    return *folder;
}

std::shared_ptr<MemoryItem> MemoryApplication::place(MemoryFolder& folder,
                                                     const MessageContent& content) {
    auto item = std::make_shared<MemoryItem>(nextItemId(), content);
    folder.addItem(item, false);
    return item;
}

QList<std::shared_ptr<MemoryItem>>
MemoryApplication::deliver(const QList<MessageContent>& messages) {
    QList<std::shared_ptr<MemoryItem>> items;
    QStringList ids;
    for (const MessageContent& message : messages) {
        auto item = std::make_shared<MemoryItem>(nextItemId(), message);
        m_inbox->addItem(item);
        items.append(item);
        ids.append(item->EntryID());
    }
    NewMailEx.raise(entryIdCollection(ids));
    return items;
}

std::shared_ptr<MemoryItem> MemoryApplication::deliver(const MessageContent& message) {
    return deliver(QList<MessageContent>{message}).first();
}

std::shared_ptr<MemoryItem> MemoryApplication::send(const MessageContent& message) {
    auto item = std::make_shared<MemoryItem>(nextItemId(), message);
    ItemSend.raise(item);
    m_sent->addItem(item);
    return item;
}

void MemoryApplication::setSelection(const QList<std::shared_ptr<MemoryItem>>& items) {
    QList<MailItemRef> selection;
    for (const auto& item : items)
        selection.append(item);
    m_explorer->setSelection(selection);
}

void MemoryApplication::moveAll(const QList<std::shared_ptr<MemoryItem>>& items,
                                MemoryFolder& target) {
    for (const auto& item : items) {
        if (item->folder())
            item->move(target);
    }
}

void MemoryApplication::userMove(const QList<std::shared_ptr<MemoryItem>>& items,
                                 MemoryFolder& target) {
    setSelection(items);
    m_explorer->BeforeMove.raise();
    moveAll(items, target);
}

void MemoryApplication::userCutPaste(const QList<std::shared_ptr<MemoryItem>>& items,
                                     MemoryFolder& target) {
    setSelection(items);
    m_explorer->BeforeItemCut.raise();
    m_explorer->BeforeItemPaste.raise(folderRef(target));
    moveAll(items, target);
}

void MemoryApplication::userDelete(const QList<std::shared_ptr<MemoryItem>>& items) {
    setSelection(items);
    moveAll(items, *m_deleted);
}

std::shared_ptr<MemoryItem> MemoryApplication::findItem(const QString& entryId) const {
    std::shared_ptr<MemoryItem> found;
    for (const auto& store : m_stores) {
        forEachFolder(store, [&](const std::shared_ptr<MemoryFolder>& folder) {
            for (const auto& item : folder->memoryItems()) {
                if (item->EntryID() == entryId)
                    found = item;
            }
        });
    }
    return found;
}

QList<std::shared_ptr<MemoryItem>>
MemoryApplication::userCopyPaste(const QList<std::shared_ptr<MemoryItem>>& items,
                                 MemoryFolder& target) {
    setSelection(items);
    m_explorer->BeforeItemCopy.raise();
    m_explorer->BeforeItemPaste.raise(folderRef(target));
    QList<std::shared_ptr<MemoryItem>> copies;
    for (const auto& item : items) {
        auto copy = std::make_shared<MemoryItem>(nextItemId(), item->content());
        target.addItem(copy);
        copies.append(copy);
    }
    return copies;
}

void MemoryApplication::quit() {
    Quit.raise();
    standardBar().removeTemporaryControls();
}

QString MemoryApplication::nextItemId() {
    return QStringLiteral("00000000%1").arg(++m_lastItemId, 8, 16, QLatin1Char('0')).toUpper();
}

QString MemoryApplication::nextFolderId() {
    return QStringLiteral("F0000000%1").arg(++m_lastFolderId, 8, 16, QLatin1Char('0')).toUpper();
}

std::shared_ptr<MemoryFolder> MemoryApplication::newFolder(const QString& name,
                                                           FolderItemType type) {
    return std::make_shared<MemoryFolder>(name, nextFolderId(), type);
}

} // namespace velmora::memory
