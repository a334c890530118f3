#include "hosts/imap/SpecialFolders.h"

#include <QSet>

#include <algorithm>

namespace velmora::imap {

namespace {

// How deep a folder sits, counting a folder right below INBOX as top level
// (INBOX.Junk on servers whose folders all live below INBOX).
int depthOf(const MailboxEntry& folder) {
    if (folder.delimiter.isNull())
        return 0;
    int depth = static_cast<int>(folder.name.count(folder.delimiter));
    if (folder.name.startsWith(QStringLiteral("INBOX") + folder.delimiter, Qt::CaseInsensitive))
        --depth;
    return depth;
}

QString find(const QList<MailboxEntry>& folders, QByteArrayView attribute,
             const QStringList& names) {
    for (const MailboxEntry& folder : folders)
        if (folder.selectable() && folder.has(attribute))
            return folder.name;
    const MailboxEntry* best = nullptr;
    int bestRank = 0;
    for (const MailboxEntry& folder : folders) {
        if (!folder.selectable())
            continue;
        const qsizetype nameRank = names.indexOf(folder.leafName().toLower());
        if (nameRank < 0)
            continue;
        // Shallower first, then the more usual name.
        const int rank = depthOf(folder) * 100 + static_cast<int>(nameRank);
        if (!best || rank < bestRank) {
            best = &folder;
            bestRank = rank;
        }
    }
    return best ? best->name : QString();
}

} // namespace

SpecialFolders findSpecialFolders(const QList<MailboxEntry>& folders) {
    SpecialFolders found;
    found.junk =
        find(folders, "\\Junk",
             {QStringLiteral("junk"), QStringLiteral("spam"), QStringLiteral("junk e-mail"),
              QStringLiteral("junk email"), QStringLiteral("bulk mail")});
    found.sent = find(folders, "\\Sent",
                      {QStringLiteral("sent"), QStringLiteral("sent items"),
                       QStringLiteral("sent messages"), QStringLiteral("sent mail")});
    found.trash = find(folders, "\\Trash",
                       {QStringLiteral("trash"), QStringLiteral("deleted items"),
                        QStringLiteral("deleted messages"), QStringLiteral("bin")});
    return found;
}

QHash<QString, QString> folderParents(const QList<MailboxEntry>& folders,
                                      const QStringList& atTop) {
    const auto isInbox = [](const QString& name) {
        return name.compare(QStringLiteral("INBOX"), Qt::CaseInsensitive) == 0;
    };
    const bool allBelowInbox = std::all_of(folders.begin(), folders.end(), [&](const auto& e) {
        return isInbox(e.name) ||
               (!e.delimiter.isNull() &&
                e.name.startsWith(QStringLiteral("INBOX") + e.delimiter, Qt::CaseInsensitive));
    });
    QSet<QString> listed;
    for (const MailboxEntry& entry : folders)
        listed.insert(isInbox(entry.name) ? QStringLiteral("INBOX") : entry.name);
    QHash<QString, QString> parents;
    for (const MailboxEntry& entry : folders) {
        const QString name = isInbox(entry.name) ? QStringLiteral("INBOX") : entry.name;
        QString parent;
        if (!atTop.contains(name) && !entry.delimiter.isNull() && name.contains(entry.delimiter)) {
            const QString above = name.section(entry.delimiter, 0, -2);
            const QString shown = isInbox(above) ? QStringLiteral("INBOX") : above;
            if (listed.contains(shown) && !(allBelowInbox && shown == QStringLiteral("INBOX")))
                parent = shown;
        }
        parents.insert(name, parent);
    }
    return parents;
}

} // namespace velmora::imap
