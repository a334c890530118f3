#pragma once

#include "addin/host/HostApplication.h"
#include "hosts/memory/MemoryCommandBars.h"
#include "hosts/memory/MemoryFolder.h"

#include <QMap>

#include <memory>

namespace velmora::memory {

class MemoryApplication;

class MemoryNamespace final : public HostNamespace {
public:
    explicit MemoryNamespace(MemoryApplication& app) : m_app(app) {}
    QList<FolderRef> Folders() const override;
    FolderRef GetDefaultFolder(int number) const override;
    MailItemRef GetItemFromID(const QString& entryId) const override;

private:
    MemoryApplication& m_app;
};

class MemoryExplorer final : public HostExplorer {
public:
    QList<MailItemRef> Selection() const override { return m_selection; }
    FolderRef currentFolder() const override { return m_current; }
    std::shared_ptr<CommandBars> commandBars() const override { return m_bars; }

    void setSelection(const QList<MailItemRef>& items) { m_selection = items; }
    void setCurrentFolder(const FolderRef& folder) { m_current = folder; }
    MemoryCommandBars& memoryCommandBars() { return *m_bars; }

private:
    QList<MailItemRef> m_selection;
    FolderRef m_current;
    std::shared_ptr<MemoryCommandBars> m_bars = std::make_shared<MemoryCommandBars>();
};

// A whole mail client in memory: one store ("Personal Folders") with the
// default folders and any user folders, an explorer window with its tool bar,
// and the user's actions as methods that raise the events the real client
// raises, in its order, synchronously.
class MemoryApplication final : public HostApplication {
public:
    MemoryApplication();

    std::shared_ptr<HostNamespace> GetNamespace(const QString& type) const override;
    std::shared_ptr<HostExplorer> ActiveExplorer() const override {
        return m_explorerOpen ? m_explorer : nullptr;
    }
    QList<std::shared_ptr<HostExplorer>> Explorers() const override { return {m_explorer}; }

    // The folders.
    MemoryFolder& store() { return *m_store; }
    const QList<std::shared_ptr<MemoryFolder>>& stores() const { return m_stores; }
    MemoryFolder& inbox() { return *m_inbox; }
    MemoryFolder& sentItems() { return *m_sent; }
    MemoryFolder& deletedItems() { return *m_deleted; }
    MemoryFolder& junk() { return *m_junk; }
    std::shared_ptr<MemoryFolder> folderRef(const MemoryFolder& folder) const;
    // A further mail store (a top-level folder), such as an archive.
    MemoryFolder& addStore(const QString& name);
    // A new user folder below `parent`.
    MemoryFolder& addFolder(MemoryFolder& parent, const QString& name,
                            FolderItemType type = FolderItemType::Mail);
    MemoryExplorer& explorer() { return *m_explorer; }
    MemoryCommandBar& standardBar() { return m_explorer->memoryCommandBars().standard(); }

    // Puts an item into a folder without any event, as mail that was there
    // before the filter started.
    std::shared_ptr<MemoryItem> place(MemoryFolder& folder, const MessageContent& content);

    // Mail arrives: each message lands in the Inbox (ItemAdd), then one
    // NewMailEx names them all, separated by commas.
    QList<std::shared_ptr<MemoryItem>> deliver(const QList<MessageContent>& messages);
    std::shared_ptr<MemoryItem> deliver(const MessageContent& message);

    // The user sends a message: ItemSend, then the copy in Sent Items.
    std::shared_ptr<MemoryItem> send(const MessageContent& message);

    // The user selects items and moves them (drag and drop or the Move
    // command): BeforeMove with the selection, then each item leaves its
    // folder (ItemRemove) and arrives in the target (ItemAdd).
    void userMove(const QList<std::shared_ptr<MemoryItem>>& items, MemoryFolder& target);
    // Cut and paste: BeforeItemCut, BeforeItemPaste(target), then the moves.
    void userCutPaste(const QList<std::shared_ptr<MemoryItem>>& items, MemoryFolder& target);
    // Copy and paste: BeforeItemCopy, BeforeItemPaste(target), then a copy of
    // each item arrives in the target (ItemAdd); the originals stay.
    QList<std::shared_ptr<MemoryItem>>
    userCopyPaste(const QList<std::shared_ptr<MemoryItem>>& items, MemoryFolder& target);
    // The Delete key: the items go to Deleted Items without an explorer event.
    void userDelete(const QList<std::shared_ptr<MemoryItem>>& items);

    // The user closes the mail client: Quit, then the temporary controls go.
    void quit();
    // The client shows no explorer window (started minimised to the tray, or
    // driven by a script): ActiveExplorer() gives nothing.
    void closeExplorer() { m_explorerOpen = false; }

    // Every item of every folder, for look-up by identifier.
    std::shared_ptr<MemoryItem> findItem(const QString& entryId) const;

private:
    QString nextItemId();
    QString nextFolderId();
    std::shared_ptr<MemoryFolder> newFolder(const QString& name, FolderItemType type);
    void setSelection(const QList<std::shared_ptr<MemoryItem>>& items);
    void moveAll(const QList<std::shared_ptr<MemoryItem>>& items, MemoryFolder& target);

    int m_lastItemId = 0;
    int m_lastFolderId = 0;
    QList<std::shared_ptr<MemoryFolder>> m_stores; // the first is the default store
    std::shared_ptr<MemoryFolder> m_store;
    std::shared_ptr<MemoryFolder> m_inbox;
    std::shared_ptr<MemoryFolder> m_sent;
    std::shared_ptr<MemoryFolder> m_deleted;
    std::shared_ptr<MemoryFolder> m_junk;
    std::shared_ptr<MemoryExplorer> m_explorer = std::make_shared<MemoryExplorer>();
    bool m_explorerOpen = true;
    std::shared_ptr<MemoryNamespace> m_namespace;
};

} // namespace velmora::memory
