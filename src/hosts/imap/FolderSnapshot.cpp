#include "hosts/imap/FolderSnapshot.h"

#include <QFile>
#include <QSaveFile>

namespace velmora::imap {

namespace {

constexpr QLatin1StringView kHeader("velmora imap snapshot 1");

} // namespace

QString messageKey(const QString& messageId, qint64 size, const QDateTime& internalDate) {
    // The instant, not the zone: a server may give the date back in another
    // zone after APPEND.
    const qint64 when = internalDate.isValid() ? internalDate.toSecsSinceEpoch() : 0;
    return messageId + u' ' + QString::number(size) + u' ' + QString::number(when);
}

QString messageKey(const FetchedMessage& message) {
    return messageKey(message.headerFields ? messageIdOf(*message.headerFields)
                      : message.body       ? messageIdOf(*message.body)
                                           : QString(),
                      message.size.value_or(-1), message.internalDate);
}

void FolderSnapshot::insert(qsizetype at, quint32 uid, const Message& message) {
    if (!messages.contains(uid))
        order.insert(at, uid);
    messages.insert(uid, message);
}

qsizetype FolderSnapshot::remove(quint32 uid) {
    if (!messages.remove(uid))
        return -1;
    const qsizetype at = order.indexOf(uid);
    order.removeAt(at);
    return at;
}

qsizetype FolderSnapshot::replace(quint32 oldUid, quint32 newUid, const Message& message,
                                  qsizetype oldAt) {
    if (oldUid != newUid)
        remove(newUid);
    if (const qsizetype at = order.indexOf(oldUid); at >= 0) {
        messages.remove(oldUid);
        messages.insert(newUid, message);
        order[at] = newUid;
        return -1;
    }
    const qsizetype at = oldAt >= 0 ? qMin(oldAt, order.size()) : order.size();
    insert(at, newUid, message);
    return at;
}

UidSet FolderSnapshot::uids() const {
    UidSet set;
    for (auto it = messages.keyBegin(); it != messages.keyEnd(); ++it)
        set.add(*it);
    return set;
}

// The file: a header line, "validity <n> <modseq>", then one line per
// message in listing order: "<uid>\t<flags separated by spaces>\t<key>". Keys come from
// Message-IDs, which may hold anything but line breaks and tabs are taken out.
FolderSnapshot FolderSnapshot::load(const QString& path, QString* error) {
    FolderSnapshot snapshot;
    QFile file(path);
    if (!file.exists())
        return snapshot;
    if (!file.open(QIODevice::ReadOnly)) {
        *error = path + QStringLiteral(": ") + file.errorString();
        return snapshot;
    }
    const auto damaged = [&](int line, const QString& why) {
        *error = QStringLiteral("%1:%2: %3").arg(path).arg(line).arg(why);
        return FolderSnapshot();
    };
    const QList<QByteArray> lines = file.readAll().split('\n');
    if (lines.isEmpty() || QLatin1StringView(lines[0]) != kHeader)
        return damaged(1, QStringLiteral("not a folder snapshot"));
    if (lines.size() < 2)
        return damaged(2, QStringLiteral("no UIDVALIDITY"));
    const QList<QByteArray> validity = lines[1].split(' ');
    bool ok1 = false, ok2 = false;
    if (validity.size() != 3 || validity[0] != "validity")
        return damaged(2, QStringLiteral("no UIDVALIDITY"));
    snapshot.uidValidity = validity[1].toUInt(&ok1);
    snapshot.highestModSeq = validity[2].toULongLong(&ok2);
    if (!ok1 || !ok2)
        return damaged(2, QStringLiteral("UIDVALIDITY or HIGHESTMODSEQ is not a number"));
    for (qsizetype i = 2; i < lines.size(); ++i) {
        if (lines[i].isEmpty())
            continue;
        const QList<QByteArray> fields = lines[i].split('\t');
        bool ok = false;
        const quint32 uid = fields.isEmpty() ? 0 : fields[0].toUInt(&ok);
        if (fields.size() != 3 || !ok || uid == 0)
            return damaged(int(i) + 1, QStringLiteral("expected UID, flags and key"));
        Message message;
        message.flags = fields[1].split(' ');
        message.flags.removeAll(QByteArray());
        message.key = QString::fromUtf8(fields[2]);
        if (snapshot.messages.contains(uid))
            return damaged(int(i) + 1, QStringLiteral("UID %1 listed twice").arg(uid));
        snapshot.add(uid, message);
    }
    return snapshot;
}

QString FolderSnapshot::save(const QString& path) const {
    QByteArray text = QByteArray(kHeader.data(), kHeader.size()) + '\n';
    text += "validity " + QByteArray::number(uidValidity) + ' ' +
            QByteArray::number(highestModSeq) + '\n';
    for (const quint32 uid : order) {
        const Message& message = messages[uid];
        QByteArray key = message.key.toUtf8();
        key.replace('\t', ' ').replace('\n', ' ').replace('\r', ' ');
        text += QByteArray::number(uid) + '\t' + message.flags.join(' ') + '\t' + key + '\n';
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return path + QStringLiteral(": ") + file.errorString();
    // QSaveFile renames only when every write went through: a full disk
    // leaves the old snapshot in place.
    if (file.write(text) != text.size() || !file.commit())
        return path + QStringLiteral(": ") + file.errorString();
    return {};
}

} // namespace velmora::imap
