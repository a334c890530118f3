#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora classify`: judges raw messages (files, or one message on standard
// input) with the user's filter, as new mail is judged. Prints the verdict
// and the subject the filter gives each message, or with --passthrough writes
// the message itself with that subject, for procmail, maildrop and Sieve
// pipes. Exit status: 0 spam (any, for several), 1 not spam, 3 error.
class ClassifyCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("classify"); }
    QString summary() const override {
        return QStringLiteral("judge messages from files or standard input (exit 0 spam, 1 not)");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
