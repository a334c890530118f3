#pragma once

#include <QStringList>
#include <QTextStream>

namespace velmora {

// Runs `velmora <subcommand> [arguments]`: `arguments` excludes the program
// name. Returns the exit code.
int runCommandLine(const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace velmora
