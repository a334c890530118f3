#include "app/LearnCommand.h"

#include "app/CommandOptions.h"
#include "app/MessageJudge.h"
#include "app/UserSession.h"

#include <QFile>

namespace velmora {

int LearnCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Teaches the filter from raw messages: --spam as if you moved each into Junk, --ham as "
        "if you moved it out of the Inbox into a folder of yours."));
    const QCommandLineOption spam(QStringLiteral("spam"), QStringLiteral("The messages are spam."));
    const QCommandLineOption ham(QStringLiteral("ham"), QStringLiteral("The messages are good."));
    parser.addOptions({spam, ham});
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Raw messages."),
                                 QStringLiteral("FILE..."));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    if (parser.isSet(spam) == parser.isSet(ham) || parser.positionalArguments().isEmpty()) {
        err << "velmora learn: give --spam or --ham, and the message files\n";
        return kExitUsage;
    }

    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    session.declineQuestions();
    const auto app = std::make_shared<memory::MemoryApplication>();
    session.connect.OnConnection(app);
    if (session.data().DatabaseMissing != kFalse) {
        err << "velmora learn: no database in " << session.data().folder.dataFolder()
            << " (velmora build makes one from your mail folders)\n";
        return kExitError;
    }
    memory::MemoryFolder& mine = app->addFolder(app->store(), QStringLiteral("Learnt"));
    int learnt = 0;
    bool failed = false;
    for (const QString& path : parser.positionalArguments()) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            err << "velmora learn: " << path << ": " << file.errorString() << '\n';
            failed = true;
            continue;
        }
        const memory::MessageContent content = contentOf(file.readAll());
        if (parser.isSet(spam))
            app->userMove({app->place(mine, content)}, app->junk());
        else
            app->userMove({app->place(app->inbox(), content)}, mine);
        ++learnt;
    }
    const SpamData& data = session.data();
    out << "learnt " << learnt << (parser.isSet(spam) ? " spam" : " good")
        << " messages: " << data.TxtTable.upperBound() << " text records, "
        << data.PicTable.upperBound() << " picture records, " << data.TrustedList.upperBound()
        << " trusted senders\n";
    session.connect.OnBeginShutdown();
    return failed ? kExitError : kExitOk;
}

} // namespace velmora
