#pragma once

#include <QByteArray>
#include <QImage>

namespace velmora::tools {

// `image` as a GIF file: its colours reduced to a palette of at most 256 by
// Qt (the same image gives the same bytes), the pixels LZW-coded at 9 bits
// with a clear code often enough that the code table never grows. Larger than
// a packed GIF, but any reader takes it, and Qt writes no GIF of its own.
QByteArray gifOf(const QImage& image);

} // namespace velmora::tools
