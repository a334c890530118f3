#include "analysis/Classifier.h"

#include "analysis/Learning.h"
#include "support/FilterFixture.h"

using namespace velmora;
using namespace velmora::test;
using memory::MemoryItem;
using memory::MessageContent;

namespace {

const QString kSpamBody = spamBody();

// Puts a learnt example of `body` into the text table.
void learnText(FilterFixture& f, const QString& sender, const QString& body, std::int16_t spam) {
    const auto example = f.app->place(f.app->junk(), mail(sender, QStringLiteral("x"), body));
    LearnEmail(*f.state, *example, spam);
}

// A picture entry equal to the fingerprint of a one-colour black picture.
PicRec blackEntry(Bool16 flag, std::int16_t size = 150) {
    PicRec rec;
    rec.Sender = QStringLiteral("aaa@pics.example");
    rec.Values[0] = 100;
    rec.Size = size;
    rec.Flag = flag;
    return rec;
}

std::shared_ptr<MemoryItem> blackPictureMail(FilterFixture& f, qsizetype bytes,
                                             const char* subject = "Look") {
    return f.app->place(
        f.app->inbox(),
        pictureMail(QStringLiteral("Someone@Else.example"), QString::fromUtf8(subject),
                    QStringLiteral("black.png"),
                    pictureFile(solidPicture(80, 80, qRgb(0, 0, 0)), "PNG", bytes)));
}

struct Outcome {
    Bool16 verdict;
    QString subject;
    int saves;
};

Outcome judge(FilterFixture& f, const std::shared_ptr<MemoryItem>& item) {
    const Bool16 verdict = AnalyseEmail(*f.state, *item);
    return {verdict, item->savedSubject(), item->saveCount()};
}

} // namespace

TEST(AnalyseEmail, GatesLeaveTheMailAlone) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    const MessageContent spam =
        mail(QStringLiteral("other@shop.example"), QStringLiteral("Hi"), kSpamBody);

    f.state->flags.DatabaseBuilding = kTrue;
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), spam)).verdict, kFalse);
    f.state->flags.DatabaseBuilding = kFalse;
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), spam)).verdict, kTrue); // the gate was all

    // A trusted sender, written in capitals, and a delivery-failure notice.
    MessageContent trusted = spam;
    trusted.sender = QStringLiteral("Friend@Trusted.example");
    MessageContent bounce = spam;
    bounce.sender = QStringLiteral("MAILER-DAEMON@shop.example");
    for (const MessageContent& content : {trusted, bounce}) {
        const auto item = f.app->place(f.app->inbox(), content);
        const Outcome outcome = judge(f, item);
        EXPECT_EQ(outcome.verdict, kFalse) << content.sender.toStdString();
        EXPECT_EQ(outcome.saves, 0);
    }

    // Any empty table stops everything.
    const int records = f.data().TxtTable.upperBound();
    for (int table = 0; table < 3; ++table) {
        FilterFixture g;
        learnText(g, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
        if (table == 0)
            g.data().TrustedList.reset();
        else if (table == 1)
            g.data().PicTable.reset();
        else
            g.data().TxtTable.reset();
        EXPECT_EQ(judge(g, g.app->place(g.app->inbox(), spam)).verdict, kFalse) << table;
    }
    EXPECT_EQ(f.data().TxtTable.upperBound(), records);
}

TEST(AnalyseEmail, MissingDatabaseOffersTheBuildAndJudgesNothing) {
    FilterFixture f;
    f.data().DatabaseMissing = kTrue;
    const auto item =
        f.app->place(f.app->inbox(), mail(QStringLiteral("a@x"), QStringLiteral("Hi"), kSpamBody));
    EXPECT_EQ(judge(f, item).verdict, kFalse);
    const QStringList prompt = {QStringLiteral("database prompt"),
                                QStringLiteral("unload database prompt")};
    EXPECT_EQ(f.prompts.shown, prompt);
    EXPECT_EQ(f.services.calls, QStringList());
    EXPECT_EQ(f.data().DatabaseMissing, kTrue);

    f.prompts.shown.clear();
    f.prompts.answer = HeadlessPromptAnswerer::Answer::Accept;
    EXPECT_EQ(judge(f, item).verdict, kFalse);
    EXPECT_EQ(f.prompts.shown, prompt);
    EXPECT_EQ(f.services.calls,
              (QStringList{QStringLiteral("show tool window"), QStringLiteral("build database")}));
    EXPECT_EQ(f.data().DatabaseMissing, kFalse);
    EXPECT_EQ(item->saveCount(), 0);
}

