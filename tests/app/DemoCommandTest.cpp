#include "app/CommandLine.h"

#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::TempFolder;

namespace {

struct CommandRun {
    int code;
    QString out;
    QString err;
};

CommandRun runVelmora(const QStringList& arguments) {
    CommandRun run;
    QTextStream out(&run.out);
    QTextStream err(&run.err);
    run.code = runCommandLine(arguments, out, err);
    out.flush();
    err.flush();
    return run;
}

} // namespace

TEST(DemoCommand, LearnsTheExamplesAndJudgesTheIncomingMail) {
    TempFolder root;
    const CommandRun run =
        runVelmora({QStringLiteral("demo"), QStringLiteral("--work-root"), root.path()});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, QString());
    QString out = run.out;
    out.replace(root.path(), QStringLiteral("<root>/"));
    EXPECT_EQ(out,
              QStringLiteral("Data folder: <root>/CORVANELSPAM/spamdata/\n"
                             "Database built from 4 mails in Junk and 2 in a folder of the "
                             "user's: txtdata.dat holds 5 records, picdata.dat 1\n"
                             "Trusted senders: 2, restricted words: 2\n"
                             "Levels: picture 86 %, text 94 %\n"
                             "\n"
                             "01-pills-again.txt  from sales@pharma-deals.example\n"
                             "  spam, moved to Junk E-mail: \"{S:99%} Your discreet order\"\n"
                             "02-colleague.txt  from anna.berg@work.example\n"
                             "  kept in the Inbox: \"Budget sheet\"\n"
                             "03-casino.txt  from vip@lucky-spins.example\n"
                             "  spam, moved to Junk E-mail: \"{RESTR} 200 free spins waiting\"\n"
                             "04-newsletter.txt  from news@library.example\n"
                             "  kept in the Inbox: \"New books this month\"\n"
                             "05-sale-again.txt  from news@mega-sale.example\n"
                             "  spam, moved to Junk E-mail: \"{S:109%} Last days of the sale\"\n"))
        << out.toStdString();
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
    TempFolder root;
    const CommandRun run = runVelmora({QStringLiteral("demo"), QStringLiteral("--demo-dir"),
                                       demo.path(), QStringLiteral("--work-root"), root.path()});
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(run.err.contains(QStringLiteral("broken.txt: no blank line after the headers")))
        << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("lost.txt: attachment")));
}
