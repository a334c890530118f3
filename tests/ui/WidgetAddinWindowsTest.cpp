#include "ui/WidgetAddinWindows.h"

#include "addin/Connect.h"
#include "settings/Thresholds.h"
#include "support/FilterFixture.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QEvent>

using namespace velmora;
using namespace velmora::test;

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
