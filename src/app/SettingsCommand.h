#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora settings`: shows or sets the levels, the text switch and the
// Maildir that the other commands use.
class SettingsCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("settings"); }
    QString summary() const override {
        return QStringLiteral("show or set the levels, the text switch and the Maildir");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
