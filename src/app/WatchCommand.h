#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora watch`: the filter attached to the user's Maildir or IMAP account for as long as it
// runs, judging new mail as it arrives and learning from what the user does
// in any mail client. SIGINT and SIGTERM end it as a closing client would.
class WatchCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("watch"); }
    QString summary() const override {
        return QStringLiteral(
            "filter a Maildir or an IMAP account live, learning from the user's moves");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
