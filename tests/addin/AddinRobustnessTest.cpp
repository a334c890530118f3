// Stories of things going wrong around the add-in: the mail client letting go
// in the middle of work, a client that refuses things, hostile attachment
// names, moves the filter hears about in unusual ways, damaged settings and
// data files. Nothing may crash, and nothing learnt may be lost.
#include "support/AddinFixture.h"

#include "settings/Thresholds.h"
#include "store/DataFileLoads.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace velmora;
using namespace velmora::test;
using memory::MemoryFolder;
using memory::MemoryItem;
using memory::MessageContent;

namespace {

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

MessageContent spamFrom(const QString& sender, const QString& subject = QStringLiteral("Offer")) {
    return mail(sender, subject, kSpamBody);
}

} // namespace

TEST(AddinRobustness, HostQuitsDuringABuild) {
    for (const int yields : {1, 3, 12}) {
        RecordingSink sink;
        Addin a;
        a.connectToHost(); // a first start: the database is missing
        MessageContent sent =
            mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"), kWorkBody);
        sent.recipients = {QStringLiteral("pal@club.example")};
        for (int i = 0; i < 5; ++i)
            a.app->place(a.app->sentItems(), sent);
        for (int i = 0; i < 20; ++i)
            a.app->place(a.app->junk(), spamFrom(QStringLiteral("s%1@shop.example").arg(i)));
        afterYields(yields, [&] { a.app->quit(); });
        a.connect->collect_emails();

        EXPECT_EQ(a.connect->SentFolder, nullptr) << yields;
        // The tool window was closed as the user would close it: the build
        // stopped before its next item, so the tables were not written.
        EXPECT_EQ(a.connect->state().flags.StopBuild, kTrue);
        EXPECT_EQ(a.connect->state().flags.DatabaseBuilding, kTrue);
        EXPECT_FALSE(QFile::exists(a.dataFile(kTxtDataFile)));
        EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
    }
}

TEST(AddinRobustness, HostQuitsDuringASweep) {
    for (const bool inboxMenu : {true, false}) {
        RecordingSink sink;
        Addin a;
        a.writeSmallDatabase();
        a.connectToHost();
        const auto example =
            a.app->place(a.app->inbox(), spamFrom(QStringLiteral("x@shop.example")));
        a.app->userMove({example}, a.app->junk());
        for (int i = 0; i < 6; ++i)
            a.app->place(a.app->inbox(), spamFrom(QStringLiteral("y%1@shop.example").arg(i)));
        afterYields(30, [&] { a.app->quit(); });
        if (inboxMenu)
            a.connect->CLR_Click();
        else
            a.connect->move_spamb();

        // The next use of a released folder is a run-time error, which ends
        // the sweep: silently from the menu, with its message from the window.
        EXPECT_GT(a.app->inbox().Items().Count(), 0);
        if (inboxMenu) {
            EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
        } else {
            EXPECT_EQ(sink.messages,
                      QStringList{QStringLiteral("move_spamb_error: Object variable or With block "
                                                 "variable not set")});
        }
        // Every message is still in exactly one folder.
        EXPECT_EQ(a.app->inbox().Items().Count() + a.app->junk().Items().Count(), 7);
    }
}

