#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace velmora {

// One subcommand of `velmora`. It writes its normal output to `out` and its
// diagnostics to `err`, and returns the process exit code.
class Command {
public:
    virtual ~Command() = default;
    virtual QString name() const = 0;
    virtual QString summary() const = 0;
    virtual int run(const QStringList& arguments, QTextStream& out, QTextStream& err) = 0;
};

} // namespace velmora
