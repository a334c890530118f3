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

TEST(DemoCommand, LearnsTheExamplesAndScoresTheIncomingMail) {
    TempFolder root;
    const CommandRun run =
        runVelmora({QStringLiteral("demo"), QStringLiteral("--work-root"), root.path()});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, QString());
    QString out = run.out;
    out.replace(root.path(), QStringLiteral("<root>/"));
    EXPECT_EQ(
        out, QStringLiteral(
                 "Data folder: <root>/spamdata/\n"
                 "Learnt 5 example mails; txtdata.dat holds 5 records (750 bytes) after a save and "
                 "a reload.\n"
                 "Trusted senders: 2, restricted words: 2\n"
                 "Text threshold: 94 %\n"
                 "\n"
                 "01-pills-again.txt  from sales@pharma-deals.example  \"Your discreet order\"\n"
                 "  best text score 99.03 % (spam example from offers@pharma-deals.example): spam\n"
                 "02-colleague.txt  from anna.berg@work.example  \"Budget sheet\"\n"
                 "  trusted sender: left alone\n"
                 "03-casino.txt  from vip@lucky-spins.example  \"200 free spins waiting\"\n"
                 "  restricted word \"casino\": spam\n"
                 "04-newsletter.txt  from news@library.example  \"New books this month\"\n"
                 "  best text score 95.02 % (good example from anna.berg@work.example): like good "
                 "mail\n"))
        << out.toStdString();
    EXPECT_TRUE(QFile::exists(root.file(QStringLiteral("spamdata/txtdata.dat"))));
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