TEST(AddinRobustness, HostQuitsWhileNewMailWaitsForTheDatabasePrompt) {
    RecordingSink sink;
    Addin a(HeadlessPromptAnswerer::Answer::Never);
    a.connectToHost(); // the database is missing
    afterYields(2, [&] { a.app->quit(); });
    // The prompt is left open by the quit; the user answers it afterwards.
    afterYields(5, [&] { a.connect->state().flags.PromptAccepted = kTrue; });
    const auto item = a.app->deliver(spamFrom(QStringLiteral("x@shop.example")));

    EXPECT_EQ(a.windows.answerer().shown, (QStringList{QStringLiteral("database prompt"),
                                                       QStringLiteral("unload database prompt")}));
    EXPECT_EQ(item->folder(), &a.app->inbox());
    EXPECT_EQ(a.connect->MapiNamespace, nullptr);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(AddinRobustness, ClientThatRefusesMenuWritesStillGetsTheAddin) {
    for (const char* refused : {"caption", "style", "face", "enabled", "add"}) {
        RecordingSink sink;
        Addin a;
        a.writeSmallDatabase();
        a.app->standardBar().refuse(QLatin1String(refused));
        a.connectToHost();
        // The connection went on past the menu: the database is loaded.
        EXPECT_EQ(a.data().DatabaseMissing, kFalse) << refused;
        EXPECT_EQ(a.data().TrustedList.upperBound(), 2) << refused;
        EXPECT_TRUE(sink.messages.isEmpty()) << refused;
        if (QLatin1String(refused) != QLatin1String("add")) {
            ASSERT_TRUE(a.connect->clr) << refused;
            static_cast<memory::MemoryControl&>(*a.connect->clr.object).click();
            EXPECT_EQ(a.windows.window().statusText(), QStringLiteral("Done")) << refused;
        }
    }
}

TEST(AddinRobustness, ClientWithoutAnExplorerWindow) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.app->closeExplorer();
    a.connectToHost();
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("Object variable or With block variable not set")});
    sink.messages.clear();
    a.connect->move_spamb();
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral(
                  "move_spamb_error: Object variable or With block variable not set")});
}

TEST(AddinRobustness, NestedSweepDoesNotDisturbTheOuterOne) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    for (int i = 1; i <= 8; ++i)
        a.app->place(a.app->inbox(), mail(QStringLiteral("friend%1@home.example").arg(i),
                                          QString::number(i), kWorkBody));
    // Records, at every yield after the nested sweep, what the window shows.
    QStringList shownAfterNested;
    auto watching = std::make_shared<bool>(true);
    std::function<void()> watch = [&, watching] {
        if (!*watching)
            return;
        shownAfterNested.append(a.windows.window().statusText());
        afterYields(1, watch);
    };
    int nested = 0;
    afterYields(3, [&] {
        ++nested;
        a.connect->CLR_Click(); // walks the whole Inbox while the outer sweep waits
        afterYields(1, watch);
    });
    a.connect->CLR_Click();
    *watching = false;
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(nested, 1);
    // The outer sweep went on to the Inbox's last mail; a shared cursor, left
    // at the end by the nested walk, would have ended it at once.
    EXPECT_TRUE(shownAfterNested.contains(QStringLiteral("Sweeping the Inbox:\n\r8")))
        << shownAfterNested.join(u'|').toStdString();
    EXPECT_EQ(a.windows.window().progress(), 100);
    EXPECT_EQ(a.windows.window().statusText(), QStringLiteral("Done"));
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(AddinRobustness, MovesWithoutAnExplorerGuardWaitForTheNextBatch) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const QByteArray before = a.fileBytes(kTxtDataFile);
    // Moved by another program: no BeforeMove, so the count goes to -1.
    const auto quiet = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("quiet@shop.example")));
    quiet->move(a.app->junk());
    EXPECT_EQ(a.connect->SelectionCount, -1);
    EXPECT_EQ(a.fileBytes(kTxtDataFile), before);
    EXPECT_EQ(a.data().TxtTable.upperBound(), 2);

    // The user's move of two sets the count to 2; the first brings it to 1,
    // the second to 0, and both records are written.
    const auto one = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("one@shop.example")));
    const auto two = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("two@shop.example")));
    a.app->userMove({one, two}, a.app->junk());
    EXPECT_EQ(a.connect->SelectionCount, 0);
    for (const char* sender : {"quiet@shop.example", "one@shop.example", "two@shop.example"})
        EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains(sender)) << sender;
}

