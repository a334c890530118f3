#include "app/StarterPictures.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora {

QString shippedStarterPictures() {
    const QString name = kDefaultPicDataFile.toString();
    const QStringList candidates = {
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/velmora/") + name,
        QStringLiteral(VELMORA_BUILD_DATA_DIR "/") + name,
    };
    for (const QString& candidate : candidates) {
        if (QFileInfo(candidate).isFile())
            return QFileInfo(candidate).canonicalFilePath();
    }
    return {};
}

void provideStarterPictures(const DataFolder& folder) {
    const QString target = folder.dataFile(kDefaultPicDataFile);
    if (QFileInfo::exists(target))
        return;
    const QString shipped = shippedStarterPictures();
    if (shipped.isEmpty())
        return;
    // Copied through a temporary name, so a reader never sees half a file.
    QDir().mkpath(folder.dataFolder());
    const QString partial = target + QStringLiteral(".part");
    QFile::remove(partial);
    if (QFile::copy(shipped, partial) && !QFile::rename(partial, target))
        QFile::remove(partial);
}

} // namespace velmora
