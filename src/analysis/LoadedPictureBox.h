#pragma once

#include "analysis/ToolWindowView.h"

#include <functional>
#include <memory>
#include <utility>

namespace velmora {

// The picture box of whichever tool window is loaded when it is used, loading
// a fresh window when none is. The user may close the window (which unloads
// it) during any yield; going through this box, no routine touches a closed
// window's control, and like any use of a closed form's control, its next use
// loads the form again. Inside keepWhile() the box in use stays the same one,
// its window kept alive by a token until the work is done.
class LoadedPictureBox final : public PictureBox {
public:
    struct Held {
        PictureBox* box = nullptr;
        std::shared_ptr<void> keepAlive;
    };

    explicit LoadedPictureBox(std::function<Held()> current) : m_current(std::move(current)) {}

    int width() const override { return box().width(); }
    int height() const override { return box().height(); }
    void setWidth(int width) override { box().setWidth(width); }
    void setHeight(int height) override { box().setHeight(height); }
    void drawStretched(const QImage& picture) override { box().drawStretched(picture); }
    const QImage& pixels() const override { return box().pixels(); }
    void clearPicture() override { box().clearPicture(); }

    void keepWhile(const std::function<void()>& work) override {
        if (m_held.box) {
            work(); // already held by an outer call
            return;
        }
        struct Release {
            Held& held;
            ~Release() { held = {}; }
        };
        m_held = m_current();
        const Release release{m_held};
        work();
    }

private:
    PictureBox& box() const { return m_held.box ? *m_held.box : *m_current().box; }

    std::function<Held()> m_current;
    Held m_held;
};

} // namespace velmora