TEST(AddinRobustness, MoveEventOrderDecidesWhatIsLearnt) {
    // Inbox to Junk: the contract's order (BeforeMove, the Inbox's
    // ItemRemove, the Junk's ItemAdd) ends with a spam record; Add before
    // Remove would end with the same record flagged as good mail.
    for (const bool contractOrder : {true, false}) {
        Addin a;
        a.writeSmallDatabase();
        a.connectToHost();
        const auto item =
            a.app->place(a.app->inbox(), spamFrom(QStringLiteral("order@shop.example")));
        a.app->explorer().setSelection({item});
        a.app->explorer().BeforeMove.raise();
        if (contractOrder) {
            a.app->inbox().takeItem(item);
            a.app->inbox().raiseItemRemove();
            a.app->junk().addItem(item);
        } else {
            a.app->inbox().takeItem(item);
            a.app->junk().addItem(item);
            a.app->inbox().raiseItemRemove();
        }
        const TxtRecords& table = a.data().TxtTable;
        const auto found = std::find_if(table.begin(), table.end(), [](const TxtRec& rec) {
            return rec.Sender == QStringLiteral("order@shop.example");
        });
        ASSERT_NE(found, table.end());
        EXPECT_EQ(found->Flag, contractOrder ? kTrue : kFalse);
    }
}

TEST(AddinRobustness, HostileAttachmentNamesStayInsideTheWorkRoot) {
    const QByteArray png = pictureFile(solidPicture(60, 60, qRgb(0, 0, 0)), "PNG", 3000);
    const QString nul = QStringLiteral("a") + QChar(0) + QStringLiteral("b.png");
    const QString longName = QString(300, u'x') + QStringLiteral(".png");
    QString longForeignName;
    for (int i = 0; i < 120; ++i)
        longForeignName += QStringLiteral("\u00E9\u65E5\U0001F600");
    longForeignName += QStringLiteral(".png");
    for (const QString& name :
         {QStringLiteral("../victim.png"), QStringLiteral("..\\victim.png"), nul,
          QStringLiteral(".."), QStringLiteral(".hidden.png"), QStringLiteral("*.png"), longName,
          longForeignName, QStringLiteral("sub/dir/../../../victim.png")}) {
        RecordingSink sink;
        Addin a;
        a.writeSmallDatabase();
        a.connectToHost();
        const QString victim = a.home.file(QStringLiteral("data/victim.png"));
        QFile(victim).open(QIODevice::WriteOnly);
        const QString outside = a.home.file(QStringLiteral("data/x.png"));

        MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
        const auto item =
            a.app->place(projects, pictureMail(QStringLiteral("pics@shop.example"),
                                               QStringLiteral("Look"), name, png, name));
        a.app->userMove({item}, a.app->junk());
        a.app->userMove({item}, projects); // deletes the saved file by name
        EXPECT_TRUE(QFile::exists(victim)) << name.toStdString();
        EXPECT_FALSE(QFile::exists(outside));
        const QStringList left = filesIn(a.workRoot);
        for (const QString& file : left) {
            EXPECT_FALSE(file.startsWith(u'.')) << file.toStdString();
            EXPECT_LE(file.toUtf8().size(), 255);
        }
        // The next start clears every file it left there.
        a.connect->OnDisconnection();
        a.connectToHost();
        EXPECT_EQ(filesIn(a.workRoot), QStringList()) << name.toStdString();
    }
}

