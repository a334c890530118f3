#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora demo`: learns the bundled example mail into a fresh data folder,
// saves and reloads the text table, then scores the bundled incoming mail the
// way the filter's text stage does and prints what it finds.
class DemoCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("demo"); }
    QString summary() const override {
        return QStringLiteral("learn the bundled example mail and score new mail against it");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
