#include "app/StarterPictures.h"

#include "store/PicTableFile.h"
#include "support/TestSupport.h"

#include <QFile>

using namespace velmora;
using namespace velmora::test;

namespace {

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(StarterPictures, ShippedTableLoadsWholeAndIsCopiedOnlyWhereNoneIs) {
    RecordingSink sink;
    const QString shipped = shippedStarterPictures();
    ASSERT_FALSE(shipped.isEmpty());
    const QByteArray starter = bytesOf(shipped);

    // Every line is a record: none is dropped by the reader.
    TempFolder home;
    SpamData data{DataFolder(home.file(QStringLiteral("CORVANELSPAM")))};
    provideStarterPictures(data.folder);
    EXPECT_EQ(bytesOf(data.folder.dataFile(kDefaultPicDataFile)), starter);
    home.writeBytes(QStringLiteral("CORVANELSPAM/spamdata/picdata.dat"), {});
    ReadPicTable(data);
    EXPECT_EQ(data.PicTable.upperBound(), 36);
    EXPECT_EQ(starter.count("\r\n"), 36);
    for (const PicRec& rec : data.PicTable)
        EXPECT_EQ(rec.Flag, kTrue);
    EXPECT_EQ(sink.messages.size(), 1); // merged in front of the empty table, once

    // A table of the user's that has grown past the starter file is used alone.
    QByteArray grown = bytesOf(data.folder.dataFile(kPicDataFile));
    grown += grown.left(grown.indexOf("\r\n") + 2); // one record more than the starter
    home.writeBytes(QStringLiteral("CORVANELSPAM/spamdata/picdata.dat"), grown);
    sink.messages.clear();
    ReadPicTable(data);
    EXPECT_EQ(data.PicTable.upperBound(), 37);
    EXPECT_TRUE(sink.messages.isEmpty());

    // A starter file already there (the user's own, or an older one) stays.
    home.writeBytes(QStringLiteral("CORVANELSPAM/spamdata/defaultpicdata.dat"), "mine");
    provideStarterPictures(data.folder);
    EXPECT_EQ(bytesOf(data.folder.dataFile(kDefaultPicDataFile)), QByteArray("mine"));
}
