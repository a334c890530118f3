#include "store/FileHelpers.h"

#include "base/MessageSink.h"
#include "base/VbError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora {
namespace {

struct ListingRequest {
    QString folder;  // the folder part, "." when the path has none
    QString pattern; // the last part; "*" when the path ends with a slash
};

ListingRequest splitForListing(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    ListingRequest request;
    if (slash < 0) {
        request.folder = QStringLiteral(".");
        request.pattern = path;
    } else {
        request.folder = slash == 0 ? QStringLiteral("/") : path.left(slash);
        request.pattern = path.mid(slash + 1);
    }
    // "*.*" matches every name, with or without a dot, as it always has.
    if (request.pattern.isEmpty() || request.pattern == QStringLiteral("*.*"))
        request.pattern = QStringLiteral("*");
    return request;
}

bool hasWildcard(const QString& pattern) {
    return pattern.contains(QLatin1Char('*')) || pattern.contains(QLatin1Char('?'));
}

// Only "*" (any run of characters) and "?" (any one character) are wildcards;
// every other character, brackets and backslashes included, stands for itself.
bool matches(QStringView pattern, QStringView name) {
    if (pattern.isEmpty())
        return name.isEmpty();
    if (pattern.front() == QLatin1Char('*')) {
        for (qsizetype skip = 0; skip <= name.size(); ++skip) {
            if (matches(pattern.mid(1), name.mid(skip)))
                return true;
        }
        return false;
    }
    if (name.isEmpty())
        return false;
    if (pattern.front() != QLatin1Char('?') && pattern.front() != name.front())
        return false;
    return matches(pattern.mid(1), name.mid(1));
}

bool isOrdinaryFile(const QFileInfo& info) {
    return info.isFile() && !info.fileName().startsWith(QLatin1Char('.'));
}

} // namespace

bool FileExists(const QString& path) {
    try {
        if (path.isEmpty())
            throw VbError(VbError::BadFileName);
        const ListingRequest request = splitForListing(path);
        if (!hasWildcard(request.pattern))
            return isOrdinaryFile(QFileInfo(request.folder + QLatin1Char('/') + request.pattern));
        const QDir folder(request.folder);
        const QFileInfoList entries =
            folder.entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::NoSort);
        for (const QFileInfo& entry : entries) {
            if (isOrdinaryFile(entry) && matches(request.pattern, entry.fileName()))
                return true;
        }
        return false;
    } catch (const VbError& error) {
        showMessage(QStringLiteral("FileExists_error: ") + error.description());
        return false;
    }
}

bool DirectoryExist(const QString& path) {
    try {
        if (path.isEmpty())
            throw VbError(VbError::BadFileName);
        const ListingRequest request = splitForListing(path);
        if (!QFileInfo(request.folder).isDir())
            return false;
        for (const QString& dotName : {QStringLiteral("."), QStringLiteral("..")}) {
            if (request.pattern == dotName ||
                (hasWildcard(request.pattern) && matches(request.pattern, dotName)))
                return true;
        }
        return false;
    } catch (const VbError& error) {
        showMessage(QStringLiteral("DirectoryExist_error: ") + error.description());
        return false;
    }
}

qint64 fileLength(const QString& path) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        throw VbError(VbError::PathFileAccessError, path + QStringLiteral(": not a regular file"));
    if (!info.isFile())
        throw VbError(VbError::FileNotFound, path);
    return info.size();
}

bool DeleteFile(const QString& path) {
    try {
        const QFileInfo info(path);
        if (!info.isFile())
            return false;
        QFile file(path);
        if (!file.remove())
            throw VbError(VbError::PermissionDenied, path);
        return true;
    } catch (const VbError& error) {
        showMessage(QStringLiteral("DeleteFile_error: ") + error.description());
        return false;
    }
}

} // namespace velmora
