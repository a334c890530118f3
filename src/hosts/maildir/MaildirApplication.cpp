#include "hosts/maildir/MaildirApplication.h"

#include "base/VbError.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MaildirItem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora::maildir {
namespace {

const QStringList kJunkNames = {QStringLiteral("Junk"), QStringLiteral("Spam"),
                                QStringLiteral("Junk E-mail"), QStringLiteral("Junk Email")};
const QStringList kSentNames = {QStringLiteral("Sent"), QStringLiteral("Sent Items"),
                                QStringLiteral("Sent Messages"), QStringLiteral("Sent Mail")};
const QStringList kTrashNames = {QStringLiteral("Trash"), QStringLiteral("Deleted Items"),
                                 QStringLiteral("Deleted Messages")};

QString entryIdBase(const QString& entryId) {
    QString base = entryId;
    base.replace(QStringLiteral("%2C"), QStringLiteral(","));
    base.replace(QStringLiteral("%25"), QStringLiteral("%"));
    return base;
}

} // namespace

QString decodeFolderName(const QString& name) {
    QString decoded;
    for (qsizetype i = 0; i < name.size(); ++i) {
        if (name[i] != QLatin1Char('&')) {
            decoded += name[i];
            continue;
        }
        const qsizetype end = name.indexOf(QLatin1Char('-'), i + 1);
        if (end < 0) {
            decoded += name.mid(i);
            break;
        }
        if (end == i + 1) {
            decoded += QLatin1Char('&'); // "&-"
        } else {
            QByteArray base64 = name.mid(i + 1, end - i - 1).toLatin1().replace(',', '/');
            const QByteArray utf16 = QByteArray::fromBase64(base64);
            for (qsizetype k = 0; k + 1 < utf16.size(); k += 2)
                decoded += QChar(char16_t((uchar(utf16[k]) << 8) | uchar(utf16[k + 1])));
        }
        i = end;
    }
    return decoded;
}

QList<FolderRef> MaildirNamespace::Folders() const {
    return {m_app.store()};
}

FolderRef MaildirNamespace::GetDefaultFolder(int number) const {
    switch (number) {
    case DefaultFolderDeleted:
        return m_app.folderRef(m_app.trash());
    case DefaultFolderSent:
        return m_app.folderRef(m_app.sent());
    case DefaultFolderInbox:
        return m_app.folderRef(m_app.inbox());
    case DefaultFolderJunk:
        return m_app.folderRef(m_app.junk());
    default:
        throw VbError(VbError::AutomationError, QStringLiteral("no default folder %1").arg(number));
    }
}

MailItemRef MaildirNamespace::GetItemFromID(const QString& entryId) const {
    if (auto item = m_app.findItem(entryId))
        return item;
    throw VbError(VbError::AutomationError, QStringLiteral("no message %1").arg(entryId));
}

MaildirApplication::MaildirApplication(const QString& root, const SpecialFolders& special)
    : m_root(QDir(root).absolutePath()) {
    if (!QFileInfo(m_root).isDir())
        throw VbError(VbError::PathNotFound, m_root + QStringLiteral(": no such mail folder"));
    m_namespace = std::make_shared<MaildirNamespace>(*this);
    readTree(special);
}

std::shared_ptr<HostNamespace> MaildirApplication::GetNamespace(const QString& type) const {
    if (type != QStringLiteral("MAPI"))
        throw VbError(VbError::AutomationError, QStringLiteral("no namespace %1").arg(type));
    return m_namespace;
}

void MaildirApplication::readTree(const SpecialFolders& special) {
    m_store = std::make_shared<MaildirFolder>(*this, QStringLiteral("Mailbox"),
                                              QStringLiteral("<store>"), QString());
    m_inbox = std::make_shared<MaildirFolder>(*this, QStringLiteral("Inbox"), QString(), m_root);
    m_inbox->scan();
    m_byPath.insert(QString(), m_inbox);
    m_store->addSubfolder(m_inbox);

    adoptNewFolders();
    m_junk = specialFolder(special.junk, kJunkNames, QStringLiteral("Junk"));
    m_sent = specialFolder(special.sent, kSentNames, QStringLiteral("Sent"));
    m_trash = specialFolder(special.trash, kTrashNames, QStringLiteral("Trash"));
}

QStringList MaildirApplication::folderPathsOnDisk() const {
    QStringList paths;
    const QDir root(m_root);
    for (const QString& entry : root.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        // A folder is a dot-directory holding mail (cur/) or marked as one;
        // others beside it (".notmuch", "..DOVECOT-TRASHED", a sync tool's)
        // are left alone.
        if (!entry.startsWith(QLatin1Char('.')) || entry.size() < 2 ||
            entry.startsWith(QLatin1String("..")))
            continue;
        if (root.exists(entry + QStringLiteral("/cur")) ||
            root.exists(entry + QStringLiteral("/maildirfolder")))
            paths.append(entry.mid(1));
    }
    paths.sort();
    return paths;
}