TEST(AddinRobustness, DisplayAndFileNamesThatDifferStayDifferentFiles) {
    // Taken out of Junk, a picture is saved under its display name and
    // deleted under its file name: when the two differ only in characters
    // that are made safe, the saved file must still stay behind, as it would
    // with the names themselves.
    const QByteArray png = pictureFile(solidPicture(60, 60, qRgb(0, 0, 0)), "PNG", 3000);
    for (const auto& [display, file] :
         {std::pair{QStringLiteral("a/b.png"), QStringLiteral("a_b.png")},
          std::pair{QStringLiteral("a%2Fb.png"), QStringLiteral("a/b.png")},
          std::pair{QStringLiteral("same.png"), QStringLiteral("same.png")}}) {
        RecordingSink sink;
        Addin a;
        a.writeSmallDatabase();
        a.connectToHost();
        MemoryFolder& projects = a.app->addFolder(a.app->store(), QStringLiteral("Projects"));
        const auto item =
            a.app->place(projects, pictureMail(QStringLiteral("pics@shop.example"),
                                               QStringLiteral("Look"), file, png, display));
        a.app->userMove({item}, a.app->junk());
        a.app->userMove({item}, projects); // saves by display name, deletes by file name
        EXPECT_EQ(filesIn(a.workRoot).size(), display == file ? 0 : 1) << display.toStdString();
    }
}

TEST(AddinRobustness, UndecodablePictureDoesNotPoisonTheNextOneOfItsName) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const QByteArray spamPicture =
        pictureFile(solidPicture(80, 60, qRgb(200, 10, 250)), "PNG", 3000);
    const auto example = a.app->place(
        a.app->inbox(), pictureMail(QStringLiteral("pics@shop.example"), QStringLiteral("Buy"),
                                    QStringLiteral("image001.png"), spamPicture));
    a.app->userMove({example}, a.app->junk());
    ASSERT_EQ(a.data().PicTable[1].Sender, QStringLiteral("pics@shop.example"));

    const auto broken =
        a.app->deliver(pictureMail(QStringLiteral("other@shop.example"), QStringLiteral("Hi"),
                                   QStringLiteral("image001.png"), QByteArray(2000, 'z')));
    EXPECT_EQ(broken->folder(), &a.app->inbox());
    EXPECT_FALSE(QFile::exists(a.workRoot + QStringLiteral("image001.png")));

    const auto good =
        a.app->deliver(pictureMail(QStringLiteral("third@shop.example"), QStringLiteral("Buy now"),
                                   QStringLiteral("image001.png"), spamPicture));
    EXPECT_EQ(good->folder(), &a.app->junk());
    EXPECT_TRUE(good->savedSubject().startsWith(QStringLiteral("{S:")))
        << good->savedSubject().toStdString();
}

TEST(AddinRobustness, HandEditedTypedSettingsAreReadAsTextAtStart) {
    // Lines a settings library would turn into a bitmap (which needs a GUI),
    // a 2 GB byte array and a number; only the number is taken.
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    QFile ini(a.settings.fileName());
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ini.write("[CorvanelVelmora]\n"
              "LevelP=@Variant(\\0\\0\\0I\\0\\0\\0\\x1)\n"
              "LevelT=@Variant(\\0\\0\\0\\f\\x7f\\xff\\xff\\xff)\n"
              "TextP=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x1)\n");
    ini.close();
    const QByteArray learnt = a.fileBytes(kTxtDataFile);
    a.connectToHost();
    EXPECT_EQ(a.settings.ReadSetting(SettingTextP), QStringLiteral("1"));
    EXPECT_GT(a.data().TxtTable.upperBound(), 0); // the start went through to the tables
    EXPECT_EQ(a.fileBytes(kTxtDataFile), learnt);
    EXPECT_EQ(QDir(a.data().folder.dataFolder()).entryList({QStringLiteral("*.saved-*")}),
              QStringList());
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(AddinRobustness, LevelOutOfRangeAtStartKeepsTheTablesAside) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.settings.WriteSetting(QStringLiteral("99999"), SettingLevelT);
    a.connectToHost();
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("Overflow (LevelT = \"99999\" in ")))
        << sink.messages[0].toStdString();
    EXPECT_EQ(a.data().TxtTable.upperBound(), 0); // the start ended before the tables
    sink.messages.clear();

    const QByteArray learnt = a.fileBytes(kTxtDataFile);
    const auto item = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("new@shop.example")));
    a.app->userMove({item}, a.app->junk());
    // The table of one record is saved, as it always was; the old file is kept.
    EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains("new@shop.example"));
    EXPECT_FALSE(a.fileBytes(kTxtDataFile).contains("zz-seed@text.example"));
    const QStringList kept =
        QDir(a.data().folder.dataFolder()).entryList({QStringLiteral("txtdata.dat.saved-*")});
    ASSERT_EQ(kept.size(), 1);
    QFile keptFile(a.data().folder.dataFile(kept[0]));
    ASSERT_TRUE(keptFile.open(QIODevice::ReadOnly));
    EXPECT_EQ(keptFile.readAll(), learnt);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("start ended early (Overflow (LevelT")))
        << sink.messages[0].toStdString();
}

