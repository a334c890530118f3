#include "analysis/Learning.h"

#include "support/FilterFixture.h"

using namespace velmora;
using namespace velmora::test;

namespace {

const QString kBody =
    mailBody({QStringLiteral("Cheap watches for sale"),
              QStringLiteral("Visit www.watches.example today"), QStringLiteral("last line")});

TxtRec textRecord(const char* sender, std::int16_t lines, Bool16 flag = kTrue) {
    TxtRec rec;
    rec.Sender = QLatin1String(sender);
    rec.LineCount = lines;
    rec.Flag = flag;
    return rec;
}

QStringList senders(const TxtRecords& table) {
    QStringList result;
    for (const TxtRec& rec : table)
        result.append(rec.Sender + QLatin1Char(':') + QString::number(rec.LineCount));
    return result;
}

} // namespace

TEST(LearnEmail, LearnsTextWithItsSenderSubjectAndFlag) {
    FilterFixture f;
    f.data().TxtTable.reset();
    const auto a = f.app->place(f.app->inbox(), mail(QStringLiteral("Spam@Shop.example"),
                                                     QStringLiteral("Offer &#9733;"), kBody));
    const auto b = f.app->place(f.app->inbox(), mail(QStringLiteral("other@shop.example"),
                                                     QStringLiteral("Plain"), kBody + kBody));
    const auto c = f.app->place(
        f.app->inbox(), mail(QStringLiteral("good@shop.example"), QStringLiteral("Good"), kBody));
    LearnEmail(*f.state, *a, 1);
    LearnEmail(*f.state, *b, -1);
    LearnEmail(*f.state, *c, 0);
    ASSERT_EQ(f.data().TxtTable.upperBound(), 3);
    EXPECT_EQ(f.data().TxtChanged, kTrue);
    const TxtRec& first = f.data().TxtTable[1];
    EXPECT_EQ(first.Sender, QStringLiteral("good@shop.example"));
    EXPECT_EQ(first.Flag, kFalse);
    const TxtRec& spam = f.data().TxtTable[3];
    EXPECT_EQ(spam.Sender, QStringLiteral("spam@shop.example"));
    EXPECT_EQ(spam.Flag, kTrue);
    EXPECT_EQ(spam.Subject, QString()); // "&#" keeps no subject
    EXPECT_EQ(spam.LinkHost, QStringLiteral("watches.example"));
    EXPECT_EQ(spam.LineCount, 3); // the body ends with CR LF, so only its empty tail is dropped
    EXPECT_EQ(f.data().TxtTable[2].Flag, kTrue);
    EXPECT_EQ(f.data().TxtTable[2].Subject, QStringLiteral("Plain"));
    EXPECT_EQ(f.toolBox.statusText(), QString());
}

TEST(LearnEmail, SameSenderAndLineCountOnlyReflags) {
    FilterFixture f; // the seed record stays last, behind the learnt one
    const auto item = f.app->place(f.app->inbox(),
                                   mail(QStringLiteral("a@x.example"), QStringLiteral("S"), kBody));
    LearnEmail(*f.state, *item, 1);
    LearnEmail(*f.state, *item, 0);
    ASSERT_EQ(f.data().TxtTable.upperBound(), 2);
    EXPECT_EQ(f.data().TxtTable[1].Flag, kFalse);

    // The last entry is never compared: in a table of one, a duplicate goes in front.
    f.data().TxtTable.reset();
    LearnEmail(*f.state, *item, 1);
    LearnEmail(*f.state, *item, 1);
    EXPECT_EQ(f.data().TxtTable.upperBound(), 2);
}

TEST(LearnEmail, TooLongTextsAndDeliveryFailuresAreNotLearnt) {
    FilterFixture f;
    const int before = f.data().TxtTable.upperBound();
    const QString huge = QString(799998, QLatin1Char('w')) + QStringLiteral("\r\n"); // learnt
    const auto fits = f.app->place(f.app->inbox(), mail(QStringLiteral("a@x.example"), {}, huge));
    LearnEmail(*f.state, *fits, 1);
    EXPECT_EQ(f.data().TxtTable.upperBound(), before + 1);
    const auto tooLong = f.app->place(
        f.app->inbox(), mail(QStringLiteral("b@x.example"), {}, huge + QLatin1Char('x')));
    LearnEmail(*f.state, *tooLong, 1);
    const auto bounce = f.app->place(f.app->inbox(), mail(QStringLiteral("MAILER-DAEMON@x.example"),
                                                          QStringLiteral("Undeliverable"), kBody));
    LearnEmail(*f.state, *bounce, 1);
    EXPECT_EQ(f.data().TxtTable.upperBound(), before + 1);
}

TEST(LearnEmail, PictureAttachmentIsLearntOnceByItsFingerprint) {
    FilterFixture f;
    const QByteArray black = pictureFile(solidPicture(60, 60, qRgb(0, 0, 0)), "PNG", 2000);
    const auto item = f.app->place(f.app->inbox(), pictureMail(QStringLiteral("Pics@X.example"),
                                                               QStringLiteral("Look \u00BF"),
                                                               QStringLiteral("Black.PNG"), black));
    LearnEmail(*f.state, *item, 1);
    ASSERT_EQ(f.data().PicTable.upperBound(), 2);
    const PicRec& rec = f.data().PicTable[1];
    EXPECT_EQ(rec.Sender, QStringLiteral("pics@x.example"));
    EXPECT_EQ(rec.Subject, QStringLiteral("Look "));
    EXPECT_EQ(rec.Attachment, QStringLiteral("Black.PNG"));
    EXPECT_EQ(rec.FileLength, 2000);
    EXPECT_EQ(rec.Size, 150);
    EXPECT_EQ(rec.Values[0], 100);
    EXPECT_EQ(rec.Flag, kTrue);
    EXPECT_EQ(f.data().PicChanged, kTrue);
    EXPECT_FALSE(QFile::exists(f.root.file(QStringLiteral("Black.PNG"))));

    // The same picture again, now as good mail: the entry turns good.
    LearnEmail(*f.state, *item, 0);
    ASSERT_EQ(f.data().PicTable.upperBound(), 2);
    EXPECT_EQ(f.data().PicTable[1].Flag, kFalse);
}

