#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

#include <optional>

namespace velmora {

// Exit codes of every subcommand. `classify` also uses 0 for spam and 1 for
// good mail, as mail filters do.
inline constexpr int kExitOk = 0;
inline constexpr int kExitNotSpam = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitError = 3;

// --maildir DIR, shared by the commands that work on a mailbox.
QCommandLineOption maildirOption();

// Parses `arguments` of `velmora <command>` with --help added. Returns the exit
// code when the command must end here (help shown, or a usage error written
// to `err`), nothing when it goes on.
std::optional<int> parseOptions(QCommandLineParser& parser, const QString& command,
                                const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace velmora
