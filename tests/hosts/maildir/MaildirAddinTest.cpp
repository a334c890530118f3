// The add-in attached to a Maildir on disk, with other clients' actions
// coming in through the watcher: what a user of `velmora watch` sees.
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirFixture.h"
#include "hosts/maildir/MaildirLiveEvents.h"

#include "analysis/TrustedAddresses.h"
#include "support/AddinFixture.h"

#include <QFileInfo>

using namespace velmora;
using namespace velmora::maildir;
using namespace velmora::test;

namespace {

struct WatchedMaildir {
    explicit WatchedMaildir(MaildirTree& tree)
        : app(std::make_shared<MaildirApplication>(tree.root)) {
        writeSmallDatabase(workRoot, settings);
        connect.OnConnection(app);
    }

    TempFolder home;
    QString workRoot = home.file(QStringLiteral("data/CORVANELSPAM/"));
    SettingsStore settings{home.file(QStringLiteral("config/velmora.ini"))};
    std::shared_ptr<MaildirApplication> app;
    MaildirLiveEvents live{*app};
    HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
    Connect connect{DataFolder(workRoot), settings, windows};

    SpamData& data() { return connect.state().data; }
    bool knows(const QString& sender) {
        for (const TxtRec& rec : data().TxtTable) {
            if (rec.Sender == sender)
                return true;
        }
        return false;
    }
};

QStringList subjectsIn(const MaildirTree& tree, const QString& folder) {
    QStringList subjects;
    for (const QString& file : tree.files(folder)) {
        const QByteArray raw = MaildirTree::read(file);
        const qsizetype at = raw.indexOf("Subject: ") + 9;
        subjects.append(QString::fromUtf8(raw.mid(at, raw.indexOf("\r\n", at) - at)));
    }
    return subjects;
}

} // namespace