TEST(AnalyseEmail, PictureReachingTheLevelAtASpamEntryIsTaggedAndLearnt) {
    FilterFixture f;
    f.data().PicTable.insertAt(1, blackEntry(kTrue));
    const auto item = blackPictureMail(f, 5000, "Look \u00BFhere");
    const Outcome outcome = judge(f, item);
    EXPECT_EQ(outcome.verdict, kTrue);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:109%} Look \u00BFhere")); // 108.82
    ASSERT_EQ(f.data().PicTable.upperBound(), 3);
    const PicRec& learnt = f.data().PicTable[2];
    EXPECT_EQ(learnt.Sender, QStringLiteral("someone@else.example"));
    EXPECT_EQ(learnt.Subject, QStringLiteral("Look here"));
    EXPECT_EQ(learnt.Attachment, QString());
    EXPECT_EQ(learnt.FileLength, 0);
    EXPECT_EQ(learnt.Flag, kTrue);
    EXPECT_FALSE(QFile::exists(f.root.file(QStringLiteral("black.png"))));
}

TEST(AnalyseEmail, PictureLikeAGoodEntryIsLeftAlone) {
    FilterFixture f;
    f.data().PicTable.insertAt(1, blackEntry(kFalse));
    const Outcome outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.saves, 0);
    EXPECT_EQ(f.data().PicTable.upperBound(), 2);
}

TEST(AnalyseEmail, PictureBelowTheLevelButAbove50IsMarkedOnly) {
    FilterFixture f;
    f.data().PicTable.insertAt(1, blackEntry(kTrue, 75)); // (2000 / 17 + 50) / 2 = 83.82
    Outcome outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:84%} Look"));
    EXPECT_EQ(f.data().PicTable.upperBound(), 2);

    // Three bands apart and no size likeness: (1700 / 17 + 0) / 2 = 50, unmarked.
    PicRec fifty = blackEntry(kTrue, 0);
    fifty.Values[0] = 0;
    fifty.Values[1] = 5;
    fifty.Values[2] = 5;
    f.data().PicTable[1] = fifty;
    outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.subject, QStringLiteral("Look"));
    // A size likeness of 1 gives 50.5: marked with 50 (half to even).
    f.data().PicTable[1].Size = 2;
    outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:50%} Look"));
}

TEST(AnalyseEmail, PictureFileSizesFrom500To500000AreFingerprinted) {
    // The picture matches a spam entry; the body holds a restricted word that
    // only the text stage would find.
    for (const qsizetype bytes : {499, 500, 500000, 500001}) {
        FilterFixture f;
        f.data().PicTable.insertAt(1, blackEntry(kTrue));
        f.data().RestrictedList.append(QStringLiteral("picture"));
        const Outcome outcome = judge(f, blackPictureMail(f, bytes));
        const bool fingerprinted = bytes >= 500 && bytes <= 500000;
        EXPECT_EQ(outcome.verdict, kTrue) << bytes;
        EXPECT_EQ(outcome.subject,
                  fingerprinted ? QStringLiteral("{S:109%} Look") : QStringLiteral("{RESTR} Look"))
            << bytes;
        // A picture that is not fingerprinted stays where it was saved.
        EXPECT_EQ(QFile::exists(f.root.file(QStringLiteral("black.png"))), !fingerprinted) << bytes;
    }
}

TEST(AnalyseEmail, PictureStageWithoutVerdictSkipsTheText) {
    FilterFixture f;
    f.data().RestrictedList.append(QStringLiteral("picture"));
    const Outcome outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.saves, 0);
}

