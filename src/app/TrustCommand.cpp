#include "app/TrustCommand.h"

#include "analysis/TrustedAddresses.h"
#include "app/CommandOptions.h"
#include "app/UserSession.h"
#include "base/VbError.h"
#include "base/VbString.h"
#include "hosts/memory/MemoryApplication.h"
#include "store/ListFile.h"

namespace velmora {

int TrustCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Adds senders to the trusted list: their mail is never judged as spam."));
    parser.addPositionalArgument(QStringLiteral("addresses"), QStringLiteral("Mail addresses."),
                                 QStringLiteral("ADDRESS..."));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    if (parser.positionalArguments().isEmpty()) {
        err << "velmora trust: name the addresses to trust\n";
        return kExitUsage;
    }
    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    session.declineQuestions();
    session.connect.OnConnection(std::make_shared<memory::MemoryApplication>());
    SpamData& data = session.data();
    for (const QString& address : parser.positionalArguments())
        AddMailAddr(data.TrustedList, vbLCase(address.trimmed()));
    try {
        WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    } catch (const VbError& error) {
        err << "velmora trust: " << error.description() << '\n';
        return kExitError;
    }
    out << data.TrustedList.upperBound() << " trusted senders\n";
    session.connect.OnBeginShutdown();
    return kExitOk;
}

} // namespace velmora
