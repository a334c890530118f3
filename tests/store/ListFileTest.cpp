#include "store/ListFile.h"

#include "base/VbError.h"

#include <QDir>

#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::RecordingSink;
using velmora::test::stringListOf;
using velmora::test::TempFolder;

TEST(LoadARRAY, ReadsNonEmptyLinesFromSlotOne) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("trusteml.dat"), "first@x.com\r\n\r\nthird\xE9@x.com\r\n");
    StringList list = stringListOf({"stale"});
    LoadARRAY(list, dir.file(QStringLiteral("trusteml.dat")));
    ASSERT_EQ(list.upperBound(), 2);
    EXPECT_EQ(list[0], QString());
    EXPECT_EQ(list[1], QStringLiteral("first@x.com"));
    EXPECT_EQ(list[2], QStringLiteral("third\u00E9@x.com"));

    // Bare LF ends a line too; a last line without terminator counts.
    dir.writeBytes(QStringLiteral("restricted.dat"), "viagra\ncasino");
    LoadARRAY(list, dir.file(QStringLiteral("restricted.dat")));
    EXPECT_EQ(list, stringListOf({"viagra", "casino"}));

    dir.writeBytes(QStringLiteral("empty.dat"), "");
    LoadARRAY(list, dir.file(QStringLiteral("empty.dat")));
    EXPECT_EQ(list.upperBound(), 0);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(LoadARRAY, MissingFileIsReportedAndLeavesTheListEmpty) {
    RecordingSink sink;
    TempFolder dir;
    StringList list = stringListOf({"a", "b"});
    LoadARRAY(list, dir.file(QStringLiteral("trusteml.dat")));
    EXPECT_EQ(list.upperBound(), 0);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("LoadARRAY_error: File not found (")))
        << sink.messages[0].toStdString();
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("trusteml.dat")));
}

TEST(WriteARRAY, OneEntryIsSavedAsAnEmptyFile) {
    RecordingSink sink;
    TempFolder dir;
    // The restricted words: emptying that file keeps nothing aside (it
    // mirrors the words box, which the user empties on purpose).
    const QString path = dir.file(QStringLiteral("restricted.dat"));
    dir.writeBytes(QStringLiteral("restricted.dat"), "old\r\n");
    StringList loaded;
    LoadARRAY(loaded, path);

    WriteARRAY(StringList(), path);
    EXPECT_EQ(dir.readBytes(QStringLiteral("restricted.dat")), QByteArray());

    WriteARRAY(stringListOf({"only"}), path);
    EXPECT_EQ(dir.readBytes(QStringLiteral("restricted.dat")), QByteArray());

    StringList two = stringListOf({"a@x.com", "b\xE9"});
    two[0] = QStringLiteral("slot zero is never written");
    two[2] = QStringLiteral("b\u00E9\u20AC");
    WriteARRAY(two, path);
    EXPECT_EQ(dir.readBytes(QStringLiteral("restricted.dat")),
              QByteArray("a@x.com\r\nb\xE9\x80\r\n"));
    EXPECT_TRUE(sink.messages.isEmpty());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 1);

    StringList reread;
    LoadARRAY(reread, path);
    EXPECT_EQ(reread[2], two[2]);
}

TEST(StringList, HoldsAtMost32767EntriesAndAFullListIsSavedWhole) {
    RecordingSink sink;
    TempFolder dir;
    StringList list;
    for (int i = 0; i < 32767; ++i)
        list.append(QStringLiteral("a%1@x.com").arg(i));
    try {
        list.append(QStringLiteral("one@too.many"));
        ADD_FAILURE() << "a full list grew";
    } catch (const VbError& error) {
        EXPECT_EQ(error.number(), VbError::Overflow);
        EXPECT_TRUE(error.description().contains(QStringLiteral("full")));
    }
    EXPECT_THROW(list.insertAt(1, QStringLiteral("first@x.com")), VbError);
    EXPECT_EQ(list.upperBound(), 32767);
    EXPECT_EQ(list[1], QStringLiteral("a0@x.com"));

    WriteARRAY(list, dir.file(QStringLiteral("trusteml.dat")));
    EXPECT_EQ(dir.readBytes(QStringLiteral("trusteml.dat")).count('\n'), 32767);
    StringList reread;
    LoadARRAY(reread, dir.file(QStringLiteral("trusteml.dat")));
    EXPECT_EQ(reread, list);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(WriteARRAY, MissingFolderIsReportedByName) {
    RecordingSink sink;
    TempFolder dir;
    WriteARRAY(stringListOf({"a", "b"}), dir.file(QStringLiteral("nofolder/trusteml.dat")));
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("WriteARRAY_error: Path not found (")));
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("nofolder/trusteml.dat")));
}
