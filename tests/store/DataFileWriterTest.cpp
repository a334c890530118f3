// Replacing data files without ever losing what was in them: failing devices,
// a full file system, and the old file kept aside when the filter does not
// hold all of it.
#include "store/DataFileIo.h"
#include "store/DataFileLoads.h"
#include "store/ListFile.h"
#include "store/SpamData.h"
#include "store/TxtTableFile.h"

#include "base/VbError.h"
#include "support/TestSupport.h"

#include <QDir>

#include <sys/mount.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::test;

namespace {

// A device that takes `capacity` bytes and then fails every write, as a
// full or failing disk does.
class FailingDevice final : public QIODevice {
public:
    explicit FailingDevice(qint64 capacity) : m_capacity(capacity) { open(WriteOnly); }
    QByteArray written;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        const qint64 room = m_capacity - written.size();
        if (room <= 0) {
            setErrorString(QStringLiteral("No space left on device"));
            return -1;
        }
        const qint64 taken = qMin(room, size);
        written.append(data, taken);
        return taken;
    }

private:
    qint64 m_capacity;
};

QStringList savedCopies(const SpamData& data, QStringView name) {
    return QDir(data.folder.dataFolder())
        .entryList({name.toString() + QStringLiteral(".saved-*")}, QDir::Files);
}

TxtRec textRecord(const QString& sender) {
    TxtRec rec;
    rec.Sender = sender;
    rec.Subject = QStringLiteral("Hello");
    return rec;
}

} // namespace

TEST(DataFileWriter, DeviceThatFailsAfterSomeBytesIsReportedByNameAndCause) {
    struct Case {
        qint64 capacity;
        int contentBytes;
        bool fails;
    };
    for (const Case& c : {Case{0, 10, true}, Case{100, 101, true}, Case{4096, 20000, true},
                          Case{100, 100, false}, Case{0, 0, false}}) {
        FailingDevice device(c.capacity);
        const QByteArray content(c.contentBytes, 'x');
        try {
            writeWhole(device, content, QStringLiteral("txtdata.dat"));
            EXPECT_FALSE(c.fails) << c.capacity;
            EXPECT_EQ(device.written, content);
        } catch (const VbError& error) {
            EXPECT_TRUE(c.fails) << c.capacity;
            EXPECT_EQ(error.number(), VbError::DiskFull) << error.description().toStdString();
            EXPECT_TRUE(error.description().contains(QStringLiteral("txtdata.dat")));
            EXPECT_TRUE(error.description().contains(QStringLiteral("No space left")));
        }
    }
}

TEST(DataFileWriter, BufferedWriteThatFailsOnlyWhenFlushedIsCaught) {
    // /dev/full takes writes into QFile's buffer and refuses them at flush.
    if (!QFileInfo::exists(QStringLiteral("/dev/full")))
        GTEST_SKIP() << "no /dev/full";
    for (const int bytes : {10, 20000}) {
        QFile full(QStringLiteral("/dev/full"));
        ASSERT_TRUE(full.open(QIODevice::WriteOnly));
        try {
            writeWhole(full, QByteArray(bytes, 'x'), QStringLiteral("trusteml.dat"));
            ADD_FAILURE() << "no error for " << bytes << " bytes";
        } catch (const VbError& error) {
            EXPECT_EQ(error.number(), VbError::DiskFull) << error.description().toStdString();
            EXPECT_TRUE(error.description().contains(QStringLiteral("trusteml.dat")));
        }
    }
}

TEST(DataFileWriter, FullFileSystemKeepsTheOldFileAndSaysWhy) {
    // A real file system that fills up: a small tmpfs, which only root may
    // mount (CI runs as root).
    TempFolder dir;
    const QString mountPoint = dir.file(QStringLiteral("small"));
    QDir().mkpath(mountPoint);
    if (geteuid() != 0 ||
        mount("tmpfs", mountPoint.toLocal8Bit().constData(), "tmpfs", 0, "size=16k") != 0)
        GTEST_SKIP() << "needs root to mount a small file system";
    struct Unmount {
        QString at;
        ~Unmount() { umount(at.toLocal8Bit().constData()); }
    } unmount{mountPoint};

    RecordingSink sink;
    SpamData data{DataFolder(mountPoint)};
    QDir().mkpath(data.folder.dataFolder());
    data.TxtTable.append(textRecord(QStringLiteral("a@x.example")));
    data.TxtTable.append(textRecord(QStringLiteral("b@x.example")));
    WriteTxtTable(data);
    const QByteArray before = [&] {
        QFile file(data.folder.dataFile(kTxtDataFile));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    ASSERT_FALSE(before.isEmpty());
    ASSERT_TRUE(sink.messages.isEmpty());

    // Well over 16 KB: the write fails part-way, in the buffer or at flush.
    for (int i = 0; i < 600; ++i)
        data.TxtTable.append(textRecord(QStringLiteral("sender%1@x.example").arg(i)));
    WriteTxtTable(data);
    QFile file(data.folder.dataFile(kTxtDataFile));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("WriteTxtTable_error: Disk full (")))
        << sink.messages[0].toStdString();
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("txtdata.dat")));
    // Nothing is left beside it.
    EXPECT_EQ(QDir(data.folder.dataFolder()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("txtdata.dat")});
}

