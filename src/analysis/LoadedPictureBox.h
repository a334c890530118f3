#pragma once

#include "analysis/ToolWindowView.h"

#include <functional>
#include <utility>

namespace velmora {

// The picture box of whichever tool window is loaded when it is used, loading
// a fresh window when none is. Fingerprinting draws and reads the box across
// yields, during which the user may close the window (which unloads it); going
// through this box, the routine never touches a closed window's control, and
// like any use of a closed form's control, its next use loads the form again.
class LoadedPictureBox final : public PictureBox {
public:
    explicit LoadedPictureBox(std::function<PictureBox&()> current)
        : m_current(std::move(current)) {}

    int width() const override { return m_current().width(); }
    int height() const override { return m_current().height(); }
    void setWidth(int width) override { m_current().setWidth(width); }
    void setHeight(int height) override { m_current().setHeight(height); }
    void drawStretched(const QImage& picture) override { m_current().drawStretched(picture); }
    const QImage& pixels() const override { return m_current().pixels(); }
    void clearPicture() override { m_current().clearPicture(); }

private:
    std::function<PictureBox&()> m_current;
};

} // namespace velmora
