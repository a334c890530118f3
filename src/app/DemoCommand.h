#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora demo`: puts the bundled example mail into an in-memory mail client,
// learns the spam and the good examples into a fresh data folder, saves and
// reloads the data files, then lets the bundled new mail arrive in the Inbox
// and judges each message as the filter does, moving spam to Junk.
class DemoCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("demo"); }
    QString summary() const override {
        return QStringLiteral("learn the bundled example mail and judge new mail with it");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
