// Faults on a live Maildir: a full disk while a subject is rewritten, a huge
// message, damaged messages. The watcher keeps running and no message is lost.
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFixture.h"
#include "hosts/maildir/MaildirItem.h"
#include "hosts/maildir/MaildirLiveEvents.h"

#include "base/VbError.h"
#include "support/AddinFixture.h"

#include <QDir>

#include <sys/mount.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::maildir;
using namespace velmora::test;

namespace {

// A picture spam learnt, so that new mail is judged at all.
struct JudgingAddin {
    explicit JudgingAddin(const std::shared_ptr<MaildirApplication>& mailbox) : app(mailbox) {
        writeSmallDatabase(workRoot, settings);
        connect.OnConnection(app);
    }

    TempFolder home;
    QString workRoot = home.file(QStringLiteral("data/CORVANELSPAM/"));
    SettingsStore settings{home.file(QStringLiteral("config/velmora.ini"))};
    std::shared_ptr<MaildirApplication> app;
    HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
    Connect connect{DataFolder(workRoot), settings, windows};
};

} // namespace

TEST(MaildirFaults, FullDiskWhileASubjectIsRewrittenLosesNothing) {
    TempFolder dir;
    const QString mountPoint = dir.file(QStringLiteral("small"));
    QDir().mkpath(mountPoint);
    if (geteuid() != 0 ||
        mount("tmpfs", mountPoint.toLocal8Bit().constData(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "needs root to mount a small file system";
    struct Unmount {
        QString at;
        ~Unmount() { umount(at.toLocal8Bit().constData()); }
    } unmount{mountPoint};

    const QString root = mountPoint + QStringLiteral("/Maildir");
    for (const QString& sub : {QStringLiteral("cur"), QStringLiteral("new"), QStringLiteral("tmp")})
        QDir().mkpath(root + QLatin1Char('/') + sub);
    const QByteArray raw =
        rawMail(QStringLiteral("s@shop.example"), QStringLiteral("Offer"), QString(3000, u'x'));
    const QString file = root + QStringLiteral("/new/1700000000.M1P1.host,S=3100");
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(raw);
    out.close();
    MaildirApplication app(root); // makes Junk, Sent and Trash while there is room
    // Fill the file system to the last few bytes.
    QFile filler(mountPoint + QStringLiteral("/filler"));
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly));
    while (filler.write(QByteArray(1024, 'f')) == 1024 && filler.flush()) {
    }
    filler.close();

    const MailItemRef item = app.inbox().Items().Item(1);
    item->setSubject(QStringLiteral("{S:100%} Offer"));
    try {
        item->save();
        ADD_FAILURE() << "the rewrite did not fail";
    } catch (const VbError& error) {
        EXPECT_TRUE(error.description().contains(root)) << error.description().toStdString();
    }
    // The message is whole where it was; no half-written copy anywhere.
    QFile kept(file);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), raw);
    EXPECT_EQ(QDir(root + QStringLiteral("/tmp")).entryList(QDir::Files), QStringList());
    EXPECT_EQ(QDir(root + QStringLiteral("/cur")).entryList(QDir::Files), QStringList());

    // With room again, the same handle saves and moves it.
    QFile::remove(mountPoint + QStringLiteral("/filler"));
    item->save();
    item->move(app.junk());
    EXPECT_EQ(app.inbox().Items().Count(), 0);
    ASSERT_EQ(app.junk().Items().Count(), 1);
    EXPECT_EQ(app.junk().Items().Item(1)->subject(), QStringLiteral("{S:100%} Offer"));
}

