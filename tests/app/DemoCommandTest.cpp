#include "app/CommandRun.h"

#include "support/TestSupport.h"

using namespace velmora;
using namespace velmora::test;

TEST(DemoCommand, WatchesADemoMaildirJudgingNewMailAndLearningFromMoves) {
    TempFolder root;
    const CommandRun run =
        runVelmora({QStringLiteral("demo"), QStringLiteral("--work-root"), root.path()});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, QString());
    const QString& out = run.out;
    for (const char* line :
         {"Database built from 3 mails in Junk and 2 in Friends: txtdata.dat holds 5 records, "
          "picdata.dat 0\n",
          // No picture spam of the user's: the start takes up the shipped pictures.
          "The filter starts watching the Maildir:\n[message box] Your spam database was "
          "updated successfully with default spam database\nIt knows 5 text records, 36 picture "
          "records, 2 trusted senders.\n",
          "Trusted senders: 2, restricted words: 2\nLevels: picture 86 %, text 94 %\n",
          "01-pills-again.txt: new mail from sales@pharma-deals.example \"{S:99%} Your discreet "
          "order\": spam, moved to Junk\n",
          "02-colleague.txt: new mail from anna.berg@work.example \"Budget sheet\": kept in "
          "Inbox\n",
          "03-casino.txt: new mail from vip@lucky-spins.example \"{RESTR} 200 free spins "
          "waiting\": spam, moved to Junk\n",
          "04-newsletter.txt: new mail from news@library.example \"New books this month\": kept "
          "in Inbox\n",
          "05-sale-again.txt: new mail from news@mega-sale.example \"{S:92%} Last days of the "
          "sale\": spam, moved to Junk\n",
          "06-crypto-tip.txt: new mail from alerts@coin-signals.example \"This coin will 40x "
          "before Friday\": kept in Inbox\n",
          "moved by the user: Inbox -> Junk: This coin will 40x before Friday\n",
          "moved by the user: Junk -> Inbox: {S:92%} Last days of the sale\n"
          "  learnt: now 8 text records, 37 picture records, 3 trusted senders\n",
          "Summary: 6 new messages, 3 judged spam; Inbox holds 3, Junk 6."})
        EXPECT_TRUE(out.contains(QString::fromUtf8(line))) << line << "\n---\n"
                                                           << out.toStdString();

    // On disk: the message taken out of Junk lost its tag; no message is lost.
    const QDir inbox(root.file(QStringLiteral("Maildir/cur")));
    QStringList subjects;
    for (const QString& name : inbox.entryList(QDir::Files)) {
        QFile file(inbox.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray raw = file.readAll();
        const qsizetype at = raw.indexOf("Subject: ") + 9;
        subjects.append(QString::fromUtf8(raw.mid(at, raw.indexOf("\r\n", at) - at)));
    }
    // The tag comes off by a fixed count made for three-digit scores, so a
    // two-digit tag takes the subject's first letter with it.
    EXPECT_EQ(subjects, QStringList{QStringLiteral("ast days of the sale")});
    EXPECT_EQ(QDir(root.file(QStringLiteral("Maildir/new"))).entryList(QDir::Files).size(), 2);
    EXPECT_EQ(QDir(root.file(QStringLiteral("Maildir/.Junk/cur"))).entryList(QDir::Files).size(),
              6);
    EXPECT_TRUE(QFile::exists(root.file(QStringLiteral("CORVANELSPAM/spamdata/txtdata.dat"))));
}

TEST(CommandLine, UnknownCommandsAndNoCommandShowUsage) {
    CommandRun run = runVelmora({QStringLiteral("frobnicate")});
    EXPECT_EQ(run.code, 2);
    EXPECT_TRUE(
        run.err.startsWith(QStringLiteral("velmora: unknown command 'frobnicate'\nusage:")));
    run = runVelmora({});
    EXPECT_EQ(run.code, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("demo")));
    run = runVelmora({QStringLiteral("--help")});
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: velmora <command>")));
    run = runVelmora({QStringLiteral("demo"), QStringLiteral("--bogus")});
    EXPECT_EQ(run.code, 2);
}

TEST(DemoCommand, UnreadableMessagesAreReportedByName) {
    TempFolder demo;
    demo.writeBytes(QStringLiteral("incoming/broken.txt"), "From: a@x\nno blank line");
    demo.writeBytes(QStringLiteral("incoming/lost.txt"),
                    "From: a@x\nAttachment: gone.png\n\nbody\n");
    demo.writeBytes(QStringLiteral("incoming/away.txt"),
                    "From: a@x\nAttachment: ../../../dev/zero\n\nbody\n");
    TempFolder root;
    const CommandRun run = runVelmora({QStringLiteral("demo"), QStringLiteral("--demo-dir"),
                                       demo.path(), QStringLiteral("--work-root"), root.path()});
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(run.err.contains(QStringLiteral("broken.txt: no blank line after the headers")))
        << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("lost.txt: attachment")));
    EXPECT_TRUE(run.err.contains(
        QStringLiteral("away.txt: attachment ../../../dev/zero: not a file name of the pictures")))
        << run.err.toStdString();
}
