#include "ui/PictureBoxWidget.h"

#include <QPainter>

namespace velmora {

PictureBoxWidget::PictureBoxWidget(QWidget* parent) : QWidget(parent) {
    setFixedSize(m_width, m_height);
}

void PictureBoxWidget::setWidth(int width) {
    m_width = width;
    setFixedSize(qMax(m_width, 0), qMax(m_height, 0));
}

void PictureBoxWidget::setHeight(int height) {
    m_height = height;
    setFixedSize(qMax(m_width, 0), qMax(m_height, 0));
}

void PictureBoxWidget::drawStretched(const QImage& picture) {
    m_pixels = stretchedDrawing(picture, m_width, m_height);
    update();
}

void PictureBoxWidget::clearPicture() {
    m_pixels = QImage();
    update();
}

void PictureBoxWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor::fromRgb(kPictureBoxBackground));
    if (!m_pixels.isNull())
        painter.drawImage(0, 0, m_pixels);
}

} // namespace velmora
