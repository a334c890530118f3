#include "hosts/maildir/MaildirFixture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <unistd.h>

namespace velmora::test {
namespace {

int counter = 0;

QString uniqueName() {
    const int n = ++counter;
    return QStringLiteral("%1.M%2P%3Q%4.testhost")
        .arg(1700000000 + n)
        .arg(n * 7)
        .arg(::getpid())
        .arg(n);
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
}

} // namespace

QByteArray rawMail(const QString& from, const QString& subject, const QString& body,
                   const QByteArray& moreHeaders) {
    QByteArray raw =
        "From: " + from.toUtf8() + "\r\nTo: me@home.example\r\nSubject: " + subject.toUtf8() +
        "\r\nMessage-ID: <" + QByteArray::number(++counter) + "@test.example>\r\n" + moreHeaders +
        "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n";
    QByteArray text = body.toUtf8();
    text.replace("\r\n", "\n").replace("\n", "\r\n");
    return raw + text;
}

MaildirTree::MaildirTree() {
    for (const QString& path : {QString(), QStringLiteral("Junk"), QStringLiteral("Sent"),
                                QStringLiteral("Trash"), QStringLiteral("Work.Projects")}) {
        for (const char* sub : {"cur", "new", "tmp"})
            QDir().mkpath(folder(path) + QLatin1Char('/') + QLatin1String(sub));
    }
}

QString MaildirTree::folder(const QString& path) const {
    return path.isEmpty() ? root : root + QStringLiteral("/.") + path;
}

QString MaildirTree::deliver(const QString& path, const QByteArray& raw) {
    const QString name = uniqueName();
    const QString temporary = folder(path) + QStringLiteral("/tmp/") + name;
    writeFile(temporary, raw);
    const QString target =
        folder(path) + QStringLiteral("/new/") + name + QStringLiteral(",S=%1").arg(raw.size());
    QFile::rename(temporary, target);
    return target;
}

QString MaildirTree::place(const QString& path, const QByteArray& raw, const QString& flags) {
    const QString name = uniqueName() + QStringLiteral(",S=%1:2,").arg(raw.size()) + flags;
    const QString target = folder(path) + QStringLiteral("/cur/") + name;
    const QString temporary = folder(path) + QStringLiteral("/tmp/") + name;
    writeFile(temporary, raw);
    QFile::rename(temporary, target);
    return target;
}

QStringList MaildirTree::serverMove(const QStringList& files, const QString& toPath) {
    QStringList moved;
    for (const QString& file : files) {
        QString name = file.section(QLatin1Char('/'), -1);
        if (!name.contains(QStringLiteral(":2,")))
            name += QStringLiteral(":2,");
        const QString link = folder(toPath) + QStringLiteral("/tmp/") + name;
        const QString target = folder(toPath) + QStringLiteral("/cur/") + name;
        if (::link(QFile::encodeName(file).constData(), QFile::encodeName(link).constData()) != 0)
            ADD_FAILURE() << "cannot link " << file.toStdString();
        QFile::rename(link, target);
        moved.append(target);
    }
    QThread::msleep(2); // the server removes the sources a moment later
    for (const QString& file : files)
        QFile::remove(file);
    return moved;
}

QStringList MaildirTree::files(const QString& path) const {
    QStringList all;
    for (const char* sub : {"cur", "new"}) {
        const QString dir = folder(path) + QLatin1Char('/') + QLatin1String(sub);
        for (const QString& name : QDir(dir).entryList(QDir::Files, QDir::Name))
            all.append(dir + QLatin1Char('/') + name);
    }
    return all;
}

QByteArray MaildirTree::read(const QString& file) {
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool waitUntil(const std::function<bool()>& done) {
    QDeadlineTimer deadline(10'000);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(2);
    }
    return true;
}

} // namespace velmora::test
