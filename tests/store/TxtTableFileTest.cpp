#include "store/TxtTableFile.h"

#include "support/TestSupport.h"

#include <QDir>

using namespace velmora;
using velmora::test::dataFileBytes;
using velmora::test::RecordingSink;
using velmora::test::TempFolder;

namespace {

// A spam record whose sixteen counters are 1..16 in file order (with 0 where
// slot 12 stands), and a good record with a Windows-1252 subject.
const char* const kSpamLine = "S|spam@x.com|pic.jpg| 124| 5|info@x.com|www.x.com"
                              "| 1| 2| 3| 4| 5| 6| 7| 8| 9| 10| 11| 0| 13| 14| 15| 16|Win money\n";
const char* const kGoodLine = "G|friend@y.org|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0"
                              "| 0|Caf\xE9 \x80 menu\n";

struct TxtFixture {
    TempFolder root;
    SpamData data{DataFolder(root.path())};

    TxtFixture() { QDir().mkpath(data.folder.dataFolder()); }

    void writeTxtData(const QByteArray& bytes) {
        root.writeBytes(QStringLiteral("spamdata/txtdata.dat"), bytes);
    }
    QByteArray txtData() const { return root.readBytes(QStringLiteral("spamdata/txtdata.dat")); }
};

} // namespace

TEST(TxtTableFile, LoadPlacesEveryFieldAndSaveReproducesTheFile) {
    RecordingSink sink;
    TxtFixture f;
    const QByteArray original = dataFileBytes(kSpamLine) + dataFileBytes(kGoodLine);
    f.writeTxtData(original);

    ReadTxtTable(f.data);
    ASSERT_EQ(f.data.TxtTable.upperBound(), 2);
    const TxtRec& spam = f.data.TxtTable[1];
    EXPECT_EQ(spam.Flag, kTrue);
    EXPECT_EQ(spam.Sender, QStringLiteral("spam@x.com"));
    EXPECT_EQ(spam.Attachment, QStringLiteral("pic.jpg"));
    EXPECT_EQ(spam.CharCount, 124);
    EXPECT_EQ(spam.LineCount, 5);
    EXPECT_EQ(spam.MailAddr, QStringLiteral("info@x.com"));
    EXPECT_EQ(spam.LinkHost, QStringLiteral("www.x.com"));
    const std::array<std::int32_t, 16> slots = {4, 1, 13, 7, 11, 15, 10, 14,
                                                8, 2, 16, 3, 0,  9,  6,  5};
    EXPECT_EQ(spam.Counts, slots);
    EXPECT_EQ(spam.Subject, QStringLiteral("Win money"));
    EXPECT_EQ(f.data.TxtTable[2].Flag, kFalse);
    EXPECT_EQ(f.data.TxtTable[2].Subject, QStringLiteral("Caf\u00E9 \u20AC menu"));

    f.writeTxtData("overwritten");
    WriteTxtTable(f.data);
    EXPECT_EQ(f.txtData(), original);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(TxtTableFile, MalformedLinesAreDroppedAndValuesNormalised) {
    RecordingSink sink;
    TxtFixture f;
    f.writeTxtData(dataFileBytes(
        // lower-case flag, half-even counters, numbers without the leading blank
        "s|a@x.com||7|1|||2.5|3.5|0|0|0|0|0|0|0|0|0|0|0|0|0|0|one\n"
        "\n" // blank line
        "S|b@x.com|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|two|extra\n" // 25
                                                                                         // fields
        "X|| 0| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|no sender\n" // 24 fields
        "S|c@x.com|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|too few\n"));
    ReadTxtTable(f.data);
    ASSERT_EQ(f.data.TxtTable.upperBound(), 2);
    EXPECT_EQ(f.data.TxtTable[1].Flag, kFalse);
    EXPECT_EQ(f.data.TxtTable[1].Counts[1], 2); // 2.5 rounds to even
    EXPECT_EQ(f.data.TxtTable[1].Counts[9], 4); // 3.5 rounds to even
    EXPECT_EQ(f.data.TxtTable[2].Sender, QString());

    // Written back in canonical form; the record without sender is lost.
    WriteTxtTable(f.data);
    EXPECT_EQ(
        f.txtData(),
        dataFileBytes("G|a@x.com|| 7| 1||| 2| 4| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|one\n"));
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(TxtTableFile, SeparatorInSubjectLosesTheRecordAndLineFeedCutsIt) {
    RecordingSink sink;
    TxtFixture f;
    TxtRec rec;
    rec.Sender = QStringLiteral("a@x.com");
    for (const QString& subject : {QStringLiteral("x\u00B5y"), QStringLiteral("x\ny"),
                                   QStringLiteral("x\ry"), QStringLiteral("plain")}) {
        rec.Subject = subject;
        f.data.TxtTable.append(rec);
    }
    WriteTxtTable(f.data);
    ReadTxtTable(f.data);
    EXPECT_TRUE(sink.messages.isEmpty());
    // The subject is the last field, so a line feed leaves a first piece of 24
    // fields (the subject cut short) and a second piece that is dropped. A lone
    // CR does not end a line, so that subject comes back whole.
    ASSERT_EQ(f.data.TxtTable.upperBound(), 3);
    EXPECT_EQ(f.data.TxtTable[1].Subject, QStringLiteral("x"));
    EXPECT_EQ(f.data.TxtTable[2].Subject, QStringLiteral("x\ry"));
    EXPECT_EQ(f.data.TxtTable[3].Subject, QStringLiteral("plain"));
}

TEST(TxtTableFile, OutOfRangeNumberStopsTheLoadKeepingEarlierRecords) {
    RecordingSink sink;
    TxtFixture f;
    f.writeTxtData(dataFileBytes(kGoodLine) + dataFileBytes(kSpamLine) +
                   dataFileBytes("S|big@x.com|| 0| 40000||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0"
                                 "| 0| 0| 0|x\n") +
                   dataFileBytes(kGoodLine));
    ReadTxtTable(f.data);
    EXPECT_EQ(f.data.TxtTable.upperBound(), 2);
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("ReadTxtTable: Overflow (txtdata.dat, line 3)")});
}

TEST(TxtTableFile, EmptyOrMissingFiles) {
    RecordingSink sink;
    TxtFixture f;
    f.writeTxtData({});
    f.data.TxtTable.append(TxtRec());
    ReadTxtTable(f.data);
    EXPECT_EQ(f.data.TxtTable.upperBound(), 0);
    EXPECT_TRUE(sink.messages.isEmpty());

    QFile::remove(f.root.file(QStringLiteral("spamdata/txtdata.dat")));
    ReadTxtTable(f.data);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("ReadTxtTable: File not found (")));

    TempFolder elsewhere;
    SpamData noFolder{DataFolder(elsewhere.file(QStringLiteral("none")))};
    noFolder.TxtTable.append(TxtRec());
    noFolder.TxtTable.append(TxtRec());
    WriteTxtTable(noFolder);
    ASSERT_EQ(sink.messages.size(), 2);
    EXPECT_TRUE(
        sink.messages[1].startsWith(QStringLiteral("WriteTxtTable_error: Path not found (")));
    EXPECT_TRUE(sink.messages[1].endsWith(QStringLiteral(") i= 0Max= 2")))
        << sink.messages[1].toStdString();
}