TEST(AddinRobustness, DataFileReplacedByAFolderLeavesTheOthersAlone) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    QFile::remove(a.dataFile(kPicDataFile));
    QDir().mkpath(a.dataFile(kPicDataFile));
    const QByteArray trusted = a.fileBytes(kTrustedFile);
    a.connectToHost();
    EXPECT_EQ(a.data().DatabaseMissing, kFalse);
    EXPECT_EQ(a.data().TrustedList.upperBound(), 2);
    EXPECT_EQ(a.data().TxtTable.upperBound(), 1);
    ASSERT_EQ(sink.messages.size(), 2);
    EXPECT_TRUE(sink.messages[0].endsWith(QStringLiteral("picdata.dat is not a regular file")));
    EXPECT_TRUE(sink.messages[1].startsWith(QStringLiteral("ReadPicTable_error: ")));

    // Learning goes on; the text table grows, the folder stays a folder.
    const auto item = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("new@shop.example")));
    a.app->userMove({item}, a.app->junk());
    EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains("new@shop.example"));
    EXPECT_TRUE(a.fileBytes(kTxtDataFile).contains("zz-seed@text.example"));
    EXPECT_TRUE(QFileInfo(a.dataFile(kPicDataFile)).isDir());
    EXPECT_EQ(a.fileBytes(kTrustedFile), trusted);
}

TEST(AddinRobustness, TablesStopAtTheirLimitWithoutLosingWhatWasLearnt) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    // A full text table; the new sender sorts first, so it is inserted at once.
    TxtRecords& table = a.data().TxtTable;
    table.reset();
    for (int i = 0; i < TxtRecords::kMaxEntries; ++i) {
        TxtRec rec;
        rec.Sender = QStringLiteral("s%1@full.example").arg(i, 5, 10, QLatin1Char('0'));
        table.append(rec);
    }
    const auto item = a.app->place(a.app->inbox(), spamFrom(QStringLiteral("a@first.example")));
    a.app->userMove({item}, a.app->junk());
    EXPECT_EQ(table.upperBound(), TxtRecords::kMaxEntries);
    ASSERT_FALSE(sink.messages.isEmpty());
    EXPECT_TRUE(
        sink.messages[0].startsWith(QStringLiteral("AddTxtEmail: Overflow (the table is full")))
        << sink.messages[0].toStdString();
}

TEST(AddinRobustness, SubjectIsWrittenOnlyWhenATagComesOff) {
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    const auto plain = a.app->place(
        a.app->junk(), spamFrom(QStringLiteral("p@shop.example"), QStringLiteral("No tag here")));
    const auto tagged = a.app->place(a.app->junk(), spamFrom(QStringLiteral("t@shop.example"),
                                                             QStringLiteral("{RESTR} Tagged")));
    a.app->userMove({plain, tagged}, a.app->inbox());
    EXPECT_EQ(plain->subjectWrites(), 0);
    EXPECT_EQ(plain->saveCount(), 1); // saved all the same
    EXPECT_EQ(tagged->subjectWrites(), 1);
    EXPECT_EQ(tagged->savedSubject(), QStringLiteral("Tagged"));
}
