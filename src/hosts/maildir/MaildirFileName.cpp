#include "hosts/maildir/MaildirFileName.h"

#include <QDateTime>
#include <QSysInfo>

#include <unistd.h>

namespace velmora::maildir {

MaildirFileName MaildirFileName::parse(const QString& fileName) {
    MaildirFileName name;
    const qsizetype info = fileName.indexOf(QStringLiteral(":2,"));
    name.hasInfo = info >= 0;
    name.base = name.hasInfo ? fileName.left(info) : fileName;
    name.flags = name.hasInfo ? fileName.mid(info + 3) : QString();
    qsizetype end = name.base.size();
    for (const QChar separator : {QLatin1Char(','), QLatin1Char(':')}) {
        const qsizetype at = name.base.indexOf(separator);
        if (at >= 0 && at < end)
            end = at;
    }
    name.unique = name.base.left(end);
    return name;
}

QString newUniquePart() {
    static int counter = 0;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QString host = QSysInfo::machineHostName();
    host.replace(QLatin1Char('/'), QStringLiteral("\\057"));
    host.replace(QLatin1Char(':'), QStringLiteral("\\072"));
    host.replace(QLatin1Char(','), QStringLiteral("\\054"));
    return QStringLiteral("%1.M%2P%3Q%4V.%5")
        .arg(now / 1000)
        .arg((now % 1000) * 1000)
        .arg(::getpid())
        .arg(++counter)
        .arg(host);
}

QString curFileName(const QString& unique, QByteArrayView content, const QString& flags) {
    qsizetype bareLineFeeds = 0;
    for (qsizetype i = 0; i < content.size(); ++i) {
        if (content[i] == '\n' && (i == 0 || content[i - 1] != '\r'))
            ++bareLineFeeds;
    }
    return QStringLiteral("%1,S=%2,W=%3:2,%4")
        .arg(unique)
        .arg(content.size())
        .arg(content.size() + bareLineFeeds)
        .arg(flags);
}

QString entryIdOf(const QString& fileName) {
    QString id = MaildirFileName::parse(fileName).base;
    id.replace(QLatin1Char('%'), QStringLiteral("%25"));
    id.replace(QLatin1Char(','), QStringLiteral("%2C"));
    return id;
}

} // namespace velmora::maildir
