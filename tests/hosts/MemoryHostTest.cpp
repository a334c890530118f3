#include "hosts/memory/MemoryApplication.h"

#include "base/VbError.h"

#include "support/FilterFixture.h"

using namespace velmora;
using namespace velmora::memory;
using velmora::test::mail;

TEST(MemoryHost, ArrivingMailRaisesItemAddThenOneNewMailEx) {
    MemoryApplication app;
    QStringList events;
    Subscription added = app.inbox().Items().ItemAdd.subscribe(
        [&](const MailItemRef& item) { events.append(QStringLiteral("add ") + item->subject()); });
    Subscription newMail = app.NewMailEx.subscribe(
        [&](const QString& ids) { events.append(QStringLiteral("new ") + ids); });

    MessageContent meeting = mail(QStringLiteral("a@x.example"), QStringLiteral("Meet"), QString());
    meeting.itemClass = 53;
    meeting.typeName = QStringLiteral("MeetingItem");
    const auto items =
        app.deliver({mail(QStringLiteral("a@x.example"), QStringLiteral("One"), {}), meeting});
    EXPECT_EQ(events, (QStringList{QStringLiteral("add One"), QStringLiteral("add Meet"),
                                   QStringLiteral("new ") + items[0]->EntryID() + QLatin1Char(',') +
                                       items[1]->EntryID()}));
    const auto mapi = app.GetNamespace(QStringLiteral("MAPI"));
    EXPECT_EQ(mapi->GetItemFromID(items[1]->EntryID())->typeName(), QStringLiteral("MeetingItem"));
    EXPECT_EQ(mapi->GetItemFromID(items[1]->EntryID())->itemClass(), 53);
    EXPECT_THROW(mapi->GetItemFromID(QStringLiteral("nope")), VbError);

    // Clearing the subscription stops the events.
    added.reset();
    app.deliver(mail(QStringLiteral("b@x.example"), QStringLiteral("Two"), {}));
    EXPECT_EQ(events.size(), 4);
    EXPECT_TRUE(events.last().startsWith(QStringLiteral("new ")));
}

TEST(MemoryHost, DefaultFoldersAndUserFolders) {
    MemoryApplication app;
    const auto mapi = app.GetNamespace(QStringLiteral("MAPI"));
    EXPECT_EQ(mapi->GetDefaultFolder(DefaultFolderJunk)->Name(), QStringLiteral("Junk E-mail"));
    EXPECT_EQ(mapi->GetDefaultFolder(DefaultFolderInbox)->Name(), QStringLiteral("Inbox"));
    EXPECT_EQ(mapi->GetDefaultFolder(DefaultFolderSent)->Name(), QStringLiteral("Sent Items"));
    EXPECT_EQ(mapi->GetDefaultFolder(DefaultFolderDeleted)->Name(),
              QStringLiteral("Deleted Items"));
    EXPECT_THROW(mapi->GetDefaultFolder(99), VbError);
    EXPECT_NE(mapi->GetDefaultFolder(DefaultFolderJunk)->EntryID(),
              mapi->GetDefaultFolder(DefaultFolderInbox)->EntryID());

    MemoryFolder& projects = app.addFolder(app.store(), QStringLiteral("Projects"));
    app.addFolder(projects, QStringLiteral("2026"));
    ASSERT_EQ(mapi->Folders().size(), 1);
    const QList<FolderRef> top = mapi->Folders()[0]->Folders();
    EXPECT_EQ(top.last()->Name(), QStringLiteral("Projects"));
    EXPECT_EQ(top.last()->Folders()[0]->Name(), QStringLiteral("2026"));
    EXPECT_THROW(app.GetNamespace(QStringLiteral("OTHER")), VbError);
}

