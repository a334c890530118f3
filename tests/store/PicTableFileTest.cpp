#include "store/PicTableFile.h"

#include "support/TestSupport.h"

#include <QDir>

using namespace velmora;
using velmora::test::dataFileBytes;
using velmora::test::RecordingSink;
using velmora::test::TempFolder;

namespace {

const char* const kMergeMessage =
    "Your spam database was updated successfully with default spam database";

QByteArray entryLine(const char* flag, const char* sender, int firstValue) {
    QByteArray line = QByteArray(flag) + '|' + sender + "|pic.gif| 2048| 120";
    for (int j = 0; j < 20; ++j)
        line += "| " + QByteArray::number(j == 0 ? firstValue : j == 19 ? 100 - firstValue : 0);
    return dataFileBytes(line + "|Win \xE9\n");
}

struct PicFixture {
    TempFolder root;
    SpamData data{DataFolder(root.path())};

    PicFixture() { QDir().mkpath(data.folder.dataFolder()); }

    void write(const char* name, const QByteArray& bytes) {
        root.writeBytes(QStringLiteral("spamdata/") + QLatin1String(name), bytes);
    }
    QByteArray read(const char* name) const {
        return root.readBytes(QStringLiteral("spamdata/") + QLatin1String(name));
    }
};

} // namespace

TEST(PicTableFile, LoadPlacesEveryFieldAndSaveReproducesTheFile) {
    RecordingSink sink;
    PicFixture f;
    const QByteArray original = entryLine("S", "a@x.com", 40) + entryLine("G", "b@y.org", 7);
    f.write("picdata.dat", original);
    ReadPicTable(f.data);
    ASSERT_EQ(f.data.PicTable.upperBound(), 2);
    const PicRec& a = f.data.PicTable[1];
    EXPECT_EQ(a.Flag, kTrue);
    EXPECT_EQ(a.Sender, QStringLiteral("a@x.com"));
    EXPECT_EQ(a.Attachment, QStringLiteral("pic.gif"));
    EXPECT_EQ(a.FileLength, 2048);
    EXPECT_EQ(a.Size, 120);
    EXPECT_EQ(a.Values[0], 40);
    EXPECT_EQ(a.Values[19], 60);
    EXPECT_EQ(a.Subject, QStringLiteral("Win \u00E9"));
    EXPECT_EQ(f.data.PicTable[2].Flag, kFalse);

    f.write("picdata.dat", "overwritten");
    WritePicTable(f.data);
    EXPECT_EQ(f.read("picdata.dat"), original);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(PicTableFile, WrongFieldCountsAndEmptySendersAreDropped) {
    RecordingSink sink;
    PicFixture f;
    QByteArray shortLine = entryLine("S", "short@x.com", 1);
    shortLine.replace("\xB5pic.gif", ""); // 25 fields
    QByteArray longLine = entryLine("S", "long@x.com", 1);
    longLine.replace("\xB5pic.gif", "\xB5pic\xB5gif"); // 27 fields
    f.write("picdata.dat",
            shortLine + longLine + entryLine("S", "", 5) + entryLine("S", "k@x.com", 9));
    ReadPicTable(f.data);
    ASSERT_EQ(f.data.PicTable.upperBound(), 2);
    WritePicTable(f.data);
    EXPECT_EQ(f.read("picdata.dat"), entryLine("S", "k@x.com", 9));
}

TEST(PicTableFile, LongerDefaultFileIsMergedInFrontOnce) {
    RecordingSink sink;
    PicFixture f;
    const QByteArray defaults = entryLine("S", "d1@x.com", 10) + entryLine("S", "d2@x.com", 20);
    const QByteArray user = entryLine("G", "u@x.com", 30);
    f.write("defaultpicdata.dat", defaults);
    f.write("picdata.dat", user);

    ReadPicTable(f.data);
    EXPECT_EQ(sink.messages, QStringList{QLatin1String(kMergeMessage)});
    ASSERT_EQ(f.data.PicTable.upperBound(), 3);
    EXPECT_EQ(f.data.PicTable[1].Sender, QStringLiteral("d1@x.com"));
    EXPECT_EQ(f.data.PicTable[3].Sender, QStringLiteral("u@x.com"));
    EXPECT_EQ(f.read("picdata.dat"), defaults + user);

    // The merged file is now at least as long as the default: no second merge.
    ReadPicTable(f.data);
    EXPECT_EQ(sink.messages.size(), 1);
    EXPECT_EQ(f.data.PicTable.upperBound(), 3);
}

TEST(PicTableFile, EmptyUserFileTakesTheDefaults) {
    RecordingSink sink;
    PicFixture f;
    const QByteArray defaults = entryLine("S", "d1@x.com", 10);
    f.write("defaultpicdata.dat", defaults);
    f.write("picdata.dat", {});
    ReadPicTable(f.data);
    EXPECT_EQ(sink.messages.size(), 1);
    EXPECT_EQ(f.data.PicTable.upperBound(), 1);
    EXPECT_EQ(f.read("picdata.dat"), defaults);
}

TEST(PicTableFile, DefaultOfEqualLengthOrNoneIsIgnored) {
    RecordingSink sink;
    PicFixture f;
    f.write("picdata.dat", entryLine("G", "u@x.com", 30));
    ReadPicTable(f.data); // no default file
    EXPECT_EQ(f.data.PicTable.upperBound(), 1);

    f.write("defaultpicdata.dat", entryLine("S", "d@x.com", 31)); // same length
    ReadPicTable(f.data);
    EXPECT_EQ(f.data.PicTable.upperBound(), 1);
    EXPECT_EQ(f.data.PicTable[1].Sender, QStringLiteral("u@x.com"));
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(PicTableFile, MissingUserFileIsAnError) {
    RecordingSink sink;
    PicFixture f;
    f.write("defaultpicdata.dat", entryLine("S", "d@x.com", 31));
    ReadPicTable(f.data);
    EXPECT_EQ(f.data.PicTable.upperBound(), 0);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(
        sink.messages[0].startsWith(QStringLiteral("ReadPicTable_error: File not found (")));
    EXPECT_EQ(f.read("picdata.dat"), QByteArray("<missing>"));
}

TEST(PicTableFile, OutOfRangeNumberStopsTheLoadAndTheMergeIsNotSaved) {
    RecordingSink sink;
    PicFixture f;
    const QByteArray defaults = entryLine("S", "d1@x.com", 10) + entryLine("S", "d2@x.com", 20);
    QByteArray broken = entryLine("G", "u@x.com", 30);
    broken.replace(" 120", " 40000"); // Size does not fit 16 bits
    f.write("defaultpicdata.dat", defaults + defaults);
    f.write("picdata.dat", entryLine("G", "ok@x.com", 5) + broken);
    ReadPicTable(f.data);
    EXPECT_EQ(f.data.PicTable.upperBound(), 5); // four defaults and the first user entry
    EXPECT_EQ(sink.messages,
              (QStringList{QLatin1String(kMergeMessage),
                           QStringLiteral("ReadPicTable_error: Overflow (picdata.dat, line 2)")}));
    EXPECT_EQ(f.read("picdata.dat"), entryLine("G", "ok@x.com", 5) + broken);
}

TEST(PicTableFile, MissingFolderIsReportedOnWrite) {
    RecordingSink sink;
    TempFolder elsewhere;
    SpamData data{DataFolder(elsewhere.file(QStringLiteral("none")))};
    data.PicTable.append(PicRec());
    WritePicTable(data);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(
        sink.messages[0].startsWith(QStringLiteral("WritePicTable_error: Path not found (")));
}
