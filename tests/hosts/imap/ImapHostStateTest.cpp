// What the IMAP host keeps between runs: the folder snapshots and the log of
// its own actions. A restart replays from them, so a damaged or half-written
// file must never be taken for a good one.
#include "hosts/imap/FolderSnapshot.h"
#include "hosts/imap/OwnActionLog.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace velmora::imap;

namespace {

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

TEST(ImapHostState, SnapshotSurvivesARestartAndRefusesDamage) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("INBOX.snapshot"));
    QString error;
    EXPECT_TRUE(FolderSnapshot::load(path, &error).messages.isEmpty()) << "none yet";
    EXPECT_TRUE(error.isEmpty());

    FolderSnapshot snapshot;
    snapshot.uidValidity = 1700000001;
    snapshot.highestModSeq = 42;
    // A Message-ID may hold a tab; a message may have none at all.
    snapshot.add(3,
                 {messageKey(QStringLiteral("<a\tb@x>"), 2310, QDateTime::fromSecsSinceEpoch(1000)),
                  {"\\Seen", "$Junk"}});
    snapshot.add(9, {messageKey(QString(), 17, QDateTime()), {}});
    ASSERT_EQ(snapshot.save(path), QString());
    const FolderSnapshot read = FolderSnapshot::load(path, &error);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    EXPECT_EQ(read.uidValidity, 1700000001u);
    EXPECT_EQ(read.highestModSeq, 42u);
    ASSERT_EQ(read.messages.keys(), (QList<quint32>{3, 9}));
    EXPECT_EQ(read.messages[3].key, QStringLiteral("<a b@x> 2310 1000"));
    EXPECT_EQ(read.messages[3].flags, (QByteArrayList{"\\Seen", "$Junk"}));
    EXPECT_EQ(read.messages[9].key, QStringLiteral(" 17 0"));
    EXPECT_EQ(read.uids().toImap(), QByteArray("3,9"));
    EXPECT_EQ(read.largestUid(), 9u);

    // The same key in every folder: the instant counts, not the zone.
    EXPECT_EQ(
        messageKey(QStringLiteral("<m@x>"), 5,
                   QDateTime::fromString(QStringLiteral("2024-01-01T12:00:00+02:00"), Qt::ISODate)),
        messageKey(QStringLiteral("<m@x>"), 5,
                   QDateTime::fromString(QStringLiteral("2024-01-01T10:00:00Z"), Qt::ISODate)));

    const struct {
        const char* text;
        const char* error;
    } damaged[] = {
        {"", ":1: not a folder snapshot"},
        {"velmora imap snapshot 1\n", ":2: no UIDVALIDITY"},
        {"velmora imap snapshot 1\nvalidity x 1\n", ":2: UIDVALIDITY or HIGHESTMODSEQ"},
        {"velmora imap snapshot 1\nvalidity 7 1\n3\t\\Seen\n", ":3: expected UID, flags and key"},
        {"velmora imap snapshot 1\nvalidity 7 1\n0\t\tkey\n", ":3: expected UID, flags and key"},
        {"velmora imap snapshot 1\nvalidity 7 1\n4\t\tk\n4\t\tk\n", ":4: UID 4 listed twice"},
    };
    for (const auto& d : damaged) {
        writeAll(path, d.text);
        error.clear();
        const FolderSnapshot broken = FolderSnapshot::load(path, &error);
        EXPECT_TRUE(error.contains(QString::fromUtf8(d.error))) << error.toStdString();
        EXPECT_EQ(broken.uidValidity, 0u) << "a damaged snapshot is a new baseline";
        EXPECT_TRUE(broken.messages.isEmpty());
    }

    // A snapshot that cannot be written is reported, naming the file.
    const QString nowhere = dir.filePath(QStringLiteral("gone/INBOX.snapshot"));
    EXPECT_TRUE(snapshot.save(nowhere).startsWith(nowhere));
}

