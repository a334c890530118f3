#include "app/DemoCommand.h"

#include "analysis/Classifier.h"
#include "analysis/HeadlessToolWindow.h"
#include "analysis/Learning.h"
#include "analysis/PromptDialogs.h"
#include "app/DemoMessage.h"
#include "hosts/memory/MemoryApplication.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
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

// The demo has its database, so nothing here is ever asked for.
class DemoServices final : public FilterServices {
public:
    void showToolWindow() override {}
    void buildDatabase() override {}
};

memory::MessageContent contentOf(const DemoMessage& message) {
    memory::MessageContent content;
    content.sender = message.sender;
    content.subject = message.subject;
    content.body = message.body;
    if (!message.attachmentName.isEmpty())
        content.attachments.append({message.attachmentName, QString(), message.attachment});
    return content;
}

class Demo {
public:
    Demo(const DemoOptions& options, const QString& workRoot, QTextStream& out, QTextStream& err)
        : m_options(options), m_out(out), m_err(err),
          m_state(DataFolder(workRoot), m_toolBox, m_services, m_prompts) {
        m_state.application = m_app;
    }

    int run();

private:
    // The demo messages of one folder, in name order; unreadable ones are
    // reported and left out.
    QList<DemoMessage> messagesIn(const QString& folder);
    int learn(const QString& folder, memory::MemoryFolder& into, std::int16_t isSpam);
    void judge(const DemoMessage& message);

    const DemoOptions& m_options;
    QTextStream& m_out;
    QTextStream& m_err;
    HeadlessToolWindow m_toolBox;
    DemoServices m_services;
    HeadlessPromptAnswerer m_prompts{HeadlessPromptAnswerer::Answer::Close};
    FilterState m_state;
    std::shared_ptr<memory::MemoryApplication> m_app =
        std::make_shared<memory::MemoryApplication>();
};

QList<DemoMessage> Demo::messagesIn(const QString& folder) {
    QList<DemoMessage> messages;
    const QDir dir(QDir(m_options.demoDir).filePath(folder));
    const QString pictures = QDir(m_options.demoDir).filePath(QStringLiteral("pictures"));
    for (const QString& name : dir.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name)) {
        QString error;
        if (auto message = readDemoMessage(dir.filePath(name), pictures, error))
            messages.append(*message);
        else
            m_err << "velmora demo: " << error << '\n';
    }
    return messages;
}

int Demo::learn(const QString& folder, memory::MemoryFolder& into, std::int16_t isSpam) {
    const QList<DemoMessage> messages = messagesIn(folder);
    for (const DemoMessage& message : messages) {
        const auto item = m_app->place(into, contentOf(message));
        LearnEmail(m_state, *item, isSpam);
    }
    return int(messages.size());
}

void Demo::judge(const DemoMessage& message) {
    const auto item = m_app->place(m_app->inbox(), contentOf(message));
    const bool spam = AnalyseEmail(m_state, *item) != kFalse;
    if (spam)
        item->move(m_app->junk());
    m_out << message.fileName << "  from " << message.sender << "\n  "
          << (spam ? "spam, moved to Junk E-mail" : "kept in the Inbox") << ": \""
          << item->savedSubject() << "\"\n";
}

int Demo::run() {
    SpamData& data = m_state.data;
    if (!QDir().mkpath(data.folder.dataFolder())) {
        m_err << "velmora demo: cannot create " << data.folder.dataFolder() << '\n';
        return 1;
    }
    for (QStringView list : {kTrustedFile, kRestrictedFile}) {
        QFile::remove(data.folder.dataFile(list));
        QFile::copy(QDir(m_options.demoDir).filePath(list.toString()), data.folder.dataFile(list));
    }
    LoadARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    LoadARRAY(data.RestrictedList, data.folder.dataFile(kRestrictedFile));

    const int spam = learn(QStringLiteral("learn/spam"), m_app->junk(), kTrue);
    const int good = learn(QStringLiteral("learn/good"),
                           m_app->addFolder(m_app->store(), QStringLiteral("Friends")), kFalse);
    WriteTxtTable(data);
    WritePicTable(data);
    ReadTxtTable(data);
    ReadPicTable(data);

    SettingsStore settings(
        QDir(m_state.data.folder.workRoot()).filePath(QStringLiteral("velmora-demo.ini")));
    writeDefaultSettings(settings);
    m_state.thresholds = deriveThresholds(settings);

    m_out << "Data folder: " << data.folder.dataFolder() << '\n'
          << "Learnt " << spam << " spam and " << good << " good mails: " << kTxtDataFile
          << " holds " << data.TxtTable.upperBound() << " records, " << kPicDataFile << " "
          << data.PicTable.upperBound() << " (saved and read back)\n"
          << "Trusted senders: " << data.TrustedList.upperBound()
          << ", restricted words: " << data.RestrictedList.upperBound() << '\n'
          << "Levels: picture " << m_state.thresholds.LevelP << " %, text "
          << m_state.thresholds.LevelT << " %\n\n";
    for (const DemoMessage& message : messagesIn(QStringLiteral("incoming")))
        judge(message);
    return 0;
}

} // namespace

int DemoCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const std::optional<DemoOptions> options = parseOptions(arguments, err);
    if (!options)
        return 2;
    QTemporaryDir temporary;
    Demo demo(*options, options->workRoot.isEmpty() ? temporary.path() : options->workRoot, out,
              err);
    return demo.run();
}

} // namespace velmora
