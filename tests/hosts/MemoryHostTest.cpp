#include "hosts/memory/MemoryApplication.h"

#include "base/VbError.h"

#include "support/FilterFixture.h"

using namespace velmora;
using namespace velmora::memory;
using velmora::test::mail;

TEST(MemoryHost, ArrivingMailRaisesItemAddThenOneNewMailEx) {
    MemoryApplication app;
    QStringList events;
    Subscription added = app.inbox().items().ItemAdd.subscribe(
        [&](const MailItemRef& item) { events.append(QStringLiteral("add ") + item->subject()); });
    Subscription newMail = app.NewMailEx.subscribe(
        [&](const QString& ids) { events.append(QStringLiteral("new ") + ids); });

    MessageContent meeting = mail(QStringLiteral("a@x.example"), QStringLiteral("Meet"), QString());
    meeting.itemClass = 53;
    meeting.typeName = QStringLiteral("MeetingItem");
    const auto items =
        app.deliver({mail(QStringLiteral("a@x.example"), QStringLiteral("One"), {}), meeting});
    EXPECT_EQ(events, (QStringList{QStringLiteral("add One"), QStringLiteral("add Meet"),
                                   QStringLiteral("new ") + items[0]->entryId() + QLatin1Char(',') +
                                       items[1]->entryId()}));
    const auto mapi = app.getNamespace(QStringLiteral("MAPI"));
    EXPECT_EQ(mapi->getItemFromId(items[1]->entryId())->typeName(), QStringLiteral("MeetingItem"));
    EXPECT_EQ(mapi->getItemFromId(items[1]->entryId())->itemClass(), 53);
    EXPECT_THROW(mapi->getItemFromId(QStringLiteral("nope")), VbError);

    // Clearing the subscription stops the events.
    added.reset();
    app.deliver(mail(QStringLiteral("b@x.example"), QStringLiteral("Two"), {}));
    EXPECT_EQ(events.size(), 4);
    EXPECT_TRUE(events.last().startsWith(QStringLiteral("new ")));
}

TEST(MemoryHost, DefaultFoldersAndUserFolders) {
    MemoryApplication app;
    const auto mapi = app.getNamespace(QStringLiteral("MAPI"));
    EXPECT_EQ(mapi->getDefaultFolder(DefaultFolderJunk)->name(), QStringLiteral("Junk E-mail"));
    EXPECT_EQ(mapi->getDefaultFolder(DefaultFolderInbox)->name(), QStringLiteral("Inbox"));
    EXPECT_EQ(mapi->getDefaultFolder(DefaultFolderSent)->name(), QStringLiteral("Sent Items"));
    EXPECT_EQ(mapi->getDefaultFolder(DefaultFolderDeleted)->name(),
              QStringLiteral("Deleted Items"));
    EXPECT_THROW(mapi->getDefaultFolder(99), VbError);
    EXPECT_NE(mapi->getDefaultFolder(DefaultFolderJunk)->entryId(),
              mapi->getDefaultFolder(DefaultFolderInbox)->entryId());

    MemoryFolder& projects = app.addFolder(app.store(), QStringLiteral("Projects"));
    app.addFolder(projects, QStringLiteral("2026"));
    ASSERT_EQ(mapi->folders().size(), 1);
    const QList<FolderRef> top = mapi->folders()[0]->folders();
    EXPECT_EQ(top.last()->name(), QStringLiteral("Projects"));
    EXPECT_EQ(top.last()->folders()[0]->name(), QStringLiteral("2026"));
    EXPECT_THROW(app.getNamespace(QStringLiteral("OTHER")), VbError);
}

