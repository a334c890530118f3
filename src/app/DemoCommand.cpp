#include "app/DemoCommand.h"

#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"
#include "app/DemoMailbox.h"
#include "app/DemoMessage.h"
#include "hosts/memory/MemoryApplication.h"
#include "store/ListFile.h"

#include <QDir>
#include <QFile>
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

// The filter attached to an in-memory mail client holding the demo's mail.
class Demo {
public:
    Demo(const DemoOptions& options, const QString& workRoot, QTextStream& out, QTextStream& err)
        : m_options(options), m_workRoot(workRoot), m_out(out), m_err(err),
          m_settings(QDir(workRoot).filePath(QStringLiteral("velmora-demo.ini"))),
          m_connect(DataFolder(QDir(workRoot).filePath(QStringLiteral("CORVANELSPAM"))), m_settings,
                    m_windows) {}

    int run();

private:
    const DemoOptions& m_options;
    QString m_workRoot;
    QTextStream& m_out;
    QTextStream& m_err;
    SettingsStore m_settings;
    HeadlessAddinWindows m_windows{HeadlessPromptAnswerer::Answer::Accept};
    std::shared_ptr<memory::MemoryApplication> m_app =
        std::make_shared<memory::MemoryApplication>();
    Connect m_connect;
};

int Demo::run() {
    const DemoMailbox mailbox = loadDemoMailbox(m_options.demoDir, false, m_err);
    m_app = mailbox.app;
    const int spam = mailbox.spam;
    const int good = mailbox.good;

    m_connect.OnConnection(m_app);
    m_connect.analyseFolders(); // the tool window's "Analyse Folders"
    SpamData& data = m_connect.state().data;
    // The words the user would type into the tool window.
    LoadARRAY(data.RestrictedList,
              QDir(m_options.demoDir).filePath(QString(kRestrictedFile.toString())));
    WriteARRAY(data.RestrictedList, data.folder.dataFile(kRestrictedFile));

    const Thresholds& levels = m_connect.state().thresholds;
    m_out << "Data folder: " << data.folder.dataFolder() << '\n'
          << "Database built from " << spam << " mails in Junk and " << good
          << " in a folder of the user's: " << kTxtDataFile << " holds "
          << data.TxtTable.upperBound() << " records, " << kPicDataFile << " "
          << data.PicTable.upperBound() << '\n'
          << "Trusted senders: " << data.TrustedList.upperBound()
          << ", restricted words: " << data.RestrictedList.upperBound() << '\n'
          << "Levels: picture " << levels.LevelP << " %, text " << levels.LevelT << " %\n\n";

    for (const DemoMessage& message :
         demoMessagesIn(m_options.demoDir, QStringLiteral("incoming"), m_err)) {
        const auto item = m_app->deliver(contentOf(message));
        const bool spam = item->folder() == &m_app->junk();
        m_out << message.fileName << "  from " << message.sender << "\n  "
              << (spam ? "spam, moved to Junk E-mail" : "kept in the Inbox") << ": \""
              << item->savedSubject() << "\"\n";
    }
    m_connect.OnBeginShutdown();
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
