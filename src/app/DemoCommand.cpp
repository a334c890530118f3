#include "app/DemoCommand.h"

#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"
#include "app/CommandOptions.h"
#include "app/DemoMailbox.h"
#include "app/DemoMaildir.h"
#include "app/DemoMessage.h"
#include "app/StarterPictures.h"
#include "app/WatchReport.h"
#include "app/WatchSession.h"
#include "base/MessageSink.h"
#include "base/VbError.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MaildirItem.h"
#include "store/ListFile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace velmora {
namespace {

// What happened to one delivered message.
struct Delivered {
    QString demoFile;
    QString entryId;
    bool caught = false;
};

// The filter's message boxes, shown as lines of the demo's output.
class PrintedMessages final : public MessageSink {
public:
    explicit PrintedMessages(QTextStream& out) : m_out(out) {}
    void showMessage(const QString& text, const QString&) override {
        m_out << "[message box] " << text << '\n';
    }

private:
    QTextStream& m_out;
};

class Demo {
public:
    Demo(const QString& demoDir, const QString& root, QTextStream& out, QTextStream& err)
        : m_demoDir(demoDir), m_root(root), m_out(out), m_err(err),
          m_settings(QDir(root).filePath(QStringLiteral("velmora.ini"))),
          m_folder(QDir(root).filePath(QStringLiteral("CORVANELSPAM"))) {}

    int run();

private:
    void buildDatabase(const DemoMaildirCounts& counts);
    void deliverIncoming(WatchSession& watch);
    void userMoves(WatchSession& watch);
    void moveByUser(WatchSession& watch, const Delivered& message, maildir::MaildirFolder& to);