QList<std::shared_ptr<MaildirFolder>> MaildirApplication::adoptNewFolders() {
    // ".A.B" is folder B inside A; A may exist only through its children.
    const QStringList paths = folderPathsOnDisk();
    QList<std::shared_ptr<MaildirFolder>> adopted;
    for (const QString& path : paths) {
        const QStringList parts = path.split(QLatin1Char('.'));
        QString prefix;
        std::shared_ptr<MaildirFolder> parent = m_store;
        for (qsizetype i = 0; i < parts.size(); ++i) {
            prefix += (i ? QStringLiteral(".") : QString()) + parts[i];
            auto folder = m_byPath.value(prefix);
            if (!folder) {
                const bool real = paths.contains(prefix);
                folder = std::make_shared<MaildirFolder>(
                    *this, decodeFolderName(parts[i]), prefix,
                    real ? m_root + QStringLiteral("/.") + prefix : QString());
                folder->scan();
                m_byPath.insert(prefix, folder);
                parent->addSubfolder(folder);
                if (real)
                    adopted.append(folder);
            }
            parent = folder;
        }
    }
    return adopted;
}

std::shared_ptr<MaildirFolder> MaildirApplication::specialFolder(const QString& overridden,
                                                                 const QStringList& usualNames,
                                                                 const QString& created) {
    const QStringList candidates = overridden.isEmpty() ? usualNames : QStringList{overridden};
    for (const QString& path : candidates) {
        if (auto folder = m_byPath.value(path); folder && !folder->directory().isEmpty())
            return folder;
    }
    // None there yet: made, as a mail server makes its special folders.
    const QString path = overridden.isEmpty() ? created : overridden;
    const QString directory = m_root + QStringLiteral("/.") + path;
    if (!QDir().mkpath(directory))
        throw VbError(VbError::PathFileAccessError,
                      directory + QStringLiteral(": cannot be created"));
    QFile marker(directory + QStringLiteral("/maildirfolder"));
    marker.open(QIODevice::WriteOnly);
    auto folder = std::make_shared<MaildirFolder>(
        *this, decodeFolderName(path.section(QLatin1Char('.'), -1)), path, directory);
    folder->scan();
    m_byPath.insert(path, folder);
    m_store->addSubfolder(folder);
    return folder;
}

QList<std::shared_ptr<MaildirFolder>> MaildirApplication::allFolders() const {
    QList<std::shared_ptr<MaildirFolder>> folders{m_inbox};
    QStringList paths = m_byPath.keys();
    paths.sort();
    for (const QString& path : paths) {
        const auto& folder = m_byPath[path];
        if (!path.isEmpty() && !folder->directory().isEmpty())
            folders.append(folder);
    }
    return folders;
}

std::shared_ptr<MaildirFolder> MaildirApplication::folderByPath(const QString& path) const {
    return m_byPath.value(path);
}

std::shared_ptr<MaildirFolder> MaildirApplication::folderRef(const MaildirFolder& folder) const {
    return m_byPath.value(folder.path());
}

std::shared_ptr<MaildirFolder> MaildirApplication::findFolder(const QString& name) const {
    if (name.compare(QStringLiteral("Inbox"), Qt::CaseInsensitive) == 0)
        return m_inbox;
    QString path = name;
    path.replace(QLatin1Char('/'), QLatin1Char('.'));
    if (path.startsWith(QLatin1Char('.')))
        path.remove(0, 1);
    if (auto folder = m_byPath.value(path))
        return folder;
    for (const auto& folder : allFolders()) {
        if (folder->Name() == name)
            return folder;
    }
    return nullptr;
}

std::shared_ptr<MaildirItem> MaildirApplication::findItem(const QString& entryId) const {
    const QString base = m_rewritten.value(entryId, entryIdBase(entryId));
    for (const auto& folder : allFolders()) {
        const qsizetype at = folder->items().indexOfBase(base);
        if (at >= 0) {
            try {
                return std::make_shared<MaildirItem>(*folder, folder->items().files()[at]);
            } catch (const VbError&) {
                return nullptr; // vanished between the listing and the read
            }
        }
    }
    return nullptr;
}

void MaildirApplication::noteRewritten(const QString& entryId, const QString& newBase) {
    m_rewritten.insert(entryId, newBase);
}

} // namespace velmora::maildir
