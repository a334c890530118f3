#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora stats`: what the filter knows: table sizes, trusted senders,
// restricted words.
class StatsCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("stats"); }
    QString summary() const override { return QStringLiteral("show what the filter knows"); }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
