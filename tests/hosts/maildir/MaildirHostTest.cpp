#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFileName.h"
#include "hosts/maildir/MaildirFixture.h"
#include "hosts/maildir/MaildirItem.h"
#include "hosts/maildir/MaildirLiveEvents.h"

#include "addin/host/HostApplication.h"
#include "base/VbError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <unistd.h>

using namespace velmora;
using namespace velmora::maildir;
using namespace velmora::test;

namespace {

// Every host event, one line each, in the order raised.
struct EventLog {
    QStringList lines;
    std::vector<Subscription> subscriptions;

    explicit EventLog(MaildirApplication& app) {
        subscriptions.push_back(app.NewMailEx.subscribe(
            [this](const QString& ids) { lines.append(QStringLiteral("new ") + ids); }));
        subscriptions.push_back(app.ItemSend.subscribe([this](const MailItemRef& item) {
            lines.append(QStringLiteral("send ") + item->Recipients().join(u','));
        }));
        subscriptions.push_back(app.explorer().BeforeMove.subscribe([this, &app] {
            QStringList subjects;
            for (const MailItemRef& item : app.explorer().Selection())
                subjects.append(item->subject());
            lines.append(QStringLiteral("beforemove ") + subjects.join(u','));
        }));
        for (const auto& folder : app.allFolders()) {
            const QString name = folder->Name();
            subscriptions.push_back(
                folder->Items().ItemAdd.subscribe([this, name](const MailItemRef& item) {
                    lines.append(QStringLiteral("add ") + name + u' ' + item->subject());
                }));
            subscriptions.push_back(folder->Items().ItemRemove.subscribe(
                [this, name] { lines.append(QStringLiteral("remove ") + name); }));
        }
    }
};

} // namespace

TEST(MaildirHost, FoldersAndMessagesAsTheSurfaceShowsThem) {
    MaildirTree tree;
    QDir().mkpath(tree.root + QStringLiteral("/.Entw&APw-rfe/cur"));
    tree.deliver(QString(), rawMail(QStringLiteral("Anna <anna@work.example>"),
                                    QStringLiteral("=?UTF-8?Q?Caf=C3=A9?="), QStringLiteral("hi")));
    tree.place(
        QStringLiteral("Junk"),
        rawMail(QStringLiteral("s@shop.example"), QStringLiteral("Buy"), QStringLiteral("x")),
        QStringLiteral("S"));
    MaildirApplication app(tree.root);

    QStringList names;
    for (const FolderRef& folder : app.store()->Folders())
        names.append(folder->Name());
    EXPECT_EQ(names, (QStringList{QStringLiteral("Inbox"), QStringLiteral("Entwürfe"),
                                  QStringLiteral("Junk"), QStringLiteral("Sent"),
                                  QStringLiteral("Trash"), QStringLiteral("Work")}));
    EXPECT_EQ(app.findFolder(QStringLiteral("Work/Projects"))->Name(), QStringLiteral("Projects"));
    EXPECT_TRUE(app.findFolder(QStringLiteral("Work"))->directory().isEmpty()); // only a parent
    const auto ns = app.GetNamespace(QStringLiteral("MAPI"));
    EXPECT_EQ(ns->GetDefaultFolder(DefaultFolderJunk).get(), &app.junk());
    EXPECT_EQ(ns->GetDefaultFolder(DefaultFolderSent).get(), &app.sent());

    ASSERT_EQ(app.inbox().Items().Count(), 1);
    const MailItemRef item = app.inbox().Items().Item(1);
    EXPECT_EQ(item->subject(), QStringLiteral("Café"));
    EXPECT_EQ(item->senderEmailAddress(), QStringLiteral("anna@work.example"));
    EXPECT_FALSE(item->EntryID().contains(u','));
    // Read by a client: new/ to cur/ with flags; the identifier stays.
    const QString inNew = tree.files(QString()).first();
    const QString inCur =
        tree.root + QStringLiteral("/cur/") + QFileInfo(inNew).fileName() + QStringLiteral(":2,S");
    QFile::rename(inNew, inCur);
    app.inbox().scan();
    EXPECT_EQ(app.inbox().Items().Item(1)->EntryID(), item->EntryID());
    EXPECT_EQ(ns->GetItemFromID(item->EntryID())->subject(), QStringLiteral("Café"));
    EXPECT_THROW(ns->GetItemFromID(QStringLiteral("nothing-here")), VbError);
}

