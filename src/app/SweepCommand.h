#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora sweep FOLDER`: moves the spam of one folder into Junk, as the
// menu's sweep of the folder open in the mail client does.
class SweepCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("sweep"); }
    QString summary() const override { return QStringLiteral("move the spam of a folder to Junk"); }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
