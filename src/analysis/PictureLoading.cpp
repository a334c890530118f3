#include "analysis/PictureLoading.h"

#include "base/VbError.h"

#include <QFile>
#include <QImageReader>

namespace velmora {

QImage loadPicture(const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(false);
    QImage picture = reader.read();
    if (picture.isNull())
        throw VbError(VbError::InvalidPicture, path);
    return picture;
}

QImage loadSavedAttachment(const QString& path) {
    try {
        return loadPicture(path);
    } catch (const VbError&) {
        QFile::remove(path);
        throw;
    }
}

} // namespace velmora
