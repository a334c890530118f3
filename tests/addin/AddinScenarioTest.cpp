// Stories a user lives through, told against the in-memory mail client.
#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"

#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"
#include "support/AddinFixture.h"

#include <QCoreApplication>
#include <QDir>

using namespace velmora;
using namespace velmora::test;
using memory::MemoryFolder;
using memory::MemoryItem;
using memory::MessageContent;

namespace {

int menuPopups(memory::MemoryApplication& app) {
    int count = 0;
    for (const ControlRef& control : app.standardBar().Controls())
        count += control->caption() == QStringLiteral("V&elmora");
    return count;
}

} // namespace

TEST(AddinScenario, FirstStartOnACleanMachine) {
    RecordingSink sink;
    Addin a;
    a.connectToHost();
    EXPECT_TRUE(QFileInfo(a.workRoot).isDir());
    EXPECT_TRUE(QFileInfo(a.workRoot + QStringLiteral("spamdata")).isDir());
    // The thresholds are read before the defaults are written, but the
    // menu's set-up runs the initialisation twice, and the second run reads
    // the defaults the first one wrote.
    EXPECT_EQ(a.connect->state().thresholds.LevelP, 86);
    EXPECT_EQ(a.connect->state().thresholds.LevelT, 94);
    EXPECT_EQ(a.settings.ReadSetting(SettingLevelP), QStringLiteral("6"));
    EXPECT_EQ(a.settings.ReadSetting(SettingLevelT), QStringLiteral("14"));
    EXPECT_EQ(a.settings.ReadSetting(SettingTextP), QStringLiteral("0"));
    EXPECT_EQ(a.data().DatabaseMissing, kTrue);
    EXPECT_EQ(menuPopups(*a.app), 1);

    // The first mail asks for the database; declined, nothing happens.
    const auto first =
        a.app->deliver(mail(QStringLiteral("x@spam.example"), QStringLiteral("Hi"), kSpamBody));
    EXPECT_EQ(a.windows.answerer().shown, (QStringList{QStringLiteral("database prompt"),
                                                       QStringLiteral("unload database prompt")}));
    EXPECT_EQ(a.data().DatabaseMissing, kTrue);
    EXPECT_EQ(first->folder(), &a.app->inbox());

    // Accepted, the database is built from the folders and the mail judged.
    a.app->place(a.app->junk(), mail(QStringLiteral("spammer@shop.example"),
                                     QStringLiteral("Watches"), kSpamBody));
    MessageContent sent =
        mail(QStringLiteral("me@home.example"), QStringLiteral("Re: lunch"), kWorkBody);
    sent.recipients = {QStringLiteral("tom@family.example")};
    a.app->place(a.app->sentItems(), sent);
    a.windows.answerer().answer = HeadlessPromptAnswerer::Answer::Accept;
    const auto second = a.app->deliver(
        mail(QStringLiteral("other@shop.example"), QStringLiteral("Offer"), kSpamBody));
    EXPECT_EQ(a.data().DatabaseMissing, kFalse);
    EXPECT_TRUE(a.windows.isShown());
    EXPECT_EQ(a.fileBytes(kTrustedFile), QByteArray()); // one address: saved as an empty file
    EXPECT_EQ(a.data().TrustedList, stringListOf({"tom@family.example"}));
    EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains("spammer@shop.example"));
    // The picture table is still empty, so nothing can be judged yet.
    EXPECT_EQ(second->folder(), &a.app->inbox());
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('|')).toStdString();
}

