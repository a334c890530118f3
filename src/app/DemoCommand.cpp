#include "app/DemoCommand.h"

#include "analysis/TextFeatures.h"
#include "analysis/TextNormalisation.h"
#include "analysis/TextSimilarity.h"
#include "analysis/TrustedAddresses.h"
#include "app/DemoMessage.h"
#include "base/VbString.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "store/TxtTableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <optional>

namespace velmora {
namespace {

struct DemoOptions {
    QString demoDir = QStringLiteral(VELMORA_DEMO_DIR);
    QString workRoot; // empty: a temporary folder
};

std::optional<DemoOptions> parseOptions(const QStringList& arguments, QTextStream& err) {
    DemoOptions options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& arg = arguments[i];
        if ((arg == QStringLiteral("--demo-dir") || arg == QStringLiteral("--work-root")) &&
            i + 1 < arguments.size()) {
            (arg == QStringLiteral("--demo-dir") ? options.demoDir : options.workRoot) =
                arguments[++i];
        } else {
            err << "usage: velmora demo [--demo-dir DIR] [--work-root DIR]\n";
            return std::nullopt;
        }
    }
    return options;
}

QStringList messageFiles(const QString& folder) {
    QStringList paths;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name))
        paths.append(dir.filePath(name));
    return paths;
}

// The text record of a message, built as the filter builds it from a body.
TxtRec textRecordOf(const DemoMessage& message) {
    QString text = ToLower(message.body);
    TxtRec rec = AnalyseText(text);
    rec.Sender = vbLCase(message.sender);
    if (!message.subject.contains(QStringLiteral("&#")))
        rec.Subject = message.subject;
    return rec;
}

QString firstRestrictedWord(const StringList& words, const QString& loweredText) {
    for (const QString& entry : words) {
        const QString word = vbLCase(entry.trimmed());
        if (!word.isEmpty() && loweredText.contains(word))
            return word;
    }
    return {};
}

} // namespace

int DemoCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const std::optional<DemoOptions> options = parseOptions(arguments, err);
    if (!options)
        return 2;
    QTemporaryDir temporary;
    const QString workRoot = options->workRoot.isEmpty() ? temporary.path() : options->workRoot;
    SpamData data{DataFolder(workRoot)};
    if (!QDir().mkpath(data.folder.dataFolder())) {
        err << "velmora demo: cannot create " << data.folder.dataFolder() << '\n';
        return 1;
    }
    for (QStringView list : {kTrustedFile, kRestrictedFile}) {
        QFile::remove(data.folder.dataFile(list));
        QFile::copy(QDir(options->demoDir).filePath(list.toString()), data.folder.dataFile(list));
    }
    LoadARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    LoadARRAY(data.RestrictedList, data.folder.dataFile(kRestrictedFile));

    int learnt = 0;
    for (const auto& [folder, spam] : {std::pair{QStringLiteral("learn/spam"), true},
                                       std::pair{QStringLiteral("learn/good"), false}}) {
        for (const QString& path : messageFiles(QDir(options->demoDir).filePath(folder))) {
            QString error;
            const std::optional<DemoMessage> message = readDemoMessage(path, error);
            if (!message) {
                err << "velmora demo: " << error << '\n';
                continue;
            }
            TxtRec rec = textRecordOf(*message);
            rec.Flag = toBool16(spam);
            data.TxtTable.append(rec);
            ++learnt;
        }
    }
    WriteTxtTable(data);
    ReadTxtTable(data);
    const QString txtPath = data.folder.dataFile(kTxtDataFile);
    out << "Data folder: " << data.folder.dataFolder() << '\n'
        << "Learnt " << learnt << " example mails; " << kTxtDataFile << " holds "
        << data.TxtTable.upperBound() << " records (" << QFileInfo(txtPath).size()
        << " bytes) after a save and a reload.\n"
        << "Trusted senders: " << data.TrustedList.upperBound()
        << ", restricted words: " << data.RestrictedList.upperBound() << '\n';

    // The levels a first-time user gets once the defaults are in place.
    SettingsStore settings(QDir(workRoot).filePath(QStringLiteral("velmora-demo.ini")));
    writeDefaultSettings(settings);
    const Thresholds thresholds = deriveThresholds(settings);
    out << "Text threshold: " << thresholds.LevelT << " %\n\n";

    for (const QString& path :
         messageFiles(QDir(options->demoDir).filePath(QStringLiteral("incoming")))) {
        QString error;
        const std::optional<DemoMessage> message = readDemoMessage(path, error);
        if (!message) {
            err << "velmora demo: " << error << '\n';
            continue;
        }
        out << message->fileName << "  from " << message->sender << "  \"" << message->subject
            << "\"\n  ";
        if (SearchinTrust(data.TrustedList, vbLCase(message->sender)) > 0) {
            out << "trusted sender: left alone\n";
            continue;
        }
        const QString word = firstRestrictedWord(data.RestrictedList, ToLower(message->body));
        if (!word.isEmpty()) {
            out << "restricted word \"" << word << "\": spam\n";
            continue;
        }
        const TxtRec candidate = textRecordOf(*message);
        float best = 0;
        int bestAt = 0;
        for (int i = 1; i <= data.TxtTable.upperBound(); ++i) {
            const float score = comparetxt(data.TxtTable[i], candidate);
            if (score > best) {
                best = score;
                bestAt = i;
            }
        }
        const bool hit = bestAt > 0 && best >= thresholds.LevelT;
        out << "best text score " << best << " %";
        if (bestAt > 0) {
            const TxtRec& nearest = data.TxtTable[bestAt];
            out << " (" << (nearest.Flag ? "spam" : "good") << " example from " << nearest.Sender
                << ")";
        }
        out << ": " << (hit ? (data.TxtTable[bestAt].Flag ? "spam" : "like good mail") : "not spam")
            << '\n';
    }
    return 0;
}

} // namespace velmora
