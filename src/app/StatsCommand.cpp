#include "app/StatsCommand.h"

#include "app/CommandOptions.h"
#include "app/UserSession.h"
#include "hosts/memory/MemoryApplication.h"

namespace velmora {

int StatsCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows what the filter knows."));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    session.declineQuestions();
    session.connect.OnConnection(std::make_shared<memory::MemoryApplication>());
    const SpamData& data = session.data();
    out << "data folder: " << data.folder.dataFolder() << '\n';
    if (data.DatabaseMissing != kFalse) {
        out << "no database yet (velmora build makes one from your mail folders)\n";
        session.connect.OnBeginShutdown();
        return kExitOk;
    }
    int spamText = 0;
    for (const TxtRec& rec : data.TxtTable)
        spamText += rec.Flag != kFalse;
    int spamPictures = 0;
    for (const PicRec& rec : data.PicTable)
        spamPictures += rec.Flag != kFalse;
    out << "text records: " << data.TxtTable.upperBound() << " (" << spamText << " spam)\n"
        << "picture records: " << data.PicTable.upperBound() << " (" << spamPictures << " spam)\n"
        << "trusted senders: " << data.TrustedList.upperBound() << '\n'
        << "restricted words: " << data.RestrictedList.upperBound() << '\n';
    session.connect.OnBeginShutdown();
    return kExitOk;
}

} // namespace velmora
