#include "app/CommandOptions.h"

namespace velmora {

QCommandLineOption maildirOption() {
    return QCommandLineOption(
        QStringLiteral("maildir"),
        QStringLiteral("The Maildir (default: the one in the settings file, else ~/Maildir)."),
        QStringLiteral("dir"));
}

std::optional<int> parseOptions(QCommandLineParser& parser, const QString& command,
                                const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const QCommandLineOption help = parser.addHelpOption();
    // QCommandLineParser takes the program name first.
    if (!parser.parse(QStringList{QStringLiteral("velmora ") + command} + arguments)) {
        err << "velmora " << command << ": " << parser.errorText() << '\n'
            << "(velmora " << command << " --help shows the options)\n";
        return kExitUsage;
    }
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        // The parser names the program by its path; users type the command.
        const qsizetype end = text.indexOf(QLatin1String(" [options]"));
        if (text.startsWith(QLatin1String("Usage: ")) && end > 0)
            text.replace(7, end - 7, QStringLiteral("velmora ") + command);
        out << text;
        return kExitOk;
    }
    return std::nullopt;
}

} // namespace velmora
