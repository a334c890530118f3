#include "ui/TrayMenu.h"

#include "support/AddinFixture.h"

#include <QMenu>

using namespace velmora;
using namespace velmora::test;

TEST(TrayMenu, ShowsTheAddinsMenuAndItsEntriesClickTheButtons) {
    RecordingSink sink;
    Addin a;
    a.writeSmallDatabase();
    a.connectToHost();
    TrayMenu tray(a.app->standardBar());

    const QList<QAction*> top = tray.menu().actions();
    ASSERT_EQ(top.size(), 1);
    EXPECT_EQ(top[0]->text(), QStringLiteral("V&elmora"));
    QMenu* velmora = top[0]->menu();
    ASSERT_NE(velmora, nullptr);
    QStringList captions;
    for (QAction* action : velmora->actions())
        captions.append(action->text());
    EXPECT_EQ(captions, (QStringList{QStringLiteral("&Open Command Bar"), QStringLiteral("&Help"),
                                     QStringLiteral("&Move Spam from Inbox")}));

    velmora->actions()[0]->trigger();
    EXPECT_TRUE(a.windows.isShown());
    velmora->actions()[1]->trigger();
    EXPECT_EQ(a.windows.helpOpened, 1);

    // The client takes the add-in's temporary controls away: an entry still
    // open does nothing, and the menu is empty when it opens next.
    QAction* sweep = velmora->actions()[2];
    a.app->standardBar().removeTemporaryControls();
    sweep->trigger();
    tray.rebuild();
    EXPECT_TRUE(tray.menu().actions().isEmpty());
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}