TEST(AddinScenario, ConnectingTwiceLeavesOneMenuAndShuttingDownTwiceIsHarmless) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    a.connect->OnDisconnection();
    a.connect = std::make_unique<Connect>(DataFolder(a.workRoot), a.settings, a.windows);
    a.connectToHost();
    EXPECT_EQ(menuPopups(*a.app), 1);
    const ControlRef popup = a.app->standardBar().Controls().last();
    QStringList captions;
    for (const ControlRef& button : popup->Controls()) {
        const auto& memoryButton = static_cast<const memory::MemoryControl&>(*button);
        captions.append(QStringLiteral("%1 %2 %3")
                            .arg(button->caption())
                            .arg(memoryButton.style())
                            .arg(memoryButton.faceId()));
        EXPECT_TRUE(memoryButton.isTemporary());
        EXPECT_TRUE(memoryButton.isEnabled());
    }
    EXPECT_EQ(captions,
              (QStringList{QStringLiteral("&Open Command Bar 3 548"), QStringLiteral("&Help 3 49"),
                           QStringLiteral("&Move Spam from Inbox 3 108")}));
    EXPECT_EQ(a.data().DatabaseMissing, kFalse);
    EXPECT_EQ(a.data().TrustedList.upperBound(), 2);

    // The menu works: the first button shows the tool window, the second help.
    static_cast<memory::MemoryControl&>(*popup->Controls()[0]).click();
    EXPECT_TRUE(a.connect->FormDisplayed());
    static_cast<memory::MemoryControl&>(*popup->Controls()[1]).click();
    EXPECT_EQ(a.windows.helpOpened, 1);

    a.connect->OnBeginShutdown();
    EXPECT_EQ(a.settings.appSetting(QStringLiteral("Settings"), QStringLiteral("DisplayOnConnect")),
              QStringLiteral("1"));
    a.connect->OnDisconnection();
    a.app->quit();
    // Released: mail arriving now is not judged.
    const auto late =
        a.app->deliver(mail(QStringLiteral("x@y.example"), QStringLiteral("Late"), kSpamBody));
    EXPECT_EQ(late->saveCount(), 0);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('|')).toStdString();
}

TEST(AddinScenario, LeftoverPictureFilesAreClearedAtStart) {
    Addin a;
    a.writeSmallDatabase();
    QFile leftover(a.workRoot + QStringLiteral("old.jpg"));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();
    a.connectToHost();
    EXPECT_FALSE(QFile::exists(a.workRoot + QStringLiteral("old.jpg")));
    EXPECT_TRUE(QFileInfo(a.workRoot + QStringLiteral("spamdata")).isDir());
}

TEST(AddinScenario, NewSpamIsMovedToJunkAndNotLearntTwice) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    // Learn one spam by moving it into Junk.
    const auto example = a.app->place(a.app->inbox(), mail(QStringLiteral("spammer@shop.example"),
                                                           QStringLiteral("W"), kSpamBody));
    a.app->userMove({example}, a.app->junk());
    const int records = a.data().TxtTable.upperBound();
    EXPECT_EQ(records, 2);

    const auto items = a.app->deliver(
        {mail(QStringLiteral("new@shop.example"), QStringLiteral("Offer"), kSpamBody),
         mail(QStringLiteral("anna@work.example"), QStringLiteral("Report"), kSpamBody)});
    EXPECT_EQ(items[0]->folder(), &a.app->junk());
    EXPECT_EQ(items[0]->savedSubject(), QStringLiteral("{S:100%} Offer"));
    EXPECT_EQ(items[1]->folder(), &a.app->inbox()); // trusted sender
    // Learnt once, by the classifier, not again by the Junk folder's handler.
    EXPECT_EQ(a.data().TxtTable.upperBound(), records + 1);
    EXPECT_EQ(a.connect->state().flags.SelfMoving, kFalse);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(AddinScenario, ThreeMessagesMovedIntoJunkAreWrittenOnce) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    // From a folder of the user's (a move out of the Inbox would be learnt as
    // good mail first).
    MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
    QList<std::shared_ptr<MemoryItem>> items;
    for (int i = 0; i < 3; ++i)
        items.append(a.app->place(projects, mail(QStringLiteral("s%1@shop.example").arg(i),
                                                 QStringLiteral("S"),
                                                 kSpamBody + QString(i, QLatin1Char('x')))));
    QList<int> linesOnDisk;
    Subscription watch = a.app->junk().Items().ItemAdd.subscribe([&](const MailItemRef&) {
        linesOnDisk.append(int(a.fileBytes(kTxtDataFile).count('\n')));
    });
    a.app->userMove(items, a.app->junk());
    EXPECT_EQ(linesOnDisk, (QList<int>{1, 1, 4})); // seed only, until the third arrives
    EXPECT_EQ(a.connect->SelectionCount, 0);
}

TEST(AddinScenario, TrustedSenderMovedIntoJunkLosesTrust) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto item = a.app->place(
        a.app->inbox(), mail(QStringLiteral("Anna@Work.example"), QStringLiteral("S"), kSpamBody));
    a.app->userMove({item}, a.app->junk());
    EXPECT_EQ(a.data().TrustedList, stringListOf({"tom@family.example"}));
    EXPECT_EQ(a.fileBytes(kTrustedFile), QByteArray()); // one entry left: an empty file
}