TEST(MaildirFaults, HugeAndDamagedMessagesAreJudgedAndTheWatcherGoesOn) {
    RecordingSink sink;
    MaildirTree tree;
    auto app = std::make_shared<MaildirApplication>(tree.root);
    QStringList logged;
    MaildirLiveEvents live(*app, [&](const QString& line) { logged.append(line); });
    JudgingAddin addin(app);

    QByteArray huge = rawMail(QStringLiteral("big@x.example"), QStringLiteral("Big"), {});
    huge += QByteArray(50 * 1024 * 1024, 'a');
    const QList<QByteArray> damaged = {
        huge,
        QByteArray("From: cut@x.example\r\nSubject: Cut\r\nContent-Type: multipart/mixed; "
                   "boundary=\"b\"\r\n\r\n--b\r\nContent-Type: image/png; name=\"p.png\"\r\n"
                   "Content-Transfer-Encoding: base64\r\n\r\niVBORw0KG!!!zzzz"),
        QByteArray("Subject: nobody sent this\r\n\r\nno sender\r\n"),
        QByteArray("From: cs@x.example\r\nSubject: =?x-unknown?Q?=FF=FE?=\r\nContent-Type: "
                   "text/plain; charset=x-nothing\r\n\r\n\xff\xfe\x00 body"),
    };
    for (const QByteArray& raw : damaged)
        tree.deliver(QString(), raw);
    ASSERT_TRUE(waitUntil([&] { return app->inbox().Items().Count() == damaged.size(); }));
    live.flush();

    // Every one still there, once, and the next delivery is seen too.
    tree.deliver(QString(), rawMail(QStringLiteral("after@x.example"), QStringLiteral("After"),
                                    QStringLiteral("hello")));
    ASSERT_TRUE(waitUntil([&] { return app->inbox().Items().Count() == damaged.size() + 1; }));
    EXPECT_EQ(tree.files(QString()).size() + tree.files(QStringLiteral("Junk")).size(),
              damaged.size() + 1);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(MaildirFaults, ReadOnlyMailAndDataAreReportedByNameAndNothingIsLost) {
    TempFolder dir;
    const QString mountPoint = dir.file(QStringLiteral("ro"));
    QDir().mkpath(mountPoint);
    if (geteuid() != 0 ||
        mount("tmpfs", mountPoint.toLocal8Bit().constData(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "needs root to mount a file system";
    struct Unmount {
        QString at;
        ~Unmount() { umount(at.toLocal8Bit().constData()); }
    } unmount{mountPoint};

    RecordingSink sink;
    const QString root = mountPoint + QStringLiteral("/Maildir");
    for (const QString& path : {QString(), QStringLiteral("/.Work")})
        for (const char* sub : {"cur", "new", "tmp"})
            QDir().mkpath(root + path + QLatin1Char('/') + QLatin1String(sub));
    const QByteArray example =
        rawMail(QStringLiteral("spammer@shop.example"), QStringLiteral("Watches"), kSpamBody);
    QFile placed(root + QStringLiteral("/.Work/cur/1.M1P1.host:2,S"));
    ASSERT_TRUE(placed.open(QIODevice::WriteOnly));
    placed.write(example);
    placed.close();

    auto app = std::make_shared<MaildirApplication>(root);
    QStringList logged;
    MaildirLiveEvents live(*app, [&](const QString& line) { logged.append(line); });
    TempFolder home;
    const QString workRoot = mountPoint + QStringLiteral("/data/CORVANELSPAM/");
    SettingsStore settings(home.file(QStringLiteral("velmora.ini")));
    writeSmallDatabase(workRoot, settings);
    HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
    Connect connect(DataFolder(workRoot), settings, windows);
    connect.OnConnection(app);
    app->findFolder(QStringLiteral("Work"))->Items().Item(1)->move(app->junk()); // learnt
    ASSERT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();

    // New spam arrives, and then mail and data can no longer be written.
    const QByteArray spam =
        rawMail(QStringLiteral("new@shop.example"), QStringLiteral("Offer"), kSpamBody);
    QFile delivered(root + QStringLiteral("/new/2.M2P2.host"));
    ASSERT_TRUE(delivered.open(QIODevice::WriteOnly));
    delivered.write(spam);
    delivered.close();
    ASSERT_EQ(mount(nullptr, mountPoint.toLocal8Bit().constData(), nullptr, MS_REMOUNT | MS_RDONLY,
                    nullptr),
              0);
    live.flush(); // the delivery is judged now

    // The message is where it was, whole; the failures name what failed.
    QFile kept(delivered.fileName());
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), spam);
    EXPECT_TRUE(logged.join(u'|').contains(QStringLiteral("\"{S:")))
        << logged.join(u'|').toStdString();
    EXPECT_TRUE(logged.join(u'|').contains(QStringLiteral("Read-only file system")));
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();

    // What is learnt cannot be saved: the message names the file and why.
    const MailItemRef item = app->inbox().Items().Item(1);
    app->explorer().setSelection({item});
    app->explorer().BeforeMove.raise();
    app->inbox().Items().ItemRemove.raise();
    app->junk().Items().ItemAdd.raise(item);
    const QString messages = sink.messages.join(u'|');
    EXPECT_TRUE(messages.contains(QStringLiteral("txtdata.dat")) &&
                messages.contains(QStringLiteral("Permission denied")))
        << messages.toStdString();
    mount(nullptr, mountPoint.toLocal8Bit().constData(), nullptr, MS_REMOUNT, nullptr);
}