TEST(MemoryHost, UserMovesRaiseTheExplorerGuardThenRemoveAndAdd) {
    MemoryApplication app;
    const auto a = app.place(app.inbox(), mail(QStringLiteral("a@x"), QStringLiteral("A"), {}));
    const auto b = app.place(app.inbox(), mail(QStringLiteral("b@x"), QStringLiteral("B"), {}));
    QStringList events;
    Subscription guard = app.explorer().BeforeMove.subscribe([&] {
        events.append(
            QStringLiteral("before move, %1 selected").arg(app.explorer().Selection().size()));
    });
    Subscription removed = app.inbox().Items().ItemRemove.subscribe(
        [&] { events.append(QStringLiteral("inbox remove")); });
    Subscription junkAdd = app.junk().Items().ItemAdd.subscribe([&](const MailItemRef& item) {
        events.append(QStringLiteral("junk add ") + item->subject());
    });
    app.userMove({a, b}, app.junk());
    EXPECT_EQ(events, (QStringList{QStringLiteral("before move, 2 selected"),
                                   QStringLiteral("inbox remove"), QStringLiteral("junk add A"),
                                   QStringLiteral("inbox remove"), QStringLiteral("junk add B")}));
    EXPECT_EQ(app.inbox().Items().Count(), 0);
    EXPECT_EQ(app.junk().Items().Count(), 2);

    // A moved item's old handle is stale in its old folder but the item lives on.
    a->setSubject(QStringLiteral("A2"));
    a->save();
    EXPECT_EQ(a->savedSubject(), QStringLiteral("A2"));

    events.clear();
    Subscription cut =
        app.explorer().BeforeItemCut.subscribe([&] { events.append(QStringLiteral("cut")); });
    Subscription paste = app.explorer().BeforeItemPaste.subscribe([&](const FolderRef& target) {
        events.append(QStringLiteral("paste into ") + target->Name());
    });
    app.userCutPaste({b}, app.inbox());
    EXPECT_EQ(events.mid(0, 2),
              (QStringList{QStringLiteral("cut"), QStringLiteral("paste into Inbox")}));
}

TEST(MemoryHost, WalkPassesOverTheItemAfterOneThatMovedAway) {
    MemoryApplication app;
    for (const char* s : {"1", "2", "3", "4", "5"})
        app.place(app.inbox(), mail(QStringLiteral("a@x"), QLatin1String(s), {}));
    HostItems& items = app.inbox().Items();
    QStringList seen;
    const auto walk = items.newWalk();
    EXPECT_EQ(walk->GetNext(), nullptr); // not started
    for (MailItemRef item = walk->GetFirst(); item; item = walk->GetNext()) {
        seen.append(item->subject());
        if (item->subject() == QStringLiteral("2"))
            item->move(app.junk()); // "3" slides into the cursor's place
        if (item->subject() == QStringLiteral("4"))
            items.Item(1)->move(app.junk()); // an earlier item: nothing is passed over
    }
    EXPECT_EQ(seen, (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("4"),
                                 QStringLiteral("5")}));
    EXPECT_EQ(items.Count(), 3);
    EXPECT_EQ(items.Item(1)->subject(), QStringLiteral("3"));
    EXPECT_THROW(items.Item(4), VbError);
}

