#include "hosts/maildir/MaildirItem.h"

#include "base/VbError.h"
#include "hosts/events/MonotonicClock.h"
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MessageFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora::maildir {
namespace {

QString baseOfPath(const QString& path) {
    return MaildirFileName::parse(QFileInfo(path).fileName()).base;
}

} // namespace

void MaildirAttachment::saveAsFile(const QString& path) const {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(m_attachment.bytes) != m_attachment.bytes.size() || !file.flush())
        throw VbError(VbError::PathFileAccessError,
                      path + QStringLiteral(": ") + file.errorString());
}

MaildirItem::MaildirItem(MaildirFolder& folder, const QString& fileName)
    : m_folder(&folder), m_fileName(fileName), m_entryId(entryIdOf(fileName.mid(4))),
      m_message(
          mime::parseMessage(readMessageFile(folder.directory() + QLatin1Char('/') + fileName))) {}

void MaildirItem::setSubject(const QString& subject) {
    if (subject == m_message.subject)
        return;
    m_message.subject = subject;
    m_subjectChanged = true;
}

std::shared_ptr<HostAttachment> MaildirItem::attachment(int index) const {
    if (index < 1 || index > m_message.attachments.size())
        throw VbError(VbError::SubscriptOutOfRange,
                      QStringLiteral("%1: no attachment %2").arg(m_entryId).arg(index));
    return std::make_shared<MaildirAttachment>(m_message.attachments[index - 1]);
}

QString MaildirItem::locate() {
    MaildirItems& items = m_folder->items();
    const QString base = MaildirFileName::parse(m_fileName.mid(4)).base;
    if (QFile::exists(m_folder->directory() + QLatin1Char('/') + m_fileName))
        return m_fileName;
    // Renamed by a flag change, or moved from new/ to cur/ by a reader.
    for (const char* sub : {"cur", "new"}) {
        const QDir dir(m_folder->directory() + QLatin1Char('/') + QLatin1String(sub));
        for (const QString& name : dir.entryList({base + QLatin1Char('*')}, QDir::Files)) {
            if (MaildirFileName::parse(name).base == base) {
                const QString found = QLatin1String(sub) + QLatin1Char('/') + name;
                if (const qsizetype at = items.indexOfBase(base); at >= 0)
                    items.replace(at, found);
                m_fileName = found;
                return found;
            }
        }
    }
    throw VbError(VbError::FileNotFound, m_folder->directory() + QLatin1Char('/') + m_fileName +
                                             QStringLiteral(": the message is no longer in ") +
                                             m_folder->Name());
}

void MaildirItem::save() {
    if (!m_subjectChanged)
        return;
    try {
        writeSubject();
    } catch (const VbError& error) {
        m_folder->application().reportFault(
            QStringLiteral("the new subject of \"") + m_message.subject +
            QStringLiteral("\" was not saved: ") + error.description());
        throw;
    }
}

void MaildirItem::writeSubject() {
    const QString fileName = locate();
    const QString& directory = m_folder->directory();
    const QString path = directory + QLatin1Char('/') + fileName;
    const QByteArray rewritten = mime::withSubject(readMessageFile(path), m_message.subject);
    const MaildirFileName name = MaildirFileName::parse(fileName.mid(4));
    OwnActionJournal& journal = m_folder->application().journal();
    QString newBase;
    // The new message is whole on disk before the old one goes: a crash in
    // between leaves the message twice, never not at all.
    const QString written = writeNewMessage(
        directory, rewritten, name.flags,
        [&](const QString& target) {
            newBase = baseOfPath(target);
            journal.expect(directory, newBase, OwnActionJournal::Appears, events::monotonicMs());
        },
        path);
    journal.expect(directory, name.base, OwnActionJournal::Disappears, events::monotonicMs());
    try {
        // Another client may have renamed the old file meanwhile (a flag
        // change, new/ to cur/): it is found again by its name and removed.
        if (!removeMessageFile(path) && !removeMessageFile(directory + QLatin1Char('/') + locate()))
            throw VbError(VbError::FileNotFound, path + QStringLiteral(": vanished"));
    } catch (const VbError&) {
        // The old message stays the one: the new file goes again.
        journal.withdraw(directory, name.base, OwnActionJournal::Disappears);
        removeMessageFile(written);
        throw;
    }
    const QString newFileName = QStringLiteral("cur/") + QFileInfo(written).fileName();
    MaildirItems& items = m_folder->items();
    if (const qsizetype at = items.indexOfBase(name.base); at >= 0)
        items.replace(at, newFileName);
    m_fileName = newFileName;
    m_folder->application().noteRewritten(m_entryId, newBase);
    m_subjectChanged = false;
}

void MaildirItem::move(HostFolder& destination) {
    auto* target = dynamic_cast<MaildirFolder*>(&destination);
    if (!target || target->directory().isEmpty())
        throw VbError(VbError::InvalidCall,
                      destination.Name() + QStringLiteral(": not a mail folder"));
    const QString fileName = locate();
    MaildirFolder& source = *m_folder;
    const QString base = MaildirFileName::parse(fileName.mid(4)).base;
    OwnActionJournal& journal = source.application().journal();
    QString journalled;
    journal.expect(source.directory(), base, OwnActionJournal::Disappears, events::monotonicMs());
    const auto expectArrival = [&](const QString& path) {
        if (!journalled.isEmpty())
            journal.withdraw(target->directory(), journalled, OwnActionJournal::Appears);
        journalled = baseOfPath(path);
        journal.expect(target->directory(), journalled, OwnActionJournal::Appears,
                       events::monotonicMs());
    };
    QString moved;
    try {
        moved = moveMessageFile(source.directory() + QLatin1Char('/') + fileName,
                                target->directory(), expectArrival);
    } catch (const VbError& error) {
        journal.withdraw(source.directory(), base, OwnActionJournal::Disappears);
        if (!journalled.isEmpty())
            journal.withdraw(target->directory(), journalled, OwnActionJournal::Appears);
        source.application().reportFault(QStringLiteral("\"") + m_message.subject +
                                         QStringLiteral("\" was not moved to ") + target->Name() +
                                         QStringLiteral(": ") + error.description());
        throw;
    }
    if (const qsizetype at = source.items().indexOfBase(base); at >= 0)
        source.items().remove(at);
    m_folder = target;
    m_fileName = QStringLiteral("cur/") + QFileInfo(moved).fileName();
    target->items().append(m_fileName);
    source.Items().ItemRemove.raise();
    target->Items().ItemAdd.raise(shared_from_this());
}

} // namespace velmora::maildir