TEST(LearnEmail, PictureOfUnusableSizeIsLearntByText) {
    FilterFixture f;
    const QByteArray tiny = pictureFile(solidPicture(2, 2, qRgb(0, 0, 0)), "PNG");
    ASSERT_LT(tiny.size(), 500);
    const auto item = f.app->place(f.app->inbox(), pictureMail(QStringLiteral("a@x.example"), {},
                                                               QStringLiteral("Tiny.PNG"), tiny));
    LearnEmail(*f.state, *item, 1);
    EXPECT_EQ(f.data().PicTable.upperBound(), 1);
    ASSERT_EQ(f.data().TxtTable.upperBound(), 2);
    EXPECT_EQ(f.data().TxtTable[1].Attachment, QStringLiteral("tiny.png"));
    EXPECT_TRUE(QFile::exists(f.root.file(QStringLiteral("Tiny.PNG")))); // left in place
}

TEST(LearnEmail, MissingDatabaseStartsTheBuildInstead) {
    FilterFixture f;
    f.data().DatabaseMissing = kTrue;
    const auto item = f.app->place(f.app->inbox(), mail(QStringLiteral("a@x.example"), {}, kBody));
    LearnEmail(*f.state, *item, 1);
    EXPECT_EQ(f.services.calls, QStringList{QStringLiteral("build database")});
    EXPECT_EQ(f.data().TxtTable.upperBound(), 1);
}

TEST(AddTxtEmail, InsertsBySenderButNeverAfterTheLastEntry) {
    SpamData data{DataFolder(QStringLiteral("/nonexistent"))};
    for (const char* sender : {"mmm@x", "ccc@x", "zzz@x", "ddd@x", "aaa@x"})
        AddTxtEmail(data, textRecord(sender, 1));
    EXPECT_EQ(senders(data.TxtTable),
              (QStringList{QStringLiteral("aaa@x:1"), QStringLiteral("ccc@x:1"),
                           QStringLiteral("ddd@x:1"), QStringLiteral("zzz@x:1"),
                           QStringLiteral("mmm@x:1")}));
    // The same sender with another line count lands after its namesake.
    AddTxtEmail(data, textRecord("ccc@x", 2));
    EXPECT_EQ(senders(data.TxtTable)[2], QStringLiteral("ccc@x:2"));
    // A sender that begins another sender's address goes after that one's entries.
    AddTxtEmail(data, textRecord("ccc@", 1));
    EXPECT_EQ(senders(data.TxtTable)[3], QStringLiteral("ccc@:1"));
    // The same sender and line count is a duplicate: only its flag changes.
    data.TxtChanged = kFalse;
    AddTxtEmail(data, textRecord("ddd@x", 1, kFalse));
    EXPECT_EQ(data.TxtTable.upperBound(), 7);
    EXPECT_EQ(data.TxtTable[5].Flag, kFalse);
    EXPECT_EQ(data.TxtChanged, kTrue);
}

TEST(AddTxtEmail, FailuresAreReportedWithTheUpperBound) {
    RecordingSink sink;
    SpamData data{DataFolder(QStringLiteral("/nonexistent"))};
    AddTxtEmail(data, textRecord("b@x", 1));
    AddTxtEmail(data, textRecord("c@x", 1));
    AddTxtEmail(data, textRecord("", 1)); // an empty sender cannot be placed
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("AddTxtEmail: Invalid procedure call or argumentMax =2")});
}

TEST(AddPicEmail, DuplicatesNeedTheSameAttachmentAndLength) {
    RecordingSink sink;
    SpamData data{DataFolder(QStringLiteral("/nonexistent"))};
    PicRec rec;
    rec.Sender = QStringLiteral("zzz@x"); // stays last, where nothing is compared
    AddPicEmail(data, rec);
    rec.Sender = QStringLiteral("a@x");
    rec.Attachment = QStringLiteral("p.gif");
    rec.FileLength = 900;
    rec.Flag = kTrue;
    AddPicEmail(data, rec);
    rec.FileLength = 901; // another length: a new entry after its namesake
    AddPicEmail(data, rec);
    rec.FileLength = 900;
    rec.Flag = kFalse;
    AddPicEmail(data, rec);
    ASSERT_EQ(data.PicTable.upperBound(), 3);
    EXPECT_EQ(data.PicTable[1].FileLength, 900);
    EXPECT_EQ(data.PicTable[1].Flag, kFalse);
    EXPECT_EQ(data.PicTable[2].FileLength, 901);
    EXPECT_EQ(data.PicTable[2].Flag, kTrue);

    rec.Sender = QStringLiteral("mailer-daemon@x");
    AddPicEmail(data, rec);
    EXPECT_EQ(data.PicTable.upperBound(), 3);
    // A record without sender cannot be placed among others.
    rec.Sender.clear();
    AddPicEmail(data, rec);
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("AddPicEmail: Invalid procedure call or argument")});
}
