#pragma once

#include "analysis/ToolWindowView.h"

#include <QWidget>

namespace velmora {

// The tool window's picture box: a borderless widget whose size in pixels is
// the box's size, showing what was drawn into it.
class PictureBoxWidget final : public QWidget, public PictureBox {
public:
    static constexpr int kDesignSize = 150;

    explicit PictureBoxWidget(QWidget* parent = nullptr);

    int width() const override { return m_width; }
    int height() const override { return m_height; }
    void setWidth(int width) override;
    void setHeight(int height) override;
    void drawStretched(const QImage& picture) override;
    const QImage& pixels() const override { return m_pixels; }
    void clearPicture() override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_width = kDesignSize;
    int m_height = kDesignSize;
    QImage m_pixels;
};

} // namespace velmora
