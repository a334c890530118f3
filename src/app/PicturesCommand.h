#pragma once

#include "app/Command.h"

namespace velmora {

// `velmora pictures --output FILE INPUT...`: a picture table made from spam
// messages (raw message files, or Maildir folders), each learnt as spam the
// way the filter learns a message moved into Junk, so that every record comes
// from the filter's own picture check and fingerprint. The same input gives
// the same bytes.
class PicturesCommand final : public Command {
public:
    QString name() const override { return QStringLiteral("pictures"); }
    QString summary() const override {
        return QStringLiteral("make a picture table from spam messages (the starter table)");
    }
    int run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};

} // namespace velmora