TEST(AddinScenario, MessageMovedOutOfJunkLosesItsTagsAndTrustsItsSender) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto spam = a.app->place(a.app->inbox(), mail(QStringLiteral("friend@club.example"),
                                                        QStringLiteral("Win"), kSpamBody));
    a.app->userMove({spam}, a.app->junk());
    ASSERT_EQ(a.data().TxtTable[1].Sender, QStringLiteral("friend@club.example"));
    ASSERT_EQ(a.data().TxtTable[1].Flag, kTrue);

    spam->setSubject(QStringLiteral("{S:100%} {RESTR} Win"));
    spam->save();
    a.app->userMove({spam}, a.app->inbox());
    EXPECT_EQ(spam->savedSubject(), QStringLiteral("Win"));
    EXPECT_EQ(a.data().TrustedList,
              stringListOf({"anna@work.example", "friend@club.example", "tom@family.example"}));
    EXPECT_EQ(a.data().TxtTable[1].Flag, kFalse); // switched off, not deleted
    EXPECT_TRUE(a.fileBytes(kTxtDataFile)
                    .startsWith("G\xB5"
                                "friend@club.example"));

    // The blunt cut: "{S:87%} Win" loses one character of the subject too.
    for (const auto& [before, after] :
         {std::pair{"{S:87%} Win", "in"}, std::pair{"{RESTR} Win", "Win"}}) {
        const auto item = a.app->place(
            a.app->junk(), mail(QStringLiteral("b@x.example"), QLatin1String(before), kWorkBody));
        a.app->userMove({item}, a.app->inbox());
        EXPECT_EQ(item->savedSubject(), QLatin1String(after));
    }
}

TEST(AddinScenario, RemovalWithoutARememberedSelectionDoesNothing) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto item = a.app->place(a.app->junk(), mail(QStringLiteral("b@x.example"),
                                                       QStringLiteral("{S:99%} Hi"), kWorkBody));
    a.app->userDelete({item}); // no explorer guard: nothing remembered
    EXPECT_EQ(item->saveCount(), 0);
    EXPECT_FALSE(a.connect->ActiveSelection.has_value());
}

TEST(AddinScenario, DeletedMessageForgetsItsRecord) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto item = a.app->place(a.app->inbox(), mail(QStringLiteral("promo@shop.example"),
                                                        QStringLiteral("Deals"), kSpamBody));
    a.app->userMove({item}, a.app->junk());
    const int records = a.data().TxtTable.upperBound();
    a.app->userMove({item}, a.app->deletedItems());
    EXPECT_EQ(a.data().TxtTable.upperBound(), records - 1);

    // A subject with characters Normalyse drops keeps its text record.
    const auto accented =
        a.app->place(a.app->inbox(), mail(QStringLiteral("promo2@shop.example"),
                                          QStringLiteral("Deals \u20AC"), kSpamBody));
    a.app->userMove({accented}, a.app->junk());
    const int withAccented = a.data().TxtTable.upperBound();
    a.app->userMove({accented}, a.app->deletedItems());
    EXPECT_EQ(a.data().TxtTable.upperBound(), withAccented);
}

TEST(AddinScenario, SentMailTrustsItsRecipients) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    MessageContent message =
        mail(QStringLiteral("me@home.example"), QStringLiteral("Hello"), kWorkBody);
    message.recipients = {QStringLiteral("New.Friend@Club.example"),
                          QStringLiteral("anna@work.example")};
    a.app->send(message);
    EXPECT_EQ(a.data().TrustedList,
              stringListOf({"anna@work.example", "new.friend@club.example", "tom@family.example"}));
    EXPECT_EQ(a.fileBytes(kTrustedFile),
              QByteArray("anna@work.example\r\nnew.friend@club.example\r\ntom@family.example\r\n"));
    // No recipients: the file is still written.
    QFile::remove(a.dataFile(kTrustedFile));
    a.app->send(mail(QStringLiteral("me@home.example"), QStringLiteral("Note"), kWorkBody));
    EXPECT_TRUE(QFile::exists(a.dataFile(kTrustedFile)));
}

