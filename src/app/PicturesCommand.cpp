#include "app/PicturesCommand.h"

#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"
#include "app/CommandOptions.h"
#include "app/MessageJudge.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace velmora {
namespace {

// The message files named: files as they are, folders (Maildir folders or
// plain ones) by the files in their cur/ and new/, or in themselves; each
// folder's files in name order, so the table does not depend on the disk.
QStringList messageFiles(const QStringList& inputs, QTextStream& err, bool& failed) {
    QStringList files;
    for (const QString& input : inputs) {
        const QFileInfo info(input);
        if (info.isFile()) {
            files.append(input);
            continue;
        }
        if (!info.isDir()) {
            err << "velmora pictures: " << input << ": no such file or folder\n";
            failed = true;
            continue;
        }
        QStringList folders;
        for (const char* sub : {"cur", "new"}) {
            if (QFileInfo(QDir(input).filePath(QLatin1String(sub))).isDir())
                folders.append(QDir(input).filePath(QLatin1String(sub)));
        }
        if (folders.isEmpty())
            folders.append(input);
        for (const QString& folder : folders) {
            const QDir dir(folder);
            for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
                files.append(dir.filePath(name));
        }
    }
    return files;
}

// An empty database in a scratch folder: a filter with nothing learnt.
void writeEmptyDatabase(SpamData& data, SettingsStore& settings) {
    QDir().mkpath(data.folder.dataFolder());
    WriteTxtTable(data);
    WritePicTable(data);
    WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    writeDefaultSettings(settings);
}

} // namespace

int PicturesCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Makes a picture table from spam: the first picture attachment of each message is "
        "checked and fingerprinted as the filter does when a message is moved into Junk. "
        "Messages without a usable picture are listed and left out."));
    const QCommandLineOption output(QStringLiteral("output"),
                                    QStringLiteral("The picture table to write."),
                                    QStringLiteral("file"));
    parser.addOption(output);
    parser.addPositionalArgument(QStringLiteral("inputs"),
                                 QStringLiteral("Raw spam messages, or folders of them."),
                                 QStringLiteral("INPUT..."));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    if (!parser.isSet(output) || parser.positionalArguments().isEmpty()) {
        err << "velmora pictures: give --output FILE and the spam to read\n";
        return kExitUsage;
    }
    bool failed = false;
    const QStringList files = messageFiles(parser.positionalArguments(), err, failed);

    QTemporaryDir scratch;
    SettingsStore settings(scratch.filePath(QStringLiteral("velmora.ini")));
    HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
    Connect connect(DataFolder(scratch.filePath(QStringLiteral("CORVANELSPAM"))), settings,
                    windows);
    SpamData& data = connect.state().data;
    writeEmptyDatabase(data, settings);
    const auto app = std::make_shared<memory::MemoryApplication>();
    connect.OnConnection(app);
    memory::MemoryFolder& source = app->addFolder(app->store(), QStringLiteral("Spam"));

    for (const QString& path : files) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            err << "velmora pictures: " << path << ": " << file.errorString() << '\n';
            failed = true;
            continue;
        }
        const int before = data.PicTable.upperBound();
        app->userMove({app->place(source, contentOf(file.readAll()))}, app->junk());
        out << QFileInfo(path).fileName() << ": "
            << (data.PicTable.upperBound() > before ? "picture learnt" : "no usable picture")
            << '\n';
    }
    connect.OnBeginShutdown();

    // The table as the filter saved it, copied whole to where it was asked.
    const QString written = data.folder.dataFile(kPicDataFile);
    QFile::remove(parser.value(output));
    if (!QFile::copy(written, parser.value(output))) {
        err << "velmora pictures: cannot write " << parser.value(output) << '\n';
        return kExitError;
    }
    out << data.PicTable.upperBound() << " picture records in " << parser.value(output) << '\n';
    return failed ? kExitError : kExitOk;
}

} // namespace velmora
