#include "ui/WidgetAddinWindows.h"

#include "addin/Connect.h"
#include "settings/Thresholds.h"
#include "support/AddinFixture.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QPushButton>

using namespace velmora;
using namespace velmora::test;
using memory::MessageContent;

TEST(WidgetAddinWindows, ClosingUnloadsTheToolWindowAndHidingDoesNot) {
    RecordingSink sink;
    TempFolder home;
    SettingsStore settings(home.file(QStringLiteral("velmora.ini")));
    settings.WriteSetting(QStringLiteral("1"), SettingTextP);
    WidgetAddinWindows windows;
    Connect connect(DataFolder(home.file(QStringLiteral("CORVANELSPAM"))), settings, windows);
    FilterState& state = connect.state();
    state.thresholds = deriveThresholds(settings);

    // Used before it was ever shown: a fresh window, its switch unticked.
    EXPECT_FALSE(state.toolBox.textAnalysisSwitchedOff());
    state.toolBox.setStatusText(QStringLiteral("x"));
    ASSERT_NE(windows.loadedToolBox(), nullptr);
    EXPECT_FALSE(windows.loadedToolBox()->isVisible());

    connect.Show();
    EXPECT_TRUE(connect.FormDisplayed());
    EXPECT_TRUE(windows.loadedToolBox()->isVisible());
    EXPECT_TRUE(state.toolBox.textAnalysisSwitchedOff());

    connect.Hide();
    EXPECT_FALSE(connect.FormDisplayed());
    EXPECT_EQ(state.flags.StopBuild, kFalse);
    EXPECT_TRUE(state.toolBox.textAnalysisSwitchedOff()); // still loaded

    connect.Show();
    windows.loadedToolBox()->close();
    EXPECT_EQ(state.flags.StopBuild, kTrue);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(windows.loadedToolBox(), nullptr);
    // Closed and used again: text mails are filtered whatever "TextP" holds.
    EXPECT_FALSE(state.toolBox.textAnalysisSwitchedOff());

    connect.SBH_Click();
    EXPECT_TRUE(windows.helpViewer().isVisible());
    EXPECT_TRUE(sink.messages.isEmpty());
}

namespace {

// The add-in with its windows on screen, connected to an in-memory mail
// client that holds a small database.
struct OnScreenAddin {
    OnScreenAddin() {
        writeSmallDatabase(workRoot, settings);
        connect.OnConnection(app);
    }

    TempFolder home;
    QString workRoot = home.file(QStringLiteral("CORVANELSPAM/"));
    SettingsStore settings{home.file(QStringLiteral("velmora.ini"))};
    std::shared_ptr<memory::MemoryApplication> app = std::make_shared<memory::MemoryApplication>();
    WidgetAddinWindows windows;
    Connect connect{DataFolder(workRoot), settings, windows};
};

} // namespace

TEST(WidgetAddinWindows, WindowClosedWhileAPictureIsFingerprinted) {
    // The box is drawn into and read across yields; the window closes at
    // several points of that, and the work goes on with a fresh window.
    for (const int yields : {1, 2, 20, 60}) {
        RecordingSink sink;
        OnScreenAddin a;
        a.connect.Show();
        const QPointer<ToolBox> first = a.windows.loadedToolBox();
        afterYields(yields, [&] {
            if (first)
                first->close();
        });
        const QByteArray png = pictureFile(solidPicture(120, 90, qRgb(10, 200, 30)), "PNG", 3000);
        const auto item =
            a.app->deliver(pictureMail(QStringLiteral("pics@shop.example"), QStringLiteral("Look"),
                                       QStringLiteral("p.png"), png));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(first, nullptr) << yields; // closed, hence unloaded and destroyed
        EXPECT_NE(item->folder(), nullptr);
        EXPECT_EQ(a.connect.state().flags.StopBuild, kTrue);
    }
}

TEST(WidgetAddinWindows, WindowClosedDuringAnalyseFolders) {
    for (const int yields : {1, 4, 30}) {
        RecordingSink sink;
        OnScreenAddin a;
        MessageContent sent = mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"),
                                   QStringLiteral("Hello\r\n"));
        sent.recipients = {QStringLiteral("pal@club.example")};
        for (int i = 0; i < 10; ++i)
            a.app->place(a.app->sentItems(), sent);
        a.connect.Show();
        const QPointer<ToolBox> first = a.windows.loadedToolBox();
        afterYields(yields, [&] {
            if (first)
                first->close();
        });
        first->findChild<QPushButton*>(QStringLiteral("Button4"))->click();

        // The build stopped before its next item; the closed window lived
        // until its button's handler had returned, and is gone now.
        EXPECT_EQ(a.connect.state().flags.DatabaseBuilding, kTrue) << yields;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(first, nullptr) << yields;
        // "Done" went to the window as it is now: a fresh, hidden one.
        ASSERT_NE(a.windows.loadedToolBox(), nullptr);
        EXPECT_FALSE(a.windows.loadedToolBox()->isVisible());
        EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
    }
}

TEST(WidgetAddinWindows, QuitDuringABuildClosesTheWindowThroughItsClosingPath) {
    RecordingSink sink;
    OnScreenAddin a;
    MessageContent sent =
        mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"), QStringLiteral("Hello\r\n"));
    sent.recipients = {QStringLiteral("pal@club.example")};
    for (int i = 0; i < 10; ++i)
        a.app->place(a.app->sentItems(), sent);
    a.connect.Show();
    const QPointer<ToolBox> first = a.windows.loadedToolBox();
    afterYields(3, [&] { a.app->quit(); });
    first->findChild<QPushButton*>(QStringLiteral("Button4"))->click();
    EXPECT_EQ(a.connect.state().flags.StopBuild, kTrue);
    EXPECT_EQ(a.connect.state().flags.DatabaseBuilding, kTrue);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(first, nullptr);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}