TEST(MaildirHost, ASavedSubjectIsANewFileWithTheSameFlagsAndEveryOtherByteKept) {
    MaildirTree tree;
    const QByteArray raw = rawMail(QStringLiteral("s@shop.example"), QStringLiteral("Offer"),
                                   QStringLiteral("Cheap\r\nwatches\r\n"));
    const QString original = tree.place(QString(), raw, QStringLiteral("FS"));
    MaildirApplication app(tree.root);
    EventLog log(app);
    const MailItemRef item = app.inbox().Items().Item(1);
    const QString id = item->EntryID();

    item->setSubject(QStringLiteral("{S:99%} Offer \u00E9"));
    item->save();
    EXPECT_FALSE(QFile::exists(original));
    const QStringList now = tree.files(QString());
    ASSERT_EQ(now.size(), 1);
    const MaildirFileName name = MaildirFileName::parse(QFileInfo(now[0]).fileName());
    EXPECT_EQ(name.flags, QStringLiteral("FS"));
    const QByteArray written = MaildirTree::read(now[0]);
    EXPECT_TRUE(name.base.contains(QStringLiteral(",S=%1").arg(written.size())));
    EXPECT_TRUE(name.base.contains(
        QStringLiteral(",W=%1").arg(written.size() + written.count('\n') - written.count("\r\n"))));
    EXPECT_TRUE(written.contains("Subject: {S:99%} Offer =?")) << written.constData();
    const qsizetype at = written.indexOf("Subject:");
    QByteArray expected = raw;
    expected.replace("Subject: Offer", written.mid(at, written.indexOf("\r\n", at) - at));
    EXPECT_EQ(written, expected);
    EXPECT_EQ(item->EntryID(), id);
    const auto found = app.GetNamespace(QStringLiteral("MAPI"))->GetItemFromID(id);
    EXPECT_EQ(found->subject(), QStringLiteral("{S:99%} Offer \u00E9"));
    EXPECT_TRUE(QDir(tree.root + QStringLiteral("/tmp")).isEmpty());
    EXPECT_TRUE(log.lines.isEmpty()); // saving raises nothing

    // Failing to write leaves the message as it was, in its place.
    QFile::setPermissions(tree.root + QStringLiteral("/tmp"),
                          QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    if (::geteuid() != 0) {
        item->setSubject(QStringLiteral("again"));
        EXPECT_THROW(item->save(), VbError);
        EXPECT_EQ(tree.files(QString()), now);
    }
    QFile::setPermissions(tree.root + QStringLiteral("/tmp"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST(MaildirHost, OwnMovesRaiseTheirEventsAtOnceAndNeverComeBackFromTheWatcher) {
    MaildirTree tree;
    tree.deliver(QString(), rawMail(QStringLiteral("s@shop.example"), QStringLiteral("Offer"),
                                    QStringLiteral("x")));
    MaildirApplication app(tree.root);
    MaildirLiveEvents live(app);
    EventLog log(app);
    const MailItemRef item = app.inbox().Items().Item(1);
    item->setSubject(QStringLiteral("{S:100%} Offer"));
    item->save();
    item->move(app.junk());
    EXPECT_EQ(log.lines, (QStringList{QStringLiteral("remove Inbox"),
                                      QStringLiteral("add Junk {S:100%} Offer")}));
    live.flush();
    EXPECT_EQ(log.lines.size(), 2) << log.lines.join(u'|').toStdString();
    EXPECT_EQ(tree.files(QString()), QStringList());
    ASSERT_EQ(tree.files(QStringLiteral("Junk")).size(), 1);
    EXPECT_EQ(app.junk().Items().Count(), 1);
    EXPECT_EQ(app.inbox().Items().Count(), 0);
    EXPECT_EQ(app.journal().size(), 0);
}

TEST(MaildirHost, WhatOtherClientsDoArrivesAsTheUsersActions) {
    MaildirTree tree;
    const QString waiting = tree.deliver(
        QString(), rawMail(QStringLiteral("a@x.example"), QStringLiteral("Waiting"), {}));
    QStringList inbox;
    for (const char* subject : {"One", "Two", "Three"})
        inbox.append(tree.place(QString(), rawMail(QStringLiteral("b@x.example"),
                                                   QLatin1String(subject), QStringLiteral("t"))));
    MaildirApplication app(tree.root);
    MaildirLiveEvents live(app);
    EventLog log(app);

    live.deliverWaiting();
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_EQ(log.lines[0], QStringLiteral("new ") + entryIdOf(QFileInfo(waiting).fileName()));
    log.lines.clear();

    // Three messages moved together: one action.
    const QStringList inJunk = tree.serverMove(inbox, QStringLiteral("Junk"));
    // The move over nothing at the end leaves no selection standing.
    ASSERT_TRUE(waitUntil([&] { return log.lines.size() >= 8; }));
    EXPECT_EQ(
        log.lines,
        (QStringList{QStringLiteral("beforemove One,Two,Three"), QStringLiteral("remove Inbox"),
                     QStringLiteral("add Junk One"), QStringLiteral("remove Inbox"),
                     QStringLiteral("add Junk Two"), QStringLiteral("remove Inbox"),
                     QStringLiteral("add Junk Three"), QStringLiteral("beforemove ")}));
    log.lines.clear();

    // A flag change is no event; moved back right after (once the watcher
    // has read the first move, as it does within a millisecond when idle),
    // it is two moves. The first, into Trash, is a deletion: nothing is
    // selected, so Junk's removal handler neither trusts the sender nor
    // takes an earlier action's selection for the message.
    const QString flagged = inJunk[0] + QStringLiteral("S");
    QFile::rename(inJunk[0], flagged);
    const QStringList back = tree.serverMove({flagged}, QStringLiteral("Trash"));
    QCoreApplication::processEvents();
    tree.serverMove(back, QStringLiteral("Junk"));
    ASSERT_TRUE(waitUntil([&] { return log.lines.size() >= 8; }))
        << log.lines.join(u'|').toStdString();
    EXPECT_EQ(log.lines,
              (QStringList{QStringLiteral("beforemove "), QStringLiteral("remove Junk"),
                           QStringLiteral("add Trash One"), QStringLiteral("beforemove "),
                           QStringLiteral("beforemove One"), QStringLiteral("remove Trash"),
                           QStringLiteral("add Junk One"), QStringLiteral("beforemove ")}));
    log.lines.clear();

    // New mail, a sent message, a copy, an expunge.
    const QString delivered = tree.deliver(
        QString(), rawMail(QStringLiteral("c@x.example"), QStringLiteral("Fresh"), {}));
    tree.deliver(QStringLiteral("Sent"),
                 rawMail(QStringLiteral("me@home.example"), QStringLiteral("Mine"), {},
                         "Cc: pal@club.example\r\n"));
    QFile::remove(inJunk[1]);
    ASSERT_TRUE(waitUntil([&] { return log.lines.size() >= 5; }));
    EXPECT_TRUE(log.lines.contains(QStringLiteral("add Inbox Fresh")));
    EXPECT_TRUE(
        log.lines.contains(QStringLiteral("new ") + entryIdOf(QFileInfo(delivered).fileName())));
    EXPECT_LT(log.lines.indexOf(QStringLiteral("add Inbox Fresh")),
              log.lines.indexOf(QRegularExpression(QStringLiteral("new .*"))));
    EXPECT_TRUE(log.lines.contains(QStringLiteral("send me@home.example,pal@club.example")))
        << log.lines.join(u'|').toStdString();
    EXPECT_TRUE(log.lines.contains(QStringLiteral("remove Junk")));
    EXPECT_EQ(app.junk().Items().Count(), 2);
    EXPECT_EQ(app.inbox().Items().Count(), 2);
}

TEST(MaildirHost, ABrokenMessageOrARemovedFolderDoesNotStopTheWatcher) {
    MaildirTree tree;
    MaildirApplication app(tree.root);
    QStringList logged;
    MaildirLiveEvents live(app, [&](const QString& line) { logged.append(line); });
    EventLog log(app);

    QDir(tree.folder(QStringLiteral("Work.Projects"))).removeRecursively();
    // Binary junk and an empty file are still messages (of nothing).
    tree.deliver(QString(), QByteArray("\0\x01\xff garbage", 12));
    tree.deliver(QString(), QByteArray());
    ASSERT_TRUE(waitUntil([&] { return log.lines.size() >= 3; }));
    EXPECT_TRUE(logged.join(u'|').contains(QStringLiteral("folder removed")))
        << logged.join(u'|').toStdString();

    tree.deliver(QString(), rawMail(QStringLiteral("c@x.example"), QStringLiteral("Later"), {}));
    ASSERT_TRUE(waitUntil([&] { return log.lines.contains(QStringLiteral("add Inbox Later")); }));

    // A folder made by a client is watched; a message moved into it is a move.
    log.lines.clear();
    for (const char* sub : {"cur", "new", "tmp"})
        QDir().mkpath(tree.folder(QStringLiteral("Archive")) + QLatin1Char('/') +
                      QLatin1String(sub));
    ASSERT_TRUE(
        waitUntil([&] { return logged.join(u'|').contains(QStringLiteral("new folder")); }));
    QString later;
    for (const QString& file : tree.files(QString())) {
        if (MaildirTree::read(file).contains("Subject: Later"))
            later = file;
    }
    tree.serverMove({later}, QStringLiteral("Archive"));
    ASSERT_TRUE(waitUntil([&] { return log.lines.size() >= 3; }));
    EXPECT_EQ(log.lines,
              (QStringList{QStringLiteral("beforemove Later"), QStringLiteral("remove Inbox"),
                           QStringLiteral("beforemove ")}));
    EXPECT_EQ(app.findFolder(QStringLiteral("Archive"))->Items().Count(), 1);

    // The removed folder made again is watched again.
    for (const char* sub : {"cur", "new", "tmp"})
        QDir().mkpath(tree.folder(QStringLiteral("Work.Projects")) + QLatin1Char('/') +
                      QLatin1String(sub));
    ASSERT_TRUE(
        waitUntil([&] { return logged.join(u'|').contains(QStringLiteral("made again")); }));
}
