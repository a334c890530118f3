#include "app/CommandLine.h"

#include "app/AccountCommand.h"
#include "app/BuildCommand.h"
#include "app/ClassifyCommand.h"
#include "app/DemoCommand.h"
#include "app/LearnCommand.h"
#include "app/PicturesCommand.h"
#include "app/SettingsCommand.h"
#include "app/StatsCommand.h"
#include "app/SweepCommand.h"
#include "app/TrustCommand.h"
#include "app/WatchCommand.h"
#include "app/WindowCommand.h"

#include <memory>
#include <vector>

namespace velmora {
namespace {

std::vector<std::unique_ptr<Command>> allCommands() {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<WatchCommand>());
    commands.push_back(std::make_unique<AccountCommand>());
    commands.push_back(std::make_unique<BuildCommand>());
    commands.push_back(std::make_unique<SweepCommand>());
    commands.push_back(std::make_unique<ClassifyCommand>());
    commands.push_back(std::make_unique<LearnCommand>());
    commands.push_back(std::make_unique<TrustCommand>());
    commands.push_back(std::make_unique<SettingsCommand>());
    commands.push_back(std::make_unique<StatsCommand>());
    commands.push_back(std::make_unique<PicturesCommand>());
    commands.push_back(std::make_unique<WindowCommand>());
    commands.push_back(std::make_unique<DemoCommand>());
    return commands;
}

void printUsage(QTextStream& stream, const std::vector<std::unique_ptr<Command>>& commands) {
    stream << "usage: velmora <command> [options]\n\ncommands:\n";
    for (const auto& command : commands)
        stream << "  " << command->name().leftJustified(10) << command->summary() << '\n';
}

} // namespace

int runCommandLine(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const auto commands = allCommands();
    if (arguments.isEmpty() || arguments[0] == QStringLiteral("--help") ||
        arguments[0] == QStringLiteral("-h")) {
        printUsage(arguments.isEmpty() ? err : out, commands);
        return arguments.isEmpty() ? 2 : 0;
    }
    for (const auto& command : commands) {
        if (command->name() == arguments[0])
            return command->run(arguments.mid(1), out, err);
    }
    err << "velmora: unknown command '" << arguments[0] << "'\n";
    printUsage(err, commands);
    return 2;
}

} // namespace velmora
