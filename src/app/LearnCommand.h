#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora learn --spam|--ham FILE...`: teaches the filter as if the user had
// moved each message into Junk (spam) or out of the Inbox (good mail).
class LearnCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("learn"); }
    QString summary() const override {
        return QStringLiteral("learn messages as spam (--spam) or good mail (--ham)");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
