#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora demo`: the filter on a real Maildir in a temporary folder. The
// bundled example mail fills Junk, Sent and a folder of the user's; the
// database is built from them; the filter then watches the Maildir while the
// bundled new mail is delivered one message at a time and a user's client
// moves one message into Junk and one out of it. Prints what the filter did
// and learnt, and leaves nothing behind.
class DemoCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("demo"); }
    QString summary() const override {
        return QStringLiteral("watch a demo Maildir: learn from example mail, judge new mail");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
