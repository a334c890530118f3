#include "store/DataFileIo.h"

#include "base/MessageSink.h"
#include "base/VbError.h"
#include "store/DataFileLoads.h"
#include "store/DataFolder.h"

#include <QDateTime>

#include <cerrno>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora {
namespace {

VbError openFailure(const QString& path) {
    const QFileInfo info(path);
    if (!info.absoluteDir().exists())
        return VbError(VbError::PathNotFound, path);
    if (info.isDir())
        return VbError(VbError::PathFileAccessError, path);
    return VbError(VbError::PermissionDenied, path);
}

} // namespace

QByteArray readDataFile(const QString& path) {
    QFile file(path);
    if (QFileInfo(path).exists() && !QFileInfo(path).isFile())
        throw VbError(VbError::PathFileAccessError, path + QStringLiteral(": not a regular file"));
    if (!file.exists()) {
        const bool folderExists = QFileInfo(path).absoluteDir().exists();
        throw VbError(folderExists ? VbError::FileNotFound : VbError::PathNotFound, path);
    }
    if (!file.open(QIODevice::ReadOnly))
        throw openFailure(path);
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw VbError(VbError::DeviceIoError, path);
    return content;
}

void writeWhole(QIODevice& device, QByteArrayView content, const QString& name) {
    const auto failure = [&](int systemError) {
        // Qt does not always carry the system's reason into the device's
        // error text; the errno of the failed call does.
        QString cause = device.errorString();
        if ((cause.isEmpty() || cause == QStringLiteral("Unknown error")) && systemError != 0)
            cause = qt_error_string(systemError);
        const bool full = systemError == ENOSPC ||
                          cause.contains(QStringLiteral("No space"), Qt::CaseInsensitive);
        return VbError(full ? VbError::DiskFull : VbError::DeviceIoError,
                       name + QStringLiteral(": ") + cause);
    };
    // A device may take part of the content; what is left is written again
    // until it is all there or the device refuses.
    qint64 done = 0;
    while (done < content.size()) {
        errno = 0;
        const qint64 taken = device.write(content.data() + done, content.size() - done);
        if (taken <= 0)
            throw failure(errno);
        done += taken;
    }
    if (auto* file = qobject_cast<QFileDevice*>(&device)) {
        errno = 0;
        if (!file->flush() || file->error() != QFileDevice::NoError)
            throw failure(errno);
    }
}

DataFileWriter::DataFileWriter(const QString& path) : m_file(path) {}

void DataFileWriter::open() {
    const QFileInfo info(m_file.fileName());
    if (info.exists() && !info.isFile())
        throw VbError(VbError::PathFileAccessError,
                      m_file.fileName() + QStringLiteral(": not a regular file"));
    if (!m_file.open(QIODevice::WriteOnly))
        throw openFailure(m_file.fileName());
}

void DataFileWriter::commit(QByteArrayView content) {
    try {
        writeWhole(m_file, content, m_file.fileName());
    } catch (const VbError&) {
        m_file.cancelWriting();
        m_file.commit(); // only removes the file aside
        throw;
    }
    keepOldFileIfAtRisk(content.isEmpty());
    if (!m_file.commit())
        throw VbError(VbError::DeviceIoError,
                      m_file.fileName() + QStringLiteral(": ") + m_file.errorString());
    dataFileLoads::noteComplete(m_file.fileName());
}

void DataFileWriter::keepOldFileIfAtRisk(bool emptying) {
    const QString path = m_file.fileName();
    const QFileInfo old(path);
    if (!old.isFile() || old.size() == 0)
        return; // nothing there to lose
    QString cause = dataFileLoads::riskOfReplacing(path);
    if (cause.isEmpty() && emptying && old.fileName() != kRestrictedFile)
        cause = QStringLiteral("the new version is empty");
    if (cause.isEmpty())
        return;
    const QString stamp = path + QStringLiteral(".saved-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString saved = stamp;
    for (int n = 2; QFileInfo::exists(saved); ++n)
        saved = stamp + QLatin1Char('-') + QString::number(n);
    if (!QFile::copy(path, saved)) {
        m_file.cancelWriting();
        m_file.commit();
        throw VbError(VbError::PathFileAccessError,
                      path + QStringLiteral(": could not keep the previous version as ") + saved);
    }
    showMessage(
        QStringLiteral("Velmora kept the previous %1 as %2, because %3.").arg(path, saved, cause));
}

} // namespace velmora