TEST(MemoryHost, UserMovesRaiseTheExplorerGuardThenRemoveAndAdd) {
    MemoryApplication app;
    const auto a = app.place(app.inbox(), mail(QStringLiteral("a@x"), QStringLiteral("A"), {}));
    const auto b = app.place(app.inbox(), mail(QStringLiteral("b@x"), QStringLiteral("B"), {}));
    QStringList events;
    Subscription guard = app.explorer().BeforeMove.subscribe([&] {
        events.append(
            QStringLiteral("before move, %1 selected").arg(app.explorer().selection().size()));
    });
    Subscription removed = app.inbox().items().ItemRemove.subscribe(
        [&] { events.append(QStringLiteral("inbox remove")); });
    Subscription junkAdd = app.junk().items().ItemAdd.subscribe([&](const MailItemRef& item) {
        events.append(QStringLiteral("junk add ") + item->subject());
    });
    app.userMove({a, b}, app.junk());
    EXPECT_EQ(events, (QStringList{QStringLiteral("before move, 2 selected"),
                                   QStringLiteral("inbox remove"), QStringLiteral("junk add A"),
                                   QStringLiteral("inbox remove"), QStringLiteral("junk add B")}));
    EXPECT_EQ(app.inbox().items().count(), 0);
    EXPECT_EQ(app.junk().items().count(), 2);

    // A moved item's old handle is stale in its old folder but the item lives on.
    a->setSubject(QStringLiteral("A2"));
    a->save();
    EXPECT_EQ(a->savedSubject(), QStringLiteral("A2"));

    events.clear();
    Subscription cut =
        app.explorer().BeforeItemCut.subscribe([&] { events.append(QStringLiteral("cut")); });
    Subscription paste = app.explorer().BeforeItemPaste.subscribe([&](const FolderRef& target) {
        events.append(QStringLiteral("paste into ") + target->name());
    });
    app.userCutPaste({b}, app.inbox());
    EXPECT_EQ(events.mid(0, 2),
              (QStringList{QStringLiteral("cut"), QStringLiteral("paste into Inbox")}));
}

TEST(MemoryHost, CursorPassesOverTheItemAfterOneThatMovedAway) {
    MemoryApplication app;
    for (const char* s : {"1", "2", "3", "4"})
        app.place(app.inbox(), mail(QStringLiteral("a@x"), QLatin1String(s), {}));
    HostItems& items = app.inbox().items();
    QStringList seen;
    for (MailItemRef item = items.getFirst(); item; item = items.getNext()) {
        seen.append(item->subject());
        if (item->subject() == QStringLiteral("2"))
            item->move(app.junk());
    }
    EXPECT_EQ(seen, (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("4")}));
    EXPECT_EQ(items.count(), 3);
    EXPECT_EQ(items.item(2)->subject(), QStringLiteral("3"));
    EXPECT_THROW(items.item(4), VbError);
}

TEST(MemoryHost, SentMailAndAttachments) {
    velmora::test::TempFolder dir;
    MemoryApplication app;
    QStringList recipients;
    Subscription sent = app.ItemSend.subscribe(
        [&](const MailItemRef& item) { recipients = item->recipientAddresses(); });
    MessageContent message =
        mail(QStringLiteral("me@x"), QStringLiteral("Hi"), QStringLiteral("x"));
    message.recipients = {QStringLiteral("a@y"), QStringLiteral("b@z")};
    message.attachments.append({QStringLiteral("photo.JPG"), QStringLiteral("Photo.jpg"), "bytes"});
    const auto item = app.send(message);
    EXPECT_EQ(recipients, message.recipients);
    EXPECT_EQ(app.sentItems().items().count(), 1);
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
    const auto bars = app.activeExplorer()->commandBars();
    EXPECT_EQ(bars->item(QStringLiteral("Other")), nullptr);
    const auto bar = bars->item(QStringLiteral("Standard"));
    const ControlRef popup = bar->add(ControlType::Popup, true);
    popup->setCaption(QStringLiteral("V&elmora"));
    const ControlRef button = popup->add(ControlType::Button, true);
    int clicks = 0;
    Subscription click = button->Click.subscribe([&] { ++clicks; });
    static_cast<MemoryControl&>(*button).click();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(bar->controls().size(), 1);
    popup->deleteControl();
    EXPECT_EQ(bar->controls().size(), 0);
}
