#pragma once

#include <QImage>
#include <QString>

namespace velmora {

// Loads a picture file (JPEG, GIF, PNG, BMP, TIFF, recognised by content).
// Throws VbError ("Invalid picture", naming the file) when it cannot be read.
QImage loadPicture(const QString& path);

} // namespace velmora
