#pragma once

#include "analysis/ToolWindowView.h"

namespace velmora {

// A picture box that draws into an image and shows nothing.
class ImagePictureBox final : public PictureBox {
public:
    static constexpr int kDesignSize = 150;

    int width() const override { return m_width; }
    int height() const override { return m_height; }
    void setWidth(int width) override { m_width = width; }
    void setHeight(int height) override { m_height = height; }
    void drawStretched(const QImage& picture) override {
        m_pixels = stretchedDrawing(picture, m_width, m_height);
    }
    const QImage& pixels() const override { return m_pixels; }
    void clearPicture() override { m_pixels = QImage(); }

private:
    int m_width = kDesignSize;
    int m_height = kDesignSize;
    QImage m_pixels;
};

// The tool window's controls, kept in memory, for daemons, the command line
// and tests.
class HeadlessToolWindow final : public ToolWindowView {
public:
    QString statusText() const override { return m_status; }
    void setStatusText(const QString& text) override { m_status = text; }
    void setCounterText(const QString& text) override { m_counter = text; }
    void setProgress(int percent) override {
        checkProgressValue(percent);
        m_progress = percent;
    }
    PictureBox& pictureBox() override { return m_picture; }
    bool textAnalysisSwitchedOff() const override { return m_textOff; }

    QString counterText() const { return m_counter; }
    int progress() const { return m_progress; }
    void setTextAnalysisSwitchedOff(bool off) { m_textOff = off; }

private:
    QString m_status;
    QString m_counter;
    int m_progress = 0;
    bool m_textOff = false;
    ImagePictureBox m_picture;
};

} // namespace velmora
