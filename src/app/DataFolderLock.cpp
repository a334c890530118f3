#include "app/DataFolderLock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmora {

DataFolderLock::DataFolderLock(const QString& workRoot) {
    // Beside the work root, not in it: the filter's start clears every file
    // it finds in the work root.
    const QString parent = QFileInfo(QDir::cleanPath(workRoot)).absolutePath();
    QDir().mkpath(parent);
    const QString path = QDir(parent).filePath(QStringLiteral(".velmora.lock"));
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        m_refusal = path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
        return;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        char holder[32] = {};
        [[maybe_unused]] const ssize_t got = ::pread(fd, holder, sizeof holder - 1, 0);
        m_refusal = QStringLiteral("velmora watch (process %1) is using %2; stop it first")
                        .arg(QString::fromLatin1(holder).trimmed(), workRoot);
        ::close(fd);
        return;
    }
    const QByteArray pid = QByteArray::number(QCoreApplication::applicationPid()) + '\n';
    if (::ftruncate(fd, 0) == 0) {
        [[maybe_unused]] const ssize_t written =
            ::pwrite(fd, pid.constData(), size_t(pid.size()), 0);
    }
    m_fd = fd;
}

DataFolderLock::~DataFolderLock() {
    if (m_fd >= 0)
        ::close(m_fd); // releases the lock
}

} // namespace velmora
