#pragma once

#include "base/MessageSink.h"

namespace velmora {

// Shows messages as message boxes with an OK button.
class WidgetMessageSink final : public MessageSink {
public:
    void showMessage(const QString& text, const QString& title) override;
};

// True when a window system is up (not the offscreen or minimal platform).
bool windowSystemIsUp();

// Installs a WidgetMessageSink when a window system is up, and keeps the
// standard-error sink otherwise.
void installMessageSinkForPlatform();

} // namespace velmora
