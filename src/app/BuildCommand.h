#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora build`: the database made afresh from the Maildir's folders, as the
// tool window's "Analyse Folders" makes it, with a progress bar on a terminal.
class BuildCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("build"); }
    QString summary() const override {
        return QStringLiteral("build the database from the Maildir's folders");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