TEST(AddinScenario, DatabaseBuildSettlesATrustedSenderFoundInJunk) {
    for (const auto answer :
         {HeadlessPromptAnswerer::Answer::Close, HeadlessPromptAnswerer::Answer::Accept}) {
        RecordingSink sink;
        Addin a(answer);
        a.writeSmallDatabase();
        MessageContent sent =
            mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"), kWorkBody);
        sent.recipients = {QStringLiteral("pal@club.example"), QStringLiteral("anna@work.example")};
        a.app->place(a.app->sentItems(), sent);
        a.app->place(a.app->junk(),
                     mail(QStringLiteral("Pal@Club.example"), QStringLiteral("Promo"), kSpamBody));
        a.app->place(a.app->junk(),
                     mail(QStringLiteral("spammer@shop.example"), QStringLiteral("W"), kSpamBody));
        MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
        a.app->place(projects,
                     mail(QStringLiteral("boss@work.example"), QStringLiteral("Plan"), kWorkBody));
        MemoryFolder& notes = a.app->addFolder(a.app->store(), QStringLiteral("My Notes"));
        a.app->place(notes,
                     mail(QStringLiteral("skip@me.example"), QStringLiteral("x"), kWorkBody));
        a.connectToHost();
        a.connect->collect_emails();

        const QStringList shown = a.windows.answerer().shown;
        EXPECT_TRUE(shown.contains(QStringLiteral("conflict prompt pal@club.example")))
            << shown.join(QLatin1Char('|')).toStdString();
        QStringList senders;
        for (const TxtRec& rec : a.data().TxtTable)
            senders.append(rec.Sender);
        EXPECT_TRUE(senders.contains(QStringLiteral("boss@work.example")));
        EXPECT_FALSE(
            senders.contains(QStringLiteral("skip@me.example"))); // "Notes" folders are skipped
        if (answer == HeadlessPromptAnswerer::Answer::Close) {
            // Junk: no longer trusted, still learnt as spam.
            EXPECT_EQ(a.data().TrustedList, stringListOf({"anna@work.example"}));
            EXPECT_TRUE(senders.contains(QStringLiteral("pal@club.example")));
            EXPECT_EQ(a.app->inbox().Items().Count(), 0);
            // One address is saved as an empty file, as it always was; the
            // two that were there are kept aside, and the user is told.
            ASSERT_EQ(sink.messages.size(), 1);
            EXPECT_TRUE(sink.messages.takeFirst().contains(QStringLiteral("trusteml.dat.saved-")));
        } else {
            // Trusted: its records go and its mail leaves Junk for the Inbox.
            EXPECT_EQ(a.data().TrustedList,
                      stringListOf({"anna@work.example", "pal@club.example"}));
            EXPECT_FALSE(senders.contains(QStringLiteral("pal@club.example")));
            EXPECT_EQ(a.app->inbox().Items().Count(), 1);
        }
        EXPECT_EQ(a.windows.window().counterText(), QStringLiteral("Done"));
        EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(QLatin1Char('|')).toStdString();
    }
}

TEST(AddinScenario, InboxAndUserFoldersAreSweptAndSomeFoldersRefused) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto example = a.app->place(a.app->inbox(), mail(QStringLiteral("spammer@shop.example"),
                                                           QStringLiteral("W"), kSpamBody));
    a.app->userMove({example}, a.app->junk());

    MemoryFolder& archive = a.app->addFolder(a.app->store(), QStringLiteral("Old mail"));
    const auto oldSpam = a.app->place(
        archive, mail(QStringLiteral("x1@shop.example"), QStringLiteral("A"), kSpamBody));
    const auto oldGood = a.app->place(
        archive, mail(QStringLiteral("anna@work.example"), QStringLiteral("B"), kWorkBody));
    a.app->explorer().setCurrentFolder(a.app->folderRef(archive));
    a.connect->move_spamb();
    EXPECT_EQ(oldSpam->folder(), &a.app->junk());
    EXPECT_EQ(oldGood->folder(), &archive);
    EXPECT_EQ(a.windows.window().counterText(), QStringLiteral("Done"));

    const auto inboxSpam = a.app->place(
        a.app->inbox(), mail(QStringLiteral("x2@shop.example"), QStringLiteral("C"), kSpamBody));
    a.connect->CLR_Click();
    EXPECT_EQ(inboxSpam->folder(), &a.app->junk());
    EXPECT_EQ(a.windows.window().statusText(), QStringLiteral("Done"));

    MemoryFolder& notes = a.app->addFolder(a.app->store(), QStringLiteral("Meeting Notes"));
    a.app->explorer().setCurrentFolder(a.app->folderRef(notes));
    a.connect->move_spamb();
    a.app->explorer().setCurrentFolder(a.app->folderRef(a.app->junk()));
    a.connect->move_spamb();
    EXPECT_EQ(sink.messages, (QStringList{QStringLiteral("Please select right folder"),
                                          QStringLiteral("Please select right folder")}));
    EXPECT_EQ(a.connect->state().flags.SelfMoving, kTrue); // kept set by a refused sweep
}

