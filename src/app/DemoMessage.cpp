#include "app/DemoMessage.h"

#include <QFile>
#include <QFileInfo>

namespace velmora {

std::optional<DemoMessage> readDemoMessage(const QString& path, const QString& picturesFolder,
                                           QString& error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QString text = QString::fromUtf8(file.readAll()).remove(QLatin1Char('\r'));
    const qsizetype blank = text.indexOf(QStringLiteral("\n\n"));
    if (blank < 0) {
        error = QStringLiteral("%1: no blank line after the headers").arg(path);
        return std::nullopt;
    }
    DemoMessage message;
    message.fileName = QFileInfo(path).fileName();
    for (const QString& line : text.left(blank).split(QLatin1Char('\n'))) {
        if (line.startsWith(QStringLiteral("From:")))
            message.sender = line.mid(5).trimmed();
        else if (line.startsWith(QStringLiteral("Subject:")))
            message.subject = line.mid(8).trimmed();
        else if (line.startsWith(QStringLiteral("To:"))) {
            for (const QString& address : line.mid(3).split(QLatin1Char(','), Qt::SkipEmptyParts))
                message.recipients.append(address.trimmed());
        } else if (line.startsWith(QStringLiteral("Attachment:")))
            message.attachmentName = line.mid(11).trimmed();
    }
    if (!message.attachmentName.isEmpty()) {
        // A picture of the pictures folder itself, and no larger than mail
        // carries: the name never leads elsewhere.
        constexpr qint64 kMaxPictureFile = 10 * 1024 * 1024;
        const QString& name = message.attachmentName;
        if (name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')) ||
            name.startsWith(QLatin1Char('.'))) {
            error = QStringLiteral("%1: attachment %2: not a file name of the pictures folder")
                        .arg(path, name);
            return std::nullopt;
        }
        QFile picture(picturesFolder + QLatin1Char('/') + name);
        if (!QFileInfo(picture.fileName()).isFile() ||
            QFileInfo(picture.fileName()).size() > kMaxPictureFile) {
            error = QStringLiteral("%1: attachment %2: not a picture file of at most 10 MB")
                        .arg(path, picture.fileName());
            return std::nullopt;
        }
        if (!picture.open(QIODevice::ReadOnly)) {
            error = QStringLiteral("%1: attachment %2: %3")
                        .arg(path, picture.fileName(), picture.errorString());
            return std::nullopt;
        }
        message.attachment = picture.readAll();
    }
    message.body = text.mid(blank + 2);
    message.body.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return message;
}

} // namespace velmora
