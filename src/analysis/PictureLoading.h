#pragma once

#include <QImage>
#include <QString>

namespace velmora {

// Loads a picture file (JPEG, GIF, PNG, BMP, TIFF, recognised by content).
// Throws VbError ("Invalid picture", naming the file) when it cannot be read.
QImage loadPicture(const QString& path);

// Loads an attachment saved in the work root. One that does not decode is
// deleted before the error goes on: the picture check reuses a saved file of
// the same name, and a broken one would otherwise stand in for every later
// attachment of that name.
QImage loadSavedAttachment(const QString& path);

} // namespace velmora
