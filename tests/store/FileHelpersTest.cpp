#include "store/FileHelpers.h"

#include "support/TestSupport.h"

#include <QDir>

using namespace velmora;
using velmora::test::RecordingSink;
using velmora::test::TempFolder;

TEST(FileExists, CountsOrdinaryFilesOnly) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("a.dat"), "x");
    dir.writeBytes(QStringLiteral(".hidden"), "x");
    QDir().mkdir(dir.file(QStringLiteral("sub")));

    EXPECT_TRUE(FileExists(dir.file(QStringLiteral("a.dat"))));
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("b.dat"))));
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral(".hidden"))));
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("sub"))));
    EXPECT_TRUE(FileExists(dir.file(QStringLiteral("*.dat"))));
    EXPECT_TRUE(FileExists(dir.file(QStringLiteral("?.dat"))));
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("*.txt"))));
    EXPECT_TRUE(FileExists(dir.path()));                        // the folder holds a file
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("sub/")))); // an empty folder does not
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("missing/a.dat"))));

    dir.writeBytes(QStringLiteral("onlyhidden/.x"), "x");
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("onlyhidden/*.*"))));
    dir.writeBytes(QStringLiteral("onlyhidden/nodot"), "x");
    EXPECT_TRUE(FileExists(dir.file(QStringLiteral("onlyhidden/*.*")))); // *.* matches any name
    dir.writeBytes(QStringLiteral("[x].dat"), "x");
    EXPECT_TRUE(FileExists(dir.file(QStringLiteral("[x]*")))); // brackets are no wildcards
    EXPECT_FALSE(FileExists(dir.file(QStringLiteral("[a]*"))));
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(DirectoryExist, NeedsTheTrailingSlash) {
    RecordingSink sink;
    TempFolder dir;
    QDir().mkdir(dir.file(QStringLiteral("spamdata")));
    EXPECT_TRUE(DirectoryExist(dir.file(QStringLiteral("spamdata/"))));
    EXPECT_FALSE(DirectoryExist(dir.file(QStringLiteral("spamdata"))));
    EXPECT_FALSE(DirectoryExist(dir.file(QStringLiteral("missing/"))));
    EXPECT_TRUE(DirectoryExist(dir.file(QStringLiteral("spamdata/*"))));
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(DeleteFile, DeletesWhatExistsAndIsSilentOtherwise) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("pic.jpg"), "x");
    dir.writeBytes(QStringLiteral(".hidden"), "x");
    EXPECT_TRUE(DeleteFile(dir.file(QStringLiteral("pic.jpg"))));
    EXPECT_FALSE(QFile::exists(dir.file(QStringLiteral("pic.jpg"))));
    EXPECT_FALSE(DeleteFile(dir.file(QStringLiteral("pic.jpg"))));
    EXPECT_TRUE(DeleteFile(dir.file(QStringLiteral(".hidden")))); // hidden files are files here
    EXPECT_TRUE(sink.messages.isEmpty());
}