TEST(MaildirAddin, SpamIsLearntFromMovesCaughtOnArrivalAndForgivenWhenMovedOut) {
    RecordingSink sink;
    MaildirTree tree;
    const QString example =
        tree.place(QStringLiteral("Work.Projects"), rawMail(QStringLiteral("spammer@shop.example"),
                                                            QStringLiteral("Watches"), kSpamBody));
    WatchedMaildir w(tree);

    // The user moves a spam into Junk in their mail client: it is learnt.
    tree.serverMove({example}, QStringLiteral("Junk"));
    ASSERT_TRUE(waitUntil([&] { return w.knows(QStringLiteral("spammer@shop.example")); }));

    // The same kind of mail arrives: it is tagged and moved into Junk.
    tree.deliver(QString(),
                 rawMail(QStringLiteral("new@shop.example"), QStringLiteral("Offer"), kSpamBody));
    ASSERT_TRUE(waitUntil([&] { return tree.files(QStringLiteral("Junk")).size() == 2; }));
    EXPECT_EQ(tree.files(QString()), QStringList());
    EXPECT_TRUE(subjectsIn(tree, QStringLiteral("Junk")).contains(QStringLiteral("{S:100%} Offer")))
        << subjectsIn(tree, QStringLiteral("Junk")).join(u'|').toStdString();

    // Moved back out by the user: its tag goes and its sender is trusted.
    QString caught;
    for (const QString& file : tree.files(QStringLiteral("Junk"))) {
        if (MaildirTree::read(file).contains("{S:100%} Offer"))
            caught = file;
    }
    tree.serverMove({caught}, QString());
    ASSERT_TRUE(waitUntil([&] {
        return subjectsIn(tree, QString()) == QStringList{QStringLiteral("Offer")};
    })) << subjectsIn(tree, QString()).join(u'|').toStdString();
    EXPECT_GE(SearchinTrust(w.data().TrustedList, QStringLiteral("new@shop.example")), 1);
    EXPECT_EQ(tree.files(QString()).size() + tree.files(QStringLiteral("Junk")).size(), 2);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(MaildirAddin, ThreeMessagesMovedTogetherWriteTheTableOnce) {
    RecordingSink sink;
    MaildirTree tree;
    QStringList files;
    for (int i = 0; i < 3; ++i)
        files.append(tree.place(QStringLiteral("Work.Projects"),
                                rawMail(QStringLiteral("s%1@shop.example").arg(i),
                                        QStringLiteral("S"), kSpamBody + QString(i, u'x'))));
    WatchedMaildir w(tree);
    const QString table = w.data().folder.dataFile(kTxtDataFile);
    QList<qsizetype> linesOnDisk;
    std::vector<Subscription> watch;
    watch.push_back(w.app->junk().Items().ItemAdd.subscribe(
        [&](const MailItemRef&) { linesOnDisk.append(MaildirTree::read(table).count('\n')); }));

    tree.serverMove(files, QStringLiteral("Junk"));
    ASSERT_TRUE(waitUntil([&] { return linesOnDisk.size() == 3; }));
    EXPECT_EQ(linesOnDisk, (QList<qsizetype>{1, 1, 4})); // the seed only, until the third
    EXPECT_EQ(w.data().TxtTable.upperBound(), 4);
    EXPECT_EQ(w.connect.SelectionCount, 0);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(MaildirAddin, MovesBetweenOtherFoldersAtTheSameMomentAreSeparateActions) {
    RecordingSink sink;
    MaildirTree tree;
    const QString spam = tree.place(QString(), rawMail(QStringLiteral("spammer@shop.example"),
                                                       QStringLiteral("Watches"), kSpamBody));
    const QString good =
        tree.place(QStringLiteral("Junk"),
                   rawMail(QStringLiteral("friend@home.example"), QStringLiteral("Dinner"),
                           QStringLiteral("Dinner at eight on Friday?\nBring the photos.\n")));
    WatchedMaildir w(tree);
    const auto trusted = [&](const QString& sender) {
        return SearchinTrust(w.data().TrustedList, sender) >= 1;
    };

    // Two clients at once: one files a spam from the Inbox into Junk, the
    // other rescues good mail from Junk into a folder. Each is its own action:
    // the rescued sender is trusted, the spam learnt and its sender not.
    tree.serverMove({spam}, QStringLiteral("Junk"));
    tree.serverMove({good}, QStringLiteral("Work.Projects"));
    ASSERT_TRUE(waitUntil([&] {
        return trusted(QStringLiteral("friend@home.example")) &&
               w.knows(QStringLiteral("spammer@shop.example"));
    }));
    EXPECT_FALSE(trusted(QStringLiteral("spammer@shop.example")));
    for (const TxtRec& rec : w.data().TxtTable) {
        if (rec.Sender == QStringLiteral("spammer@shop.example")) {
            EXPECT_NE(rec.Flag, kFalse);
        }
    }
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

// Deleting a spam in Junk (another client moves it to Trash) does not trust
// its sender; and a message deleted outright from the Inbox is not confused
// with the one an earlier action left selected (a spam filed from a folder
// of the user's into Junk, which no removal handler clears): that one is neither learnt as
// good nor stripped of its tag in Junk.
TEST(MaildirAddin, DeletionsLearnNothingFromAnEarlierSelection) {
    RecordingSink sink;
    MaildirTree tree;
    const QString archived = tree.place(QStringLiteral("Work.Projects"),
                                        rawMail(QStringLiteral("tagged@shop.example"),
                                                QStringLiteral("{S:100%} Watches"), kSpamBody));
    const QString junk =
        tree.place(QStringLiteral("Junk"), rawMail(QStringLiteral("other@shop.example"),
                                                   QStringLiteral("Pills"), kSpamBody + u'x'));
    const QString doomed = tree.place(
        QString(), rawMail(QStringLiteral("friend@home.example"), QStringLiteral("Dinner"),
                           QStringLiteral("Dinner at eight on Friday?\nBring the photos.\n")));
    WatchedMaildir w(tree);
    const auto trusted = [&](const QString& sender) {
        return SearchinTrust(w.data().TrustedList, sender) >= 1;
    };

    tree.serverMove({archived}, QStringLiteral("Junk"));
    ASSERT_TRUE(waitUntil([&] { return w.knows(QStringLiteral("tagged@shop.example")); }));
    QFile::remove(doomed);
    ASSERT_TRUE(waitUntil([&] { return w.app->inbox().Items().Count() == 0; }));
    w.live.flush();
    EXPECT_EQ(subjectsIn(tree, QStringLiteral("Junk")).size(), 2);
    EXPECT_TRUE(
        subjectsIn(tree, QStringLiteral("Junk")).contains(QStringLiteral("{S:100%} Watches")));
    EXPECT_FALSE(trusted(QStringLiteral("tagged@shop.example")));

    tree.serverMove({junk}, QStringLiteral("Trash"));
    ASSERT_TRUE(waitUntil([&] { return w.app->trash().Items().Count() == 1; }));
    w.live.flush();
    EXPECT_FALSE(trusted(QStringLiteral("other@shop.example")));
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

// Spam the server files into Junk arrives as a copy and is learnt as spam.
// The filter's own next move of new spam out of the Inbox must not take it
// for the message leaving the Inbox and learn it as good mail.
TEST(MaildirAddin, SpamFiledByTheServerStaysSpamAfterTheFiltersOwnMove) {
    RecordingSink sink;
    MaildirTree tree;
    WatchedMaildir w(tree);
    tree.deliver(QStringLiteral("Junk"), rawMail(QStringLiteral("filed@shop.example"),
                                                 QStringLiteral("Watches"), kSpamBody));
    ASSERT_TRUE(waitUntil([&] { return w.knows(QStringLiteral("filed@shop.example")); }));
    tree.deliver(QString(), rawMail(QStringLiteral("filed@shop.example"), QStringLiteral("Again"),
                                    kSpamBody + u'x'));
    ASSERT_TRUE(waitUntil([&] { return tree.files(QStringLiteral("Junk")).size() == 2; }));
    w.live.flush();
    for (const TxtRec& rec : w.data().TxtTable) {
        if (rec.Sender == QStringLiteral("filed@shop.example")) {
            EXPECT_NE(rec.Flag, kFalse) << "learnt as good mail";
        }
    }
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}