TEST(AnalyseEmail, PictureScoreEqualToTheLevelIsAHit) {
    FilterFixture f;
    PicRec entry = blackEntry(kTrue, 83); // size likeness 55
    entry.Values[0] = 89;                 // band likeness 89: (1989 / 17 + 55) / 2 = 86
    f.data().PicTable.insertAt(1, entry);
    const Outcome outcome = judge(f, blackPictureMail(f, 5000));
    EXPECT_EQ(outcome.verdict, kTrue);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:86%} Look"));
}

TEST(AnalyseEmail, KnownSpamSenderIsTaggedWith100AndNothingIsLearnt) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    learnText(f, QStringLiteral("colleague@work.example"), kSpamBody + kSpamBody, 0);
    const int records = f.data().TxtTable.upperBound();
    const auto other =
        mail(QStringLiteral("x"), QStringLiteral("Offer"), QStringLiteral("0123456789a"));
    MessageContent fromSpammer = other;
    fromSpammer.sender = QStringLiteral("Spammer@Shop.example");
    Outcome outcome = judge(f, f.app->place(f.app->inbox(), fromSpammer));
    EXPECT_EQ(outcome.verdict, kTrue);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:100%} Offer"));
    MessageContent fromColleague = other;
    fromColleague.sender = QStringLiteral("colleague@work.example");
    outcome = judge(f, f.app->place(f.app->inbox(), fromColleague));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.saves, 0);
    EXPECT_EQ(f.data().TxtTable.upperBound(), records);

    // A text of exactly 10 characters is not looked up by its sender, but its
    // restricted words still count.
    fromSpammer.body = QStringLiteral("0123456789");
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), fromSpammer)).verdict, kFalse);
    f.data().RestrictedList.append(QStringLiteral("casino"));
    fromSpammer.body = QStringLiteral("casino\r\nab");
    const Outcome restricted = judge(f, f.app->place(f.app->inbox(), fromSpammer));
    EXPECT_EQ(restricted.verdict, kTrue);
    EXPECT_EQ(restricted.subject, QStringLiteral("{RESTR} Offer"));
}

TEST(AnalyseEmail, RestrictedWordsTagAndLearnTheMail) {
    FilterFixture f;
    f.data().RestrictedList.append(QString());
    f.data().RestrictedList.append(QStringLiteral("  CASINO "));
    const int records = f.data().TxtTable.upperBound();
    const auto item = f.app->place(
        f.app->inbox(),
        mail(QStringLiteral("a@x.example"), QStringLiteral("{RESTR} Bonus"),
             mailBody({QStringLiteral("Play at our Casino tonight"), QStringLiteral("x")})));
    const Outcome outcome = judge(f, item);
    EXPECT_EQ(outcome.verdict, kTrue);
    EXPECT_EQ(outcome.subject, QStringLiteral("{RESTR} Bonus"));
    EXPECT_EQ(f.data().TxtTable.upperBound(), records + 1);

    // The word in the last line is not seen: that line is dropped.
    const auto lastLine =
        f.app->place(f.app->inbox(), mail(QStringLiteral("b@x.example"), QStringLiteral("Bonus"),
                                          QStringLiteral("first line\r\nplay casino")));
    EXPECT_EQ(judge(f, lastLine).verdict, kFalse);
}

TEST(AnalyseEmail, TextChoiceFollowsTheHtmlToPlainRatio) {
    // 10 characters of HTML to an empty plain body: the HTML is read; 11: the
    // empty plain body is read.
    for (const char* html : {"casino\r\nxx", "casino\r\nxxx"}) {
        FilterFixture f;
        f.data().RestrictedList.append(QStringLiteral("casino"));
        MessageContent content =
            mail(QStringLiteral("a@x.example"), QStringLiteral("S"), QString());
        content.htmlBody = QLatin1String(html);
        EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), content)).verdict,
                  toBool16(content.htmlBody.size() == 10))
            << html;
    }
}

