#include "app/ClassifyCommand.h"

#include "app/CommandOptions.h"
#include "app/MessageJudge.h"
#include "hosts/mime/MimeMessage.h"

#include <QFile>

#include <cstdio>

namespace velmora {
namespace {

// A message file whole; "-" is standard input.
bool readMessage(const QString& path, QByteArray& raw, QString& error) {
    QFile file;
    const bool opened = path == QStringLiteral("-")
                            ? file.open(stdin, QIODevice::ReadOnly)
                            : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        error = file.errorString();
        return false;
    }
    raw = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        error = file.errorString();
        return false;
    }
    return true;
}

} // namespace

int ClassifyCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Judges each message as the filter judges new mail, with your data (spam it catches is "
        "learnt, as in the mail client). Prints \"FILE: spam SUBJECT\" or \"FILE: good\" per "
        "message. Exit status: 0 spam (for several messages: any), 1 not spam, 3 error."));
    const QCommandLineOption passthrough(
        QStringLiteral("passthrough"),
        QStringLiteral("Write the message (one only) to standard output with the subject the "
                       "filter gave it, instead of the verdict."));
    parser.addOption(passthrough);
    parser.addPositionalArgument(QStringLiteral("files"),
                                 QStringLiteral("Raw messages; none or \"-\": standard input."),
                                 QStringLiteral("[FILE...]"));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        files.append(QStringLiteral("-"));
    if (parser.isSet(passthrough) && files.size() != 1) {
        err << "velmora classify: --passthrough takes one message\n";
        return kExitUsage;
    }

    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    session.declineQuestions();
    MessageJudge judge(session);
    if (!judge.ready()) {
        err << "velmora classify: no database in " << session.data().folder.dataFolder()
            << " (velmora build makes one from your mail folders)\n";
        return kExitError;
    }
    bool anySpam = false;
    bool failed = false;
    for (const QString& file : files) {
        QByteArray raw;
        QString error;
        if (!readMessage(file, raw, error)) {
            err << "velmora classify: " << file << ": " << error << '\n';
            failed = true;
            continue;
        }
        const Judgement judgement = judge.judge(raw);
        anySpam = anySpam || judgement.spam;
        if (parser.isSet(passthrough)) {
            const QByteArray written =
                judgement.spam ? mime::withSubject(raw, judgement.subject) : raw;
            // The message's own bytes, whatever their charset.
            out.flush();
            if (QIODevice* device = out.device())
                device->write(written);
            else
                out << QString::fromLatin1(written);
        } else {
            out << file << ": "
                << (judgement.spam ? QStringLiteral("spam ") + judgement.subject
                                   : QStringLiteral("good"))
                << '\n';
        }
    }
    if (failed)
        return kExitError;
    return anySpam ? kExitOk : kExitNotSpam;
}

} // namespace velmora