TEST(AddinScenario, MailLeavingTheInboxIsLearntAsGood) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
    const QByteArray trustedBefore = a.fileBytes(kTrustedFile);
    const auto item =
        a.app->place(a.app->inbox(), mail(QStringLiteral("boss@work.example"),
                                          QStringLiteral("{S:100%} Plan"), kWorkBody));
    a.app->userMove({item}, projects);
    EXPECT_EQ(item->savedSubject(), QStringLiteral("Plan"));
    EXPECT_EQ(a.data().TxtTable[1].Sender, QStringLiteral("boss@work.example"));
    EXPECT_EQ(a.data().TxtTable[1].Flag, kFalse);
    EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains("boss@work.example"));
    EXPECT_EQ(a.fileBytes(kTrustedFile), trustedBefore);
}

TEST(AddinScenario, BuildWithEmptySentAndJunkOnlyLearnsTheFolders) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const QByteArray trustedBefore = a.fileBytes(kTrustedFile);
    a.connect->collect_emails();
    EXPECT_EQ(a.data().TrustedList.upperBound(), 0); // emptied in memory only
    EXPECT_EQ(a.fileBytes(kTrustedFile), trustedBefore);
    EXPECT_EQ(a.windows.window().counterText(), QStringLiteral("Done"));
}

TEST(AddinScenario, ClosingTheToolWindowStopsABuild) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    QFile::remove(a.dataFile(kTxtDataFile));
    MessageContent sent = mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"), kWorkBody);
    sent.recipients = {QStringLiteral("pal@club.example")};
    a.app->place(a.app->sentItems(), sent);
    a.app->place(a.app->junk(),
                 mail(QStringLiteral("s@shop.example"), QStringLiteral("W"), kSpamBody));
    // The user closes the window while the sent stage runs.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [&] { a.connect->state().flags.StopBuild = kTrue; },
        Qt::QueuedConnection);
    a.connect->collect_emails();
    EXPECT_EQ(a.connect->state().flags.DatabaseBuilding, kTrue);
    EXPECT_FALSE(QFile::exists(a.dataFile(kTxtDataFile))); // the spam tables are not written
    EXPECT_EQ(a.data().TrustedList, stringListOf({"pal@club.example"}));
    EXPECT_FALSE(a.windows.isShown());
    // Classification stays off until the next start.
    const auto item =
        a.app->deliver(mail(QStringLiteral("s@shop.example"), QStringLiteral("W2"), kSpamBody));
    EXPECT_EQ(item->folder(), &a.app->inbox());
}

TEST(AddinScenario, HandlerFailuresAreReportedWithTheirLabels) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto item = a.app->place(a.app->junk(), mail(QStringLiteral("b@x.example"),
                                                       QStringLiteral("{S:99%} Hi"), kWorkBody));
    item->setFailing(MemoryItem::Operation::Save);
    a.app->userMove({item}, a.app->inbox());
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("Junkremove_error: Automation error")))
        << sink.messages[0].toStdString();
}

TEST(AddinScenario, OnlyMailIsJudgedAndAnEmptyInboxSweepJustSaysDone) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto example = a.app->place(a.app->inbox(), mail(QStringLiteral("spammer@shop.example"),
                                                           QStringLiteral("W"), kSpamBody));
    a.app->userMove({example}, a.app->junk());
    MessageContent meeting =
        mail(QStringLiteral("x@shop.example"), QStringLiteral("Meet"), kSpamBody);
    meeting.itemClass = 53;
    meeting.typeName = QStringLiteral("MeetingItem");
    const auto items = a.app->deliver(
        {mail(QStringLiteral("a1@shop.example"), QStringLiteral("A"), kSpamBody), meeting,
         mail(QStringLiteral("a2@shop.example"), QStringLiteral("B"), kSpamBody)});
    EXPECT_EQ(items[0]->folder(), &a.app->junk());
    EXPECT_EQ(items[1]->folder(), &a.app->inbox());
    EXPECT_EQ(items[2]->folder(), &a.app->junk());

    items[1]->move(a.app->deletedItems());
    ASSERT_EQ(a.app->inbox().Items().Count(), 0);
    a.connect->CLR_Click();
    EXPECT_EQ(a.windows.window().statusText(), QStringLiteral("Done"));
    EXPECT_EQ(a.connect->state().flags.SelfMoving, kFalse);
}