TEST(MemoryHost, EachWalkHasItsOwnCursor) {
    MemoryApplication app;
    for (const char* s : {"1", "2", "3"})
        app.place(app.inbox(), mail(QStringLiteral("a@x"), QLatin1String(s), {}));
    HostItems& items = app.inbox().Items();
    QStringList outer, inner;
    const auto outerWalk = items.newWalk();
    for (MailItemRef item = outerWalk->GetFirst(); item; item = outerWalk->GetNext()) {
        outer.append(item->subject());
        if (item->subject() == QStringLiteral("2")) {
            // A second sweep started while the first one yields.
            const auto innerWalk = items.newWalk();
            for (MailItemRef i = innerWalk->GetFirst(); i; i = innerWalk->GetNext())
                inner.append(i->subject());
        }
    }
    EXPECT_EQ(outer, (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
    EXPECT_EQ(inner, outer);
}

TEST(MemoryHost, SentMailAndAttachments) {
    velmora::test::TempFolder dir;
    MemoryApplication app;
    QStringList recipients;
    Subscription sent =
        app.ItemSend.subscribe([&](const MailItemRef& item) { recipients = item->Recipients(); });
    MessageContent message =
        mail(QStringLiteral("me@x"), QStringLiteral("Hi"), QStringLiteral("x"));
    message.recipients = {QStringLiteral("a@y"), QStringLiteral("b@z")};
    message.attachments.append({QStringLiteral("photo.JPG"), QStringLiteral("Photo.jpg"), "bytes"});
    const auto item = app.send(message);
    EXPECT_EQ(recipients, message.recipients);
    EXPECT_EQ(app.sentItems().Items().Count(), 1);
    ASSERT_EQ(item->attachmentCount(), 1);
    EXPECT_EQ(item->attachment(1)->fileName(), QStringLiteral("photo.JPG"));
    EXPECT_EQ(item->attachment(1)->displayName(), QStringLiteral("Photo.jpg"));
    item->attachment(1)->saveAsFile(dir.file(QStringLiteral("p.jpg")));
    EXPECT_EQ(dir.readBytes(QStringLiteral("p.jpg")), QByteArray("bytes"));
    EXPECT_THROW(item->attachment(2), VbError);
    EXPECT_THROW(item->attachment(1)->saveAsFile(dir.file(QStringLiteral("no/p.jpg"))), VbError);
}

TEST(MemoryHost, CommandBarControls) {
    MemoryApplication app;
    const auto bars = app.ActiveExplorer()->commandBars();
    EXPECT_EQ(bars->Item(QStringLiteral("Other")), nullptr);
    const auto bar = bars->Item(QStringLiteral("Standard"));
    const ControlRef popup = bar->add(ControlType::Popup, true);
    popup->setCaption(QStringLiteral("V&elmora"));
    const ControlRef button = popup->add(ControlType::Button, true);
    int clicks = 0;
    Subscription click = button->Click.subscribe([&] { ++clicks; });
    static_cast<MemoryControl&>(*button).click();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(bar->Controls().size(), 1);
    popup->deleteControl();
    EXPECT_EQ(bar->Controls().size(), 0);
}

TEST(MemoryHost, RemovalHandlersCanStillSaveTheMovingItems) {
    MemoryApplication app;
    const auto a =
        app.place(app.junk(), mail(QStringLiteral("a@x"), QStringLiteral("{S:90%} A"), {}));
    QStringList where;
    Subscription removed = app.junk().Items().ItemRemove.subscribe([&] {
        for (const MailItemRef& item : app.explorer().Selection()) {
            item->setSubject(QStringLiteral("A"));
            item->save();
            where.append(static_cast<MemoryItem&>(*item).folder()->Name());
        }
    });
    app.userMove({a}, app.inbox());
    EXPECT_EQ(where, QStringList{QStringLiteral("Inbox")});
    EXPECT_EQ(a->savedSubject(), QStringLiteral("A"));
}

TEST(MemoryHost, CopyDeleteStoresAndClosing) {
    MemoryApplication app;
    const auto a = app.place(app.inbox(), mail(QStringLiteral("a@x"), QStringLiteral("A"), {}));
    QStringList events;
    Subscription copy =
        app.explorer().BeforeItemCopy.subscribe([&] { events.append(QStringLiteral("copy")); });
    Subscription paste = app.explorer().BeforeItemPaste.subscribe(
        [&](const FolderRef& target) { events.append(QStringLiteral("paste ") + target->Name()); });
    Subscription junkAdd = app.junk().Items().ItemAdd.subscribe(
        [&](const MailItemRef& item) { events.append(QStringLiteral("add ") + item->EntryID()); });
    Subscription inboxRemove =
        app.inbox().Items().ItemRemove.subscribe([&] { events.append(QStringLiteral("remove")); });
    const auto copies = app.userCopyPaste({a}, app.junk());
    ASSERT_EQ(copies.size(), 1);
    EXPECT_NE(copies[0]->EntryID(), a->EntryID());
    EXPECT_EQ(events, (QStringList{QStringLiteral("copy"), QStringLiteral("paste Junk E-mail"),
                                   QStringLiteral("add ") + copies[0]->EntryID()}));
    EXPECT_EQ(app.inbox().Items().Count(), 1);

    Subscription deletedAdd = app.deletedItems().Items().ItemAdd.subscribe(
        [&](const MailItemRef&) { events.append(QStringLiteral("deleted add")); });
    events.clear();
    app.userDelete({a});
    EXPECT_EQ(events, (QStringList{QStringLiteral("remove"), QStringLiteral("deleted add")}));
    EXPECT_EQ(app.explorer().Selection().size(), 1);

    MemoryFolder& archive = app.addStore(QStringLiteral("Archive Folders"));
    app.addFolder(archive, QStringLiteral("2019"));
    const auto stores = app.GetNamespace(QStringLiteral("MAPI"))->Folders();
    ASSERT_EQ(stores.size(), 2);
    EXPECT_EQ(stores[1]->Name(), QStringLiteral("Archive Folders"));
    EXPECT_EQ(stores[1]->Class(), kFolderClass);

    const ControlRef temporary = app.standardBar().add(ControlType::Popup, true);
    app.standardBar().add(ControlType::Popup, false);
    bool quit = false;
    Subscription quitting = app.Quit.subscribe([&] { quit = true; });
    app.quit();
    EXPECT_TRUE(quit);
    EXPECT_EQ(app.standardBar().Controls().size(), 1); // the temporary one is gone
}