TEST(AnalyseEmail, TextReachingTheLevelAtASpamEntryIsTaggedAndLearnt) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    const int records = f.data().TxtTable.upperBound();
    const auto item =
        f.app->place(f.app->inbox(), mail(QStringLiteral("new@shop.example"),
                                          QStringLiteral("{S:87%} Offer"), kSpamBody));
    const Outcome outcome = judge(f, item);
    EXPECT_EQ(outcome.verdict, kTrue);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:100%} ffer"));
    ASSERT_EQ(f.data().TxtTable.upperBound(), records + 1);
    EXPECT_EQ(f.data().TxtTable[1].Sender, QStringLiteral("new@shop.example"));
    EXPECT_EQ(f.data().TxtTable[1].Subject, QStringLiteral("{S:87%} Offer"));
    EXPECT_TRUE(f.toolBox.statusText().startsWith(
        QStringLiteral("ANALYSING ....\n\rTEXT EMAIL\n\rnew@shop.example\n\r")));
    EXPECT_EQ(f.toolBox.pictureBox().height(), 0);
}

TEST(AnalyseEmail, TextScoreEqualToTheLevelIsAHitAndGoodEntriesProtect) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    f.state->thresholds.LevelT = 100; // identical texts score exactly 100
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), mail(QStringLiteral("n1@x.example"),
                                                         QStringLiteral("S"), kSpamBody)))
                  .verdict,
              kTrue);

    FilterFixture g;
    learnText(g, QStringLiteral("friend@club.example"), kSpamBody, 0);
    const int records = g.data().TxtTable.upperBound();
    const Outcome outcome =
        judge(g, g.app->place(g.app->inbox(), mail(QStringLiteral("n2@x.example"),
                                                   QStringLiteral("S"), kSpamBody)));
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.saves, 0);
    EXPECT_EQ(g.data().TxtTable.upperBound(), records);
}

TEST(AnalyseEmail, TextSwitchedOffOrTooLongIsNotJudged) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    f.toolBox.setTextAnalysisSwitchedOff(true);
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), mail(QStringLiteral("n@x.example"),
                                                         QStringLiteral("S"), kSpamBody)))
                  .verdict,
              kFalse);
    f.toolBox.setTextAnalysisSwitchedOff(false);

    f.data().RestrictedList.append(QStringLiteral("casino"));
    QString text = QStringLiteral("casino\r\n") + QString(80000 - 10, QLatin1Char('x')) +
                   QStringLiteral("\r\n");
    ASSERT_EQ(text.size(), 80000);
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), mail(QStringLiteral("m@x.example"), {}, text)))
                  .verdict,
              kTrue);
    text += QLatin1Char('x');
    EXPECT_EQ(judge(f, f.app->place(f.app->inbox(), mail(QStringLiteral("m@x.example"), {}, text)))
                  .verdict,
              kFalse);
}

TEST(AnalyseEmail, HostFailuresEndWithAFalseVerdict) {
    FilterFixture f;
    learnText(f, QStringLiteral("spammer@shop.example"), kSpamBody, 1);
    // A subject starting "{S:" shorter than nine characters cannot be re-tagged.
    const auto item = f.app->place(
        f.app->inbox(), mail(QStringLiteral("n@x.example"), QStringLiteral("{S:5%}"), kSpamBody));
    const Outcome outcome = judge(f, item);
    EXPECT_EQ(outcome.verdict, kFalse);
    EXPECT_EQ(outcome.subject, QStringLiteral("{S:5%}"));
    EXPECT_EQ(outcome.saves, 0);

    // A save the host refuses: no verdict and nothing learnt.
    const int records = f.data().TxtTable.upperBound();
    const auto refusing = f.app->place(
        f.app->inbox(), mail(QStringLiteral("n2@x.example"), QStringLiteral("S"), kSpamBody));
    refusing->setFailing(MemoryItem::Operation::Save);
    EXPECT_EQ(judge(f, refusing).verdict, kFalse);
    EXPECT_EQ(f.data().TxtTable.upperBound(), records);
}
