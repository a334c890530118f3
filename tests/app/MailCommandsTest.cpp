// The user's commands on a real Maildir, run in-process with the user's
// folders pointed at a temporary home.
#include "app/CommandRun.h"
#include "app/DataFolderLock.h"
#include "settings/UserPaths.h"

#include "hosts/maildir/MaildirFixture.h"
#include "support/FilterFixture.h"

#include <QFile>

using namespace velmora;
using namespace velmora::test;

namespace {

// The user's data and settings in a temporary home for as long as it lives.
struct TemporaryHome {
    TemporaryHome() {
        qputenv("XDG_DATA_HOME", home.file(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CONFIG_HOME", home.file(QStringLiteral("config")).toUtf8());
    }
    ~TemporaryHome() {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }
    TempFolder home;
};

QByteArray pictureSpam(const QString& from) {
    const QByteArray png = pictureFile(solidPicture(90, 70, qRgb(250, 20, 180)), "PNG", 3000);
    return "From: " + from.toUtf8() +
           "\r\nSubject: Hot deal\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n--b\r\n"
           "Content-Type: text/plain\r\n\r\nSee the picture\r\n--b\r\n"
           "Content-Type: image/png; name=\"deal.png\"\r\n"
           "Content-Disposition: attachment; filename=\"deal.png\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           png.toBase64() + "\r\n--b--\r\n";
}

QString writeFile(TempFolder& folder, const QString& name, const QByteArray& bytes) {
    const QString path = folder.file(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

} // namespace

TEST(MailCommands, BuildLearnClassifyTrustAndSettingsOnAMaildir) {
    TemporaryHome home;
    MaildirTree tree;
    for (int i = 0; i < 3; ++i)
        tree.place(QStringLiteral("Junk"), rawMail(QStringLiteral("s%1@shop.example").arg(i),
                                                   QStringLiteral("Deal"), spamBody()));
    tree.place(QStringLiteral("Work.Projects"),
               rawMail(QStringLiteral("anna@work.example"), QStringLiteral("Plan"),
                       QStringLiteral("The plan for Monday is ready.\r\n")));
    tree.place(QStringLiteral("Sent"),
               rawMail(QStringLiteral("me@home.example"), QStringLiteral("Hi"),
                       QStringLiteral("Hello\r\n"), "Cc: tom@family.example\r\n"));

    CommandRun run = runVelmora({QStringLiteral("classify"), QStringLiteral("x.eml")});
    EXPECT_EQ(run.code, 3); // no database yet
    EXPECT_TRUE(run.err.contains(QStringLiteral("velmora build"))) << run.err.toStdString();

    run = runVelmora({QStringLiteral("build"), QStringLiteral("--maildir"), tree.root});
    ASSERT_EQ(run.code, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("4 text records"))) << run.out.toStdString();

    // No picture spam in the mailbox: the next start merges the shipped
    // starter pictures in front of the user's empty table, and says so once.
    RecordingSink sink;
    run = runVelmora({QStringLiteral("stats")});
    EXPECT_TRUE(run.out.contains(QStringLiteral("picture records: 36 (36 spam)")))
        << run.out.toStdString();
    run = runVelmora({QStringLiteral("stats")});
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("Your spam database was updated "
                                         "successfully with default spam database")});

    TempFolder files;
    const QString picture = writeFile(files, QStringLiteral("pic.eml"),
                                      pictureSpam(QStringLiteral("pics@shop.example")));
    run = runVelmora({QStringLiteral("learn"), QStringLiteral("--spam"), picture});
    EXPECT_EQ(run.code, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("37 picture records"))) << run.out.toStdString();

    const QString spam =
        writeFile(files, QStringLiteral("spam.eml"),
                  rawMail(QStringLiteral("new@shop.example"), QStringLiteral("Offer"), spamBody()));
    const QString good =
        writeFile(files, QStringLiteral("good.eml"),
                  rawMail(QStringLiteral("tom@family.example"), QStringLiteral("Lunch"),
                          QStringLiteral("Lunch on Sunday?\r\n")));
    run = runVelmora({QStringLiteral("classify"), spam});
    EXPECT_EQ(run.code, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, spam + QStringLiteral(": spam {S:100%} Offer\n"));
    run = runVelmora({QStringLiteral("classify"), good});
    EXPECT_EQ(run.code, 1) << run.err.toStdString();
    EXPECT_EQ(run.out, good + QStringLiteral(": good\n"));
    run = runVelmora({QStringLiteral("classify"), QStringLiteral("--passthrough"), spam});
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("From: new@shop.example\r\nTo: "
                                                  "me@home.example\r\nSubject: {S:100%} Offer")))
        << run.out.toStdString();
    run = runVelmora({QStringLiteral("classify"), files.file(QStringLiteral("missing.eml")), good});
    EXPECT_EQ(run.code, 3);
    EXPECT_TRUE(run.err.contains(QStringLiteral("missing.eml"))) << run.err.toStdString();

    run = runVelmora({QStringLiteral("trust"), QStringLiteral("Pal@Club.example")});
    EXPECT_EQ(run.code, 0);
    {
        // While a watcher has the data, commands that change it refuse.
        const DataFolderLock watching(userWorkRoot());
        ASSERT_TRUE(watching.held());
        run = runVelmora({QStringLiteral("trust"), QStringLiteral("other@club.example")});
        EXPECT_EQ(run.code, 3);
        EXPECT_TRUE(run.err.contains(QStringLiteral("stop it first"))) << run.err.toStdString();
    }
    run = runVelmora({QStringLiteral("settings"), QStringLiteral("--text-level"),
                      QStringLiteral("20"), QStringLiteral("--maildir"), tree.root});
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(run.out.contains(QStringLiteral("LevelT = \"20\""))) << run.out.toStdString();
    run =
        runVelmora({QStringLiteral("settings"), QStringLiteral("--junk"), QStringLiteral("Junk")});
    EXPECT_TRUE(run.out.contains(QStringLiteral("Junk = Junk, Sent = (found by its usual names)")))
        << run.out.toStdString();
    run = runVelmora({QStringLiteral("stats")});
    EXPECT_TRUE(run.out.contains(QStringLiteral("trusted senders: 3"))) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("picture records: 37 (37 spam)")));

    // The Maildir saved in the settings is the one `watch` uses; mail that
    // waited in new/ is judged at the start.
    tree.deliver(QString(),
                 rawMail(QStringLiteral("later@shop.example"), QStringLiteral("Now"), spamBody()));
    run = runVelmora(
        {QStringLiteral("watch"), QStringLiteral("--stop-after"), QStringLiteral("0.3")});
    EXPECT_EQ(run.code, 0) << run.err.toStdString();
    EXPECT_TRUE(
        run.out.contains(QStringLiteral("new mail from later@shop.example \"{S:100%} Now\": "
                                        "spam, moved to Junk")))
        << run.out.toStdString();
    EXPECT_EQ(tree.files(QString()), QStringList());

    run = runVelmora({QStringLiteral("sweep"), QStringLiteral("Nowhere")});
    EXPECT_EQ(run.code, 3);
    EXPECT_TRUE(run.err.contains(QStringLiteral("no folder Nowhere"))) << run.err.toStdString();
    run = runVelmora(
        {QStringLiteral("learn"), QStringLiteral("--spam"), QStringLiteral("--ham"), spam});
    EXPECT_EQ(run.code, 2);
}