TEST(DataFileWriter, OldFileIsKeptAsideWhenTheFilterDoesNotHoldItAll) {
    dataFileLoads::clear();
    RecordingSink sink;
    TempFolder dir;
    SpamData data{DataFolder(dir.path())};
    QDir().mkpath(data.folder.dataFolder());
    const QString path = data.folder.dataFile(kTxtDataFile);
    const QByteArray learnt = dataFileBytes(
        "S|a@x.example|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|One\n"
        "S|b@x.example|| 0| 40000||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|Two\n"
        "S|c@x.example|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|Three\n");
    const auto writeFile = [&](const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    writeFile(learnt);

    // Never loaded (the start-up ended before the tables were read): the
    // first save keeps the file it replaces.
    WriteTxtTable(data);
    QStringList copies = savedCopies(data, kTxtDataFile);
    ASSERT_EQ(copies.size(), 1);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].contains(path));
    EXPECT_TRUE(sink.messages[0].contains(copies[0]));
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("not loaded")));
    // Once saved, the file mirrors memory: the next save keeps nothing.
    sink.messages.clear();
    WriteTxtTable(data);
    EXPECT_TRUE(sink.messages.isEmpty());

    // A load that stopped at a bad number: the save that would drop the
    // records after it keeps the old file first, beside the earlier copy.
    writeFile(learnt);
    ReadTxtTable(data);
    EXPECT_EQ(data.TxtTable.upperBound(), 1);
    WriteTxtTable(data);
    copies = savedCopies(data, kTxtDataFile);
    ASSERT_EQ(copies.size(), 2);
    ASSERT_EQ(sink.messages.size(), 2);
    EXPECT_TRUE(sink.messages[1].contains(QStringLiteral("ReadTxtTable: ")))
        << sink.messages[1].toStdString();
    for (const QString& copy : copies) {
        QFile kept(data.folder.dataFile(copy));
        ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
        EXPECT_EQ(kept.readAll(), learnt);
    }

    // Learnt addresses emptied (one address is saved as an empty file) are
    // kept; the restricted words, which mirror the words box, are not.
    sink.messages.clear();
    const QString trusted = data.folder.dataFile(kTrustedFile);
    WriteARRAY(stringListOf({"a@x.example", "b@x.example"}), trusted);
    EXPECT_EQ(sink.messages.size(), 0); // there was nothing to keep
    WriteARRAY(stringListOf({"a@x.example"}), trusted);
    EXPECT_EQ(savedCopies(data, kTrustedFile).size(), 1);
    EXPECT_TRUE(sink.messages.value(0).contains(QStringLiteral("empty")));
    const QString restricted = data.folder.dataFile(kRestrictedFile);
    WriteARRAY(stringListOf({"casino", "viagra"}), restricted);
    WriteARRAY(StringList(), restricted);
    EXPECT_EQ(savedCopies(data, kRestrictedFile), QStringList());
}

TEST(DataFileWriter, DataFileThatIsAFolderIsNamedAndLeftAlone) {
    RecordingSink sink;
    TempFolder dir;
    SpamData data{DataFolder(dir.path())};
    QDir().mkpath(data.folder.dataFile(kTxtDataFile));
    ReadTxtTable(data);
    WriteTxtTable(data);
    ASSERT_EQ(sink.messages.size(), 2);
    for (const QString& message : sink.messages)
        EXPECT_TRUE(message.contains(QStringLiteral("txtdata.dat: not a regular file")))
            << message.toStdString();
    EXPECT_TRUE(QFileInfo(data.folder.dataFile(kTxtDataFile)).isDir());
}

TEST(DataFileWriter, TableFileLongerThanATableHoldsIsKeptBeforeItShrinks) {
    dataFileLoads::clear();
    RecordingSink sink;
    TempFolder dir;
    SpamData data{DataFolder(dir.path())};
    QDir().mkpath(data.folder.dataFolder());
    QByteArray lines;
    for (int i = 0; i <= TxtRecords::kMaxEntries; ++i) {
        lines +=
            dataFileBytes("S|") + QByteArray::number(100000 + i) +
            dataFileBytes("@x.example|| 0| 0||| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0| 0|"
                          "Hi\n");
    }
    QFile file(data.folder.dataFile(kTxtDataFile));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(lines);
    file.close();

    ReadTxtTable(data);
    EXPECT_EQ(data.TxtTable.upperBound(), TxtRecords::kMaxEntries);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_EQ(sink.messages[0],
              QStringLiteral("ReadTxtTable: Overflow (the table is full: 32767 entries)"));
    WriteTxtTable(data);
    ASSERT_EQ(savedCopies(data, kTxtDataFile).size(), 1);
    EXPECT_TRUE(sink.messages.value(1).contains(QStringLiteral("stopped early")));
}
