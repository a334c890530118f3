#include "analysis/ToolWindowView.h"

#include "base/VbError.h"

#include <QPainter>

namespace velmora {

QImage stretchedDrawing(const QImage& picture, int width, int height) {
    if (width <= 0 || height <= 0)
        return QImage();
    QImage surface(width, height, QImage::Format_RGB32);
    surface.fill(kPictureBoxBackground);
    QPainter painter(&surface);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.drawImage(QRect(0, 0, width, height), picture);
    return surface;
}

void checkProgressValue(int percent) {
    if (percent < 0 || percent > 100)
        throw VbError(VbError::InvalidPropertyValue);
}

} // namespace velmora