TEST(AddinScenario, BuildLearnsOnlyTheUsersFoldersOneLevelDown) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    MemoryFolder& archive = a.app->addStore(QStringLiteral("Archive Folders"));
    a.app->place(a.app->addFolder(archive, QStringLiteral("2019")),
                 mail(QStringLiteral("archived@x.example"), QStringLiteral("A"), kWorkBody));
    MemoryFolder& clients = a.app->addFolder(a.app->store(), QStringLiteral("Clients"));
    a.app->place(clients, mail(QStringLiteral("own@x.example"), QStringLiteral("A"), kWorkBody));
    MemoryFolder& acme = a.app->addFolder(clients, QStringLiteral("Acme Corporation Projects"));
    a.app->place(acme, mail(QStringLiteral("child@x.example"), QStringLiteral("A"), kWorkBody));
    a.app->place(a.app->addFolder(acme, QStringLiteral("Deep")),
                 mail(QStringLiteral("deep@x.example"), QStringLiteral("A"), kWorkBody));
    a.connect->collect_emails();
    QStringList senders;
    for (const TxtRec& rec : a.data().TxtTable)
        senders.append(rec.Sender);
    EXPECT_TRUE(senders.contains(QStringLiteral("child@x.example")));
    EXPECT_FALSE(senders.contains(QStringLiteral("own@x.example")));      // has subfolders
    EXPECT_FALSE(senders.contains(QStringLiteral("deep@x.example")));     // two levels down
    EXPECT_FALSE(senders.contains(QStringLiteral("archived@x.example"))); // archive store
}

TEST(AddinScenario, PictureMailsAreLearntSwitchedOffAndForgotten) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
    const QByteArray png = pictureFile(solidPicture(60, 60, qRgb(0, 0, 0)), "PNG", 3000);
    const auto item = a.app->place(
        projects, pictureMail(QStringLiteral("pics@shop.example"), QStringLiteral("Look"),
                              QStringLiteral("p.png"), png, QStringLiteral("Shown.png")));
    a.app->userMove({item}, a.app->junk());
    ASSERT_EQ(a.data().PicTable.upperBound(), 2);
    EXPECT_EQ(a.data().PicTable[1].Sender, QStringLiteral("pics@shop.example"));
    EXPECT_EQ(a.data().PicTable[1].Attachment, QStringLiteral("p.png"));
    EXPECT_EQ(a.data().PicTable[1].Flag, kTrue);
    EXPECT_TRUE(a.fileBytes(kPicDataFile).startsWith("S\xB5pics@shop.example"));

    // Out of Junk: the entry is looked up by the attachment's shown name,
    // which differs from the stored file name here, so it stays spam.
    a.app->userMove({item}, projects);
    EXPECT_EQ(a.data().PicTable[1].Flag, kTrue);
    EXPECT_TRUE(
        QFile::exists(a.workRoot + QStringLiteral("Shown.png"))); // deleted by file name only

    // Deleted: the entry with its sender, subject and file name goes.
    a.app->userMove({item}, a.app->deletedItems());
    EXPECT_EQ(a.data().PicTable.upperBound(), 1);
    EXPECT_FALSE(a.fileBytes(kPicDataFile).contains("pics@shop.example"));
}

TEST(FolderNames, CountStatusIsCutToFitTwentyCharacters) {
    EXPECT_EQ(folderCountStatus(QStringLiteral("Projects"), 7), QStringLiteral("Projects 7"));
    // 18 + 1 characters still fit; 19 + 1 do not. A cut name also loses its
    // last character, as it always has.
    EXPECT_EQ(folderCountStatus(QStringLiteral("ABCDEFGHIJKLMNOPQR"), 7),
              QStringLiteral("ABCDEFGHIJKLMNOPQR 7"));
    EXPECT_EQ(folderCountStatus(QStringLiteral("Correspondence with Acme"), 12),
              QStringLiteral("pondence with Acm 12"));
}

TEST(FolderNames, SkippedAndRefusedWords) {
    EXPECT_TRUE(IsSkippedFolderName(QStringLiteral("Inbox")));
    EXPECT_FALSE(IsRefusedFolderName(QStringLiteral("Inbox")));
    EXPECT_TRUE(IsRefusedFolderName(QStringLiteral("Old Sent Mail")));
    EXPECT_TRUE(IsSkippedFolderName(QStringLiteral("Meeting Notes")));
    EXPECT_FALSE(IsSkippedFolderName(QStringLiteral("meeting notes"))); // case-sensitive
    EXPECT_FALSE(IsSkippedFolderName(QStringLiteral("Projects")));
}