    QString m_demoDir;
    QString m_root;
    QTextStream& m_out;
    QTextStream& m_err;
    SettingsStore m_settings;
    DataFolder m_folder;
    HeadlessAddinWindows m_windows{HeadlessPromptAnswerer::Answer::Accept};
    std::unique_ptr<Connect> m_connect;
    std::shared_ptr<maildir::MaildirApplication> m_app;
    QList<Delivered> m_delivered;
};

int Demo::run() {
    const QString maildir = QDir(m_root).filePath(QStringLiteral("Maildir"));
    const DemoMaildirCounts counts = writeDemoMaildir(m_demoDir, maildir, m_err);
    PrintedMessages messages(m_out);
    const ScopedMessageSink printed(&messages);
    try {
        m_app = std::make_shared<maildir::MaildirApplication>(maildir);
        // As `velmora build`: the database from the folders, in a run of its own.
        provideStarterPictures(m_folder);
        m_connect = std::make_unique<Connect>(m_folder, m_settings, m_windows);
        m_connect->OnConnection(m_app);
        buildDatabase(counts);
        m_connect->OnBeginShutdown();

        // As `velmora watch`: a new start, which takes up the starter pictures.
        m_out << "\nThe filter starts watching the Maildir:\n";
        m_connect = std::make_unique<Connect>(m_folder, m_settings, m_windows);
        WatchSession watch(*m_connect, m_app, m_out, false);
        m_out << "It knows " << knowledgeOf(m_connect->state().data)
              << ".\n\nNew mail arrives, one message at a "
                 "time:\n";
        watch.noteWhatItKnows();
        deliverIncoming(watch);
        userMoves(watch);

        const SpamData& data = m_connect->state().data;
        int caught = 0;
        for (const Delivered& d : m_delivered)
            caught += d.caught;
        m_out << "\nSummary: " << m_delivered.size() << " new messages, " << caught
              << " judged spam; Inbox holds " << m_app->inbox().Items().Count() << ", Junk "
              << m_app->junk().Items().Count() << ". The filter knows "
              << data.TxtTable.upperBound() << " text and " << data.PicTable.upperBound()
              << " picture records and trusts " << data.TrustedList.upperBound() << " senders.\n";
    } catch (const VbError& error) {
        m_err << "velmora demo: " << error.description() << '\n';
        return kExitError;
    }
    return kExitOk;
}

void Demo::buildDatabase(const DemoMaildirCounts& counts) {
    m_connect->analyseFolders(); // the tool window's "Analyse Folders"
    SpamData& data = m_connect->state().data;
    // The words the user would type into the tool window.
    LoadARRAY(data.RestrictedList, QDir(m_demoDir).filePath(QString(kRestrictedFile.toString())));
    WriteARRAY(data.RestrictedList, data.folder.dataFile(kRestrictedFile));
    const Thresholds& levels = m_connect->state().thresholds;
    m_out << "Demo Maildir: " << m_app->root() << '\n'
          << "Data folder: " << data.folder.dataFolder() << '\n'
          << "Database built from " << counts.spam << " mails in Junk and " << counts.good
          << " in Friends: " << kTxtDataFile << " holds " << data.TxtTable.upperBound()
          << " records, " << kPicDataFile << " " << data.PicTable.upperBound() << '\n'
          << "Trusted senders: " << data.TrustedList.upperBound()
          << ", restricted words: " << data.RestrictedList.upperBound() << '\n'
          << "Levels: picture " << levels.LevelP << " %, text " << levels.LevelT << " %\n";
}

void Demo::deliverIncoming(WatchSession& watch) {
    for (const DemoMessage& message :
         demoMessagesIn(m_demoDir, QStringLiteral("incoming"), m_err)) {
        const QString file = deliverInto(m_app->inbox().directory(), rawMessageOf(message));
        if (file.isEmpty()) {
            m_err << "velmora demo: cannot deliver " << message.fileName << '\n';
            continue;
        }
        m_out << message.fileName << ": ";
        watch.flush(); // what the watcher saw, judged now rather than after its pause
        const QString id = maildir::entryIdOf(QFileInfo(file).fileName());
        const auto item = m_app->findItem(id);
        m_delivered.append({message.fileName, id, item && &item->folder() == &m_app->junk()});
    }
}

void Demo::userMoves(WatchSession& watch) {
    // The user disagrees twice: the last message kept in the Inbox is spam the
    // filter did not know yet, and the last one it caught is mail they want.
    const Delivered* kept = nullptr;
    const Delivered* caught = nullptr;
    for (const Delivered& d : m_delivered)
        (d.caught ? caught : kept) = &d;
    if (kept) {
        m_out << "\nIn their mail client, the user moves " << kept->demoFile << " into Junk:\n";
        moveByUser(watch, *kept, m_app->junk());
    }
    if (caught) {
        m_out << "\nand moves " << caught->demoFile << " out of Junk into the Inbox:\n";
        moveByUser(watch, *caught, m_app->inbox());
    }
}

void Demo::moveByUser(WatchSession& watch, const Delivered& message, maildir::MaildirFolder& to) {
    const auto item = m_app->findItem(message.entryId);
    if (!item) {
        m_err << "velmora demo: " << message.demoFile << " is gone\n";
        return;
    }
    const QString path = item->folder().directory() + QLatin1Char('/') + item->fileName();
    if (moveAsAServerDoes(path, to.directory()).isEmpty()) {
        m_err << "velmora demo: cannot move " << path << '\n';
        return;
    }
    watch.flush();
}

} // namespace

int DemoCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs the filter on a demo Maildir made in a temporary folder from the bundled example "
        "mail, and shows what it does. Your own mail, data and settings are not touched."));
    const QCommandLineOption demoDir(QStringLiteral("demo-dir"),
                                     QStringLiteral("The example mail (default: the bundled)."),
                                     QStringLiteral("dir"), QStringLiteral(VELMORA_DEMO_DIR));
    const QCommandLineOption workRoot(
        QStringLiteral("work-root"),
        QStringLiteral("Keep the Maildir, data and settings here instead of a temporary folder."),
        QStringLiteral("dir"));
    parser.addOptions({demoDir, workRoot});
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    QTemporaryDir temporary;
    const QString root = parser.isSet(workRoot) ? parser.value(workRoot) : temporary.path();
    Demo demo(parser.value(demoDir), root, out, err);
    return demo.run();
}

} // namespace velmora
