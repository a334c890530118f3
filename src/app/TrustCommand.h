#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora trust ADDRESS...`: adds senders to the trusted list.
class TrustCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("trust"); }
    QString summary() const override { return QStringLiteral("trust senders"); }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
