#include "app/DemoMaildir.h"

#include "app/DemoMailbox.h"
#include "app/DemoMessage.h"
#include "hosts/maildir/MaildirFileName.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace velmora {
namespace {

QByteArray crlf(const QString& text) {
    QByteArray bytes = text.toUtf8();
    bytes.replace("\r\n", "\n").replace("\n", "\r\n");
    return bytes;
}

QByteArray encodedWord(const QString& text) {
    for (const QChar c : text) {
        if (c.unicode() > 0x7E)
            return "=?UTF-8?B?" + text.toUtf8().toBase64() + "?=";
    }
    return text.toUtf8();
}

bool makeFolder(const QString& folder) {
    bool made = true;
    for (const char* sub : {"cur", "new", "tmp"})
        made = QDir().mkpath(folder + QLatin1Char('/') + QLatin1String(sub)) && made;
    return made;
}

} // namespace

QByteArray rawMessageOf(const DemoMessage& message) {
    QByteArray raw = "From: " + message.sender.toUtf8() + "\r\n";
    if (!message.recipients.isEmpty())
        raw += "To: " + message.recipients.join(QStringLiteral(", ")).toUtf8() + "\r\n";
    raw += "Subject: " + encodedWord(message.subject) + "\r\nMIME-Version: 1.0\r\n";
    const QByteArray text = "Content-Type: text/plain; charset=utf-8\r\n"
                            "Content-Transfer-Encoding: 8bit\r\n\r\n" +
                            crlf(message.body);
    if (message.attachmentName.isEmpty())
        return raw + text;
    const QByteArray name = message.attachmentName.toUtf8();
    const QByteArray type = name.endsWith(".gif")   ? "image/gif"
                            : name.endsWith(".png") ? "image/png"
                                                    : "image/jpeg";
    QByteArray base64;
    const QByteArray encoded = message.attachment.toBase64();
    for (qsizetype at = 0; at < encoded.size(); at += 76)
        base64 += encoded.mid(at, 76) + "\r\n";
    return raw + "Content-Type: multipart/mixed; boundary=\"demo-part\"\r\n\r\n--demo-part\r\n" +
           text + "\r\n--demo-part\r\nContent-Type: " + type + "; name=\"" + name +
           "\"\r\nContent-Disposition: attachment; filename=\"" + name +
           "\"\r\nContent-Transfer-Encoding: base64\r\n\r\n" + base64 + "--demo-part--\r\n";
}

QString deliverInto(const QString& folder, const QByteArray& raw) {
    const QString unique = maildir::newUniquePart();
    const QString temporary = folder + QStringLiteral("/tmp/") + unique;
    QFile file(temporary);
    if (!file.open(QIODevice::WriteOnly) || file.write(raw) != raw.size() || !file.flush())
        return {};
    file.close();
    const QString target =
        folder + QStringLiteral("/new/") + unique + QStringLiteral(",S=%1").arg(raw.size());
    return QFile::rename(temporary, target) ? target : QString();
}

QString moveAsAServerDoes(const QString& file, const QString& toFolder) {
    QString name = QFileInfo(file).fileName();
    if (!name.contains(QStringLiteral(":2,")))
        name += QStringLiteral(":2,");
    const QString link = toFolder + QStringLiteral("/tmp/") + name;
    const QString target = toFolder + QStringLiteral("/cur/") + name;
    if (::link(QFile::encodeName(file).constData(), QFile::encodeName(link).constData()) != 0)
        return {};
    if (!QFile::rename(link, target)) {
        QFile::remove(link);
        return {};
    }
    QFile::remove(file);
    return target;
}

DemoMaildirCounts writeDemoMaildir(const QString& demoDir, const QString& root, QTextStream& err) {
    DemoMaildirCounts counts;
    const auto fill = [&](const QString& from, const QString& folderName) {
        const QString folder = root + QStringLiteral("/.") + folderName;
        if (!makeFolder(folder)) {
            err << "velmora: cannot create " << folder << '\n';
            return 0;
        }
        int written = 0;
        for (const DemoMessage& message : demoMessagesIn(demoDir, from, err)) {
            const QString delivered = deliverInto(folder, rawMessageOf(message));
            // Read already, as mail in a folder usually is.
            if (!delivered.isEmpty() &&
                QFile::rename(delivered, folder + QStringLiteral("/cur/") +
                                             QFileInfo(delivered).fileName() +
                                             QStringLiteral(":2,S")))
                ++written;
            else
                err << "velmora: cannot write " << message.fileName << " into " << folder << '\n';
        }
        return written;
    };
    makeFolder(root);
    fill(QStringLiteral("sent"), QStringLiteral("Sent"));
    counts.spam = fill(QStringLiteral("learn/spam"), QStringLiteral("Junk"));
    counts.good = fill(QStringLiteral("learn/good"), QStringLiteral("Friends"));
    return counts;
}

} // namespace velmora
