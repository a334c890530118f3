#include "analysis/HeadlessToolWindow.h"

#include <QPainter>

namespace velmora {

void ImagePictureBox::drawStretched(const QImage& picture) {
    QImage surface(qMax(m_width, 0), qMax(m_height, 0), QImage::Format_RGB32);
    surface.fill(kBackground);
    if (!surface.isNull()) {
        QPainter painter(&surface);
        // Plain pixel stretching, no smoothing, as the picture box always did.
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.drawImage(QRect(0, 0, m_width, m_height), picture);
    }
    m_pixels = surface;
}

} // namespace velmora
