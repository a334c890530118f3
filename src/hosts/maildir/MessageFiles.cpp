#include "hosts/maildir/MessageFiles.h"

#include "base/VbError.h"
#include "hosts/maildir/MaildirFileName.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::maildir {
namespace {

VbError systemError(const QString& path, int error) {
    VbError::Number number = VbError::DeviceIoError;
    if (error == ENOSPC || error == EDQUOT)
        number = VbError::DiskFull;
    else if (error == EACCES || error == EPERM || error == EROFS)
        number = VbError::PermissionDenied;
    else if (error == ENOENT)
        number = VbError::FileNotFound;
    return VbError(number,
                   path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error)));
}

QByteArray local(const QString& path) {
    return QFile::encodeName(path);
}

void syncDirectory(const QString& directory) {
    const int fd = ::open(local(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return; // the rename itself is done; a directory that cannot be opened is not an error
    ::fsync(fd);
    ::close(fd);
}

// False when `to` exists; throws VbError on any other failure.
bool renameWithoutReplacing(const QString& from, const QString& to) {
    if (::renameat2(AT_FDCWD, local(from).constData(), AT_FDCWD, local(to).constData(),
                    RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (errno != EINVAL && errno != ENOSYS)
        throw systemError(from, errno);
    // A file system without the no-replace rename: check, then rename.
    if (QFileInfo::exists(to))
        return false;
    if (::rename(local(from).constData(), local(to).constData()) != 0)
        throw systemError(from, errno);
    return true;
}

} // namespace

QByteArray readMessageFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw systemError(path, errno ? errno : ENOENT);
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw VbError(VbError::DeviceIoError, path + QStringLiteral(": ") + file.errorString());
    return content;
}

QString writeNewMessage(const QString& folder, QByteArrayView content, const QString& flags,
                        const BeforeRename& beforeRename, const QString& replacing) {
    const QString unique = newUniquePart();
    const QString temporary = folder + QStringLiteral("/tmp/") + unique;
    const QString target = folder + QStringLiteral("/cur/") + curFileName(unique, content, flags);

    const int fd =
        ::open(local(temporary).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        throw systemError(temporary, errno);
    const auto fail = [&](int error) {
        ::close(fd);
        ::unlink(local(temporary).constData());
        return systemError(target, error);
    };
    qsizetype done = 0;
    while (done < content.size()) {
        const ssize_t written = ::write(fd, content.data() + done, size_t(content.size() - done));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throw fail(errno);
        }
        done += written;
    }
    // A rewrite keeps the message's time (servers show it as the date the
    // message was received) and its permissions.
    struct stat old {};
    if (!replacing.isEmpty() && ::stat(local(replacing).constData(), &old) == 0) {
        const struct timespec times[2] = {old.st_atim, old.st_mtim};
        ::fchmod(fd, old.st_mode & 07777);
        ::futimens(fd, times);
    }
    if (::fsync(fd) != 0)
        throw fail(errno);
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(local(temporary).constData());
        throw systemError(target, error);
    }
    if (beforeRename)
        beforeRename(target);
    if (::rename(local(temporary).constData(), local(target).constData()) != 0) {
        const int error = errno;
        ::unlink(local(temporary).constData());
        throw systemError(target, error);
    }
    syncDirectory(folder + QStringLiteral("/cur"));
    return target;
}

QString moveMessageFile(const QString& path, const QString& destination,
                        const BeforeRename& beforeRename) {
    const QString fileName = QFileInfo(path).fileName();
    const MaildirFileName name = MaildirFileName::parse(fileName);
    const QString curName = name.hasInfo ? fileName : fileName + QStringLiteral(":2,");
    QString target = destination + QStringLiteral("/cur/") + curName;
    if (beforeRename)
        beforeRename(target);
    // Never over another message: the same name there already (a copy moved
    // back) gets a fresh unique part.
    if (!renameWithoutReplacing(path, target)) {
        target = destination + QStringLiteral("/cur/") + newUniquePart() +
                 curName.mid(name.unique.size());
        if (beforeRename)
            beforeRename(target);
        if (!renameWithoutReplacing(path, target))
            throw systemError(path, EEXIST);
    }
    syncDirectory(destination + QStringLiteral("/cur"));
    return target;
}

bool removeMessageFile(const QString& path) {
    if (::unlink(local(path).constData()) != 0) {
        if (errno == ENOENT)
            return false;
        throw systemError(path, errno);
    }
    syncDirectory(QFileInfo(path).absolutePath());
    return true;
}

} // namespace velmora::maildir
