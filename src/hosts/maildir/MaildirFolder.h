#pragma once

#include "addin/host/HostFolder.h"
#include "addin/host/PositionalWalks.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <memory>

namespace velmora::maildir {

class MaildirApplication;
class MaildirFolder;

// A folder's messages, as the names of their files relative to the folder
// ("cur/..." or "new/..."), in the order they arrived.
class MaildirItems final : public HostItems {
public:
    explicit MaildirItems(MaildirFolder& folder) : m_folder(folder) {}

    int Count() const override { return int(m_files.size()); }
    // A fresh snapshot of the message at `index` (from 1). Throws VbError when
    // out of range or when its file cannot be read.
    MailItemRef Item(int index) const override;
    std::unique_ptr<ItemWalk> newWalk() override { return m_walks.newWalk(); }

    const QStringList& files() const { return m_files; }
    // Where the file of that base name stands in the list, or -1.
    qsizetype indexOfBase(const QString& base) const;
    void append(const QString& file);
    void remove(qsizetype at);
    void replace(qsizetype at, const QString& file);
    void reset(const QStringList& files);

private:
    void count(const QString& base, int change);

    MaildirFolder& m_folder;
    QStringList m_files;
    // Each file's base name, parsed once, and how many files bear each: a
    // message is looked up by its base several times while it is judged and
    // moved, and parsing every name of a folder of 100,000 at each look-up
    // made a burst of new mail cost the product of the two.
    QStringList m_bases;
    QHash<QString, int> m_baseCounts;
    PositionalWalks m_walks{[this] { return m_files.size(); },
                            [this](qsizetype at) { return Item(int(at) + 1); }};
};

// One folder of a Maildir++ tree: the Inbox is the tree's root directory,
// every other folder a directory ".Name" (".Parent.Child" for a subfolder)
// beside cur/, new/ and tmp/.
class MaildirFolder final : public HostFolder {
public:
    // `directory` holds the folder's cur/, new/ and tmp/; `path` is its
    // Maildir++ name ("" for the Inbox, "Work.Projects" for a subfolder).
    MaildirFolder(MaildirApplication& application, QString name, QString path, QString directory);

    QString Name() const override { return m_name; }
    int Class() const override { return kFolderClass; }
    QString EntryID() const override;
    FolderItemType defaultItemType() const override { return FolderItemType::Mail; }
    HostItems& Items() override { return m_items; }
    QList<FolderRef> Folders() const override;

    const QString& directory() const { return m_directory; }
    const QString& path() const { return m_path; }
    MaildirApplication& application() const { return m_application; }
    MaildirItems& items() { return m_items; }
    const QList<std::shared_ptr<MaildirFolder>>& subfolders() const { return m_subfolders; }
    void addSubfolder(const std::shared_ptr<MaildirFolder>& folder) { m_subfolders.append(folder); }

    // Reads the folder's message files from disk, in arrival order (their
    // unique names begin with the delivery time). Creates cur/, new/ and tmp/
    // when they are missing.
    void scan();

private:
    MaildirApplication& m_application;
    QString m_name;
    QString m_path;
    QString m_directory;
    MaildirItems m_items{*this};
    QList<std::shared_ptr<MaildirFolder>> m_subfolders;
};

} // namespace velmora::maildir
