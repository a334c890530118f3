#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora account add|test|remove`: the IMAP account that `velmora watch`
// filters. `add` logs in, finds Junk, Sent and Trash and saves the account
// in the settings file; `test` logs in with what is saved and tells what it
// found; `remove` forgets it. The password stays in its own file, or in the
// desktop keyring with --password-keyring: `add` keeps it there once it has
// logged in with it, `remove` deletes it.
class AccountCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("account"); }
    QString summary() const override {
        return QStringLiteral("add, test or remove the IMAP account to watch");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