TEST(ImapHostState, OwnActionsOutliveACrashUntilTheReplayIsOver) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("own-actions"));
    {
        OwnActionLog log(path);
        log.expect(QStringLiteral("INBOX"), QStringLiteral("<a@x> 10 1"), OwnActionLog::Disappears,
                   0);
        log.expect(QStringLiteral("Junk"), QStringLiteral("<a@x> 10 1"), OwnActionLog::Appears, 0);
        const int rewrite =
            log.beginRewrite({QStringLiteral("INBOX"), 7, 12, 0, QStringLiteral("<b@x> 10 1"),
                              QStringLiteral("<b@x> 19 1")});
        log.setRewriteUid(rewrite, 40);
        ASSERT_EQ(log.save(), QString());
        // The process dies here: nothing after the save counts.
    }
    OwnActionLog log(path);
    ASSERT_EQ(log.load(5'000'000), QString());
    ASSERT_EQ(log.pendingRewrites().size(), 1);
    const OwnActionLog::Rewrite rewrite = log.pendingRewrites().first();
    EXPECT_EQ(rewrite.folder, QStringLiteral("INBOX"));
    EXPECT_EQ(rewrite.uidValidity, 7u);
    EXPECT_EQ(rewrite.oldUid, 12u);
    EXPECT_EQ(rewrite.newUid, 40u);
    EXPECT_EQ(rewrite.newKey, QStringLiteral("<b@x> 19 1"));

    // Entries of the last run wait however long the replay takes, and match
    // once, in their own folder and direction only.
    const qint64 muchLater = 5'000'000 + 3'600'000;
    EXPECT_FALSE(log.consume(QStringLiteral("Junk"), QStringLiteral("<a@x> 10 1"),
                             OwnActionLog::Disappears, muchLater));
    EXPECT_TRUE(log.consume(QStringLiteral("Junk"), QStringLiteral("<a@x> 10 1"),
                            OwnActionLog::Appears, muchLater));
    EXPECT_FALSE(log.consume(QStringLiteral("Junk"), QStringLiteral("<a@x> 10 1"),
                             OwnActionLog::Appears, muchLater));
    log.endReplay();
    EXPECT_FALSE(log.consume(QStringLiteral("INBOX"), QStringLiteral("<a@x> 10 1"),
                             OwnActionLog::Disappears, muchLater))
        << "after the replay, an old entry would hide what the user does next";

    // Entries of this run are forgotten after a minute.
    log.expect(QStringLiteral("INBOX"), QStringLiteral("k"), OwnActionLog::Appears, muchLater);
    EXPECT_FALSE(log.consume(QStringLiteral("INBOX"), QStringLiteral("k"), OwnActionLog::Appears,
                             muchLater + 61'000));

    writeAll(path, "A\tINBOX\n");
    OwnActionLog broken(path);
    EXPECT_TRUE(broken.load(0).contains(QStringLiteral("own-actions:1:")));
}

// A message whose subject the filter rewrote comes back under a new, higher
// UID. It keeps its place in the list, so that a walk over the folder (a
// sweep) neither skips the next message nor meets the rewritten one again,
// whichever of the new copy and the old one's removal the folder's watcher
// saw first; and the place survives a restart.
TEST(ImapHostState, RewrittenMessageKeepsItsPlace) {
    const auto listed = [](std::initializer_list<quint32> uids) {
        FolderSnapshot snapshot;
        snapshot.uidValidity = 7;
        for (const quint32 uid : uids)
            snapshot.add(uid, {QStringLiteral("key %1").arg(uid), {}});
        return snapshot;
    };
    const FolderSnapshot::Message rewritten{QStringLiteral("rewritten"), {"\\Seen"}};

    FolderSnapshot quiet = listed({10, 11, 12});
    EXPECT_EQ(quiet.replace(11, 20, rewritten, -1), -1);
    EXPECT_EQ(quiet.order, (QList<quint32>{10, 20, 12}));
    EXPECT_EQ(quiet.messages.keys(), (QList<quint32>{10, 12, 20}));
    EXPECT_EQ(quiet.messages[20].key, QStringLiteral("rewritten"));

    FolderSnapshot newSeenFirst = listed({10, 11, 12});
    newSeenFirst.add(20, {QStringLiteral("rewritten"), {}});
    EXPECT_EQ(newSeenFirst.replace(11, 20, rewritten, -1), -1);
    EXPECT_EQ(newSeenFirst.order, (QList<quint32>{10, 20, 12}));

    FolderSnapshot oldGoneFirst = listed({10, 11, 12});
    const qsizetype at = oldGoneFirst.remove(11);
    EXPECT_EQ(at, 1);
    oldGoneFirst.add(20, {QStringLiteral("rewritten"), {}});
    EXPECT_EQ(oldGoneFirst.replace(11, 20, rewritten, at), 1);
    EXPECT_EQ(oldGoneFirst.order, (QList<quint32>{10, 20, 12}));
    EXPECT_EQ(oldGoneFirst.messages.size(), 3);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("INBOX.snapshot"));
    ASSERT_EQ(oldGoneFirst.save(path), QString());
    QString error;
    EXPECT_EQ(FolderSnapshot::load(path, &error).order, (QList<quint32>{10, 20, 12}));
    EXPECT_EQ(oldGoneFirst.largestUid(), 20u);
}
