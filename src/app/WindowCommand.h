#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora window`: the add-in on screen, attached to an in-memory mail
// client that holds the bundled demo mail (the new mail already in the
// Inbox), with its tool window open, for trying the filter by hand. Nothing
// of the user's own data is touched unless --work-root names a folder.
class WindowCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("window"); }
    QString summary() const override {
        return QStringLiteral("open the tool window on the demo mail (needs a display)");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
