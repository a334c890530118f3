#include "settings/SettingsFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

namespace velmora {
namespace {

QString tooLarge() {
    return QStringLiteral("the file is larger than 1 MiB");
}

QString notRegular() {
    return QStringLiteral("not a regular file");
}

// Qt does not always carry the system's reason into a file's error text; the
// errno of the failed call does.
QString causeOf(const QFileDevice& file, int systemError) {
    const QString cause = file.errorString();
    if ((cause.isEmpty() || cause == QStringLiteral("Unknown error")) && systemError != 0)
        return qt_error_string(systemError);
    return cause;
}

} // namespace

SettingsFileContents readSettingsFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    // Checked before opening: opening a named pipe would wait for a writer.
    if (!info.isFile())
        return {{}, notRegular()};
    if (info.size() > kMaxSettingsFileBytes)
        return {{}, tooLarge()};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, file.errorString()};
    // The file may have grown since it was measured.
    QByteArray bytes = file.read(kMaxSettingsFileBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString()};
    if (bytes.size() > kMaxSettingsFileBytes)
        return {{}, tooLarge()};
    return {std::move(bytes), {}};
}

QString checkSettingsFileWritable(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    if (!info.isFile())
        return notRegular();
    // Opening for appending changes nothing, and tells the system's own reason
    // (a read-only file, a read-only file system) when writing is refused.
    QFile probe(path);
    if (!probe.open(QIODevice::Append))
        return probe.errorString();
    return {};
}

QString replaceSettingsFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath()); // a failure shows when the file is created
    QSaveFile file(path);
    errno = 0;
    if (!file.open(QIODevice::WriteOnly))
        return causeOf(file, errno);
    // A buffered write may fail only when flushed, and commit() would still put
    // the incomplete file in place, so the error is checked first.
    errno = 0;
    if (file.write(bytes) != bytes.size() || !file.flush() ||
        file.error() != QFileDevice::NoError) {
        const QString cause = causeOf(file, errno);
        file.cancelWriting();
        file.commit(); // only removes the file aside
        return cause;
    }
    errno = 0;
    if (!file.commit())
        return causeOf(file, errno);
    return {};
}

} // namespace velmora
