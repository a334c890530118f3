#pragma once

#include "addin/host/EventSource.h"

#include <QList>
#include <QString>

#include <memory>

namespace velmora {

// Control types of the host's command bars.
enum class ControlType { Button = 1, Popup = 10 };

// A control on a command bar: a pop-up (which holds controls of its own) or a
// button. Property writes the host refuses throw VbError.
class CommandBarControl {
public:
    virtual ~CommandBarControl() = default;

    virtual ControlType type() const = 0;
    virtual QString caption() const = 0;
    virtual void setCaption(const QString& caption) = 0;
    virtual void setEnabled(bool enabled) = 0;
    // 3: icon and caption.
    virtual void setStyle(int style) = 0;
    // An icon of the host's built-in set.
    virtual void setFaceId(int faceId) = 0;
    // Removes the control (and what it holds) from its bar.
    virtual void deleteControl() = 0;

    // A pop-up's controls, in order; empty for a button.
    virtual QList<std::shared_ptr<CommandBarControl>> Controls() const = 0;
    // Adds a control to a pop-up. `temporary` controls vanish when the host
    // closes.
    virtual std::shared_ptr<CommandBarControl> add(ControlType type, bool temporary) = 0;

    // A button was clicked.
    EventSource<> Click;
};

using ControlRef = std::shared_ptr<CommandBarControl>;

// One command bar (a tool bar) of an explorer window.
class CommandBar {
public:
    virtual ~CommandBar() = default;
    virtual QString name() const = 0;
    virtual QList<ControlRef> Controls() const = 0;
    virtual ControlRef add(ControlType type, bool temporary) = 0;
};

// The command bars of an explorer window.
class CommandBars {
public:
    virtual ~CommandBars() = default;
    // The bar of that name ("Standard"), or nullptr.
    virtual std::shared_ptr<CommandBar> Item(const QString& name) const = 0;
};

} // namespace velmora
