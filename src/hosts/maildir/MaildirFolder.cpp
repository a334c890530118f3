#include "hosts/maildir/MaildirFolder.h"

#include "base/VbError.h"
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MaildirItem.h"

#include <QDir>

#include <algorithm>

namespace velmora::maildir {

MailItemRef MaildirItems::Item(int index) const {
    if (index < 1 || index > m_files.size())
        throw VbError(VbError::SubscriptOutOfRange,
                      QStringLiteral("%1: no message %2").arg(m_folder.Name()).arg(index));
    return std::make_shared<MaildirItem>(m_folder, m_files[index - 1]);
}

namespace {

// The base name of a file given as "cur/..." or "new/...".
QString baseOfFile(const QString& file) {
    return MaildirFileName::parse(file.mid(4)).base;
}

} // namespace

qsizetype MaildirItems::indexOfBase(const QString& base) const {
    const auto found = m_baseCounts.constFind(base);
    if (found == m_baseCounts.cend())
        return -1;
    if (*found == 1) {
        // The only one: looked for from the end, where new mail and moved
        // messages are, the ones looked up most.
        for (qsizetype i = m_bases.size() - 1; i >= 0; --i) {
            if (m_bases[i] == base)
                return i;
        }
    }
    return m_bases.indexOf(base);
}

void MaildirItems::count(const QString& base, int change) {
    int& n = m_baseCounts[base];
    n += change;
    if (n <= 0)
        m_baseCounts.remove(base);
}

void MaildirItems::append(const QString& file) {
    m_files.append(file);
    m_bases.append(baseOfFile(file));
    count(m_bases.last(), +1);
}

void MaildirItems::remove(qsizetype at) {
    count(m_bases[at], -1);
    m_bases.removeAt(at);
    m_files.removeAt(at);
    m_walks.removed(at);
}

void MaildirItems::replace(qsizetype at, const QString& file) {
    count(m_bases[at], -1);
    m_files[at] = file;
    m_bases[at] = baseOfFile(file);
    count(m_bases[at], +1);
}

void MaildirItems::reset(const QStringList& files) {
    m_files = files;
    m_bases.clear();
    m_baseCounts.clear();
    m_bases.reserve(files.size());
    for (const QString& file : files) {
        m_bases.append(baseOfFile(file));
        count(m_bases.last(), +1);
    }
}

MaildirFolder::MaildirFolder(MaildirApplication& application, QString name, QString path,
                             QString directory)
    : m_application(application), m_name(std::move(name)), m_path(std::move(path)),
      m_directory(std::move(directory)) {}

QString MaildirFolder::EntryID() const {
    return QStringLiteral("maildir-folder:") +
           (m_path.isEmpty() ? QStringLiteral("INBOX") : m_path);
}

QList<FolderRef> MaildirFolder::Folders() const {
    QList<FolderRef> folders;
    for (const auto& folder : m_subfolders)
        folders.append(folder);
    return folders;
}

void MaildirFolder::scan() {
    if (m_directory.isEmpty())
        return; // a store, or a parent that exists only by its children's names
    QDir dir(m_directory);
    for (const char* sub : {"cur", "new", "tmp"}) {
        if (!dir.exists(QLatin1String(sub)) && !dir.mkpath(QLatin1String(sub)))
            throw VbError(VbError::PathFileAccessError, m_directory + QLatin1Char('/') +
                                                            QLatin1String(sub) +
                                                            QStringLiteral(": cannot be created"));
    }
    QStringList files;
    for (const char* sub : {"cur", "new"}) {
        const QDir messages(dir.filePath(QLatin1String(sub)));
        for (const QString& name : messages.entryList(QDir::Files, QDir::NoSort))
            files.append(QLatin1String(sub) + QLatin1Char('/') + name);
    }
    // Unique names begin with the delivery time: their order is the order of
    // arrival (the sub-folder part, "cur/" or "new/", is not compared).
    std::sort(files.begin(), files.end(), [](const QString& a, const QString& b) {
        return QStringView(a).mid(4) < QStringView(b).mid(4);
    });
    m_items.reset(files);
}

} // namespace velmora::maildir
