#include "store/DataFileIo.h"

#include "base/VbError.h"

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

DataFileWriter::DataFileWriter(const QString& path) : m_file(path) {}

void DataFileWriter::open() {
    if (QFileInfo(m_file.fileName()).isDir() || !m_file.open(QIODevice::WriteOnly))
        throw openFailure(m_file.fileName());
}

void DataFileWriter::commit(QByteArrayView content) {
    if (m_file.write(content.data(), content.size()) != content.size()) {
        m_file.cancelWriting();
        throw VbError(VbError::DeviceIoError, m_file.fileName());
    }
    if (!m_file.commit())
        throw VbError(VbError::DeviceIoError, m_file.fileName());
}

} // namespace velmora
