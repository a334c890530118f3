#include "ui/WidgetAddinWindows.h"

#include "addin/Connect.h"
#include "analysis/PictureFingerprint.h"
#include "settings/Thresholds.h"
#include "support/AddinFixture.h"
#include "ui/Dialog.h"
#include "ui/Dialog2.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"
#include "ui/WidgetPromptDialogs.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

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
    explicit OnScreenAddin(bool withDatabase = true) {
        if (withDatabase)
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

namespace {

QImage gradientPicture(int width, int height) {
    QImage picture(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.setPixel(x, y, qRgb(x * 255 / width, y * 255 / height, (x + y) % 256));
    return picture;
}

} // namespace

TEST(WidgetAddinWindows, FingerprintDoesNotDependOnWhenTheWindowCloses) {
    const QImage picture = gradientPicture(300, 140);
    OnScreenAddin a;
    ToolWindowView& view = a.connect.state().toolBox;
    view.pictureBox().setHeight(view.pictureBox().width());
    const PicRec undisturbed = AnalysePicture(view.pictureBox(), picture);
    ASSERT_GT(undisturbed.Size, 0);
    for (const int yields : {1, 3, 10, 40}) {
        a.connect.Show();
        const QPointer<ToolBox> shown = a.windows.loadedToolBox();
        afterYields(yields, [&] {
            if (shown)
                shown->close();
        });
        view.pictureBox().setHeight(view.pictureBox().width());
        const PicRec rec = AnalysePicture(view.pictureBox(), picture);
        EXPECT_EQ(rec, undisturbed) << yields;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(shown, nullptr) << yields; // destroyed once the work let go of it
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

namespace {

// Runs `action` once `ready` holds, checking on the event loop.
void once(std::function<bool()> ready, std::function<void()> action) {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer, ready, action] {
        if (!ready())
            return;
        timer->stop();
        timer->deleteLater();
        action();
    });
    timer->start(1);
}

} // namespace

TEST(WidgetAddinWindows, QuitWhileNewMailWaitsForTheDatabasePromptLeavesItToTheUser) {
    RecordingSink sink;
    OnScreenAddin a(false); // the database is missing: new mail asks to build it
    WidgetPromptDialogs& prompts = a.windows.widgetPrompts();
    bool stillShownAfterQuit = false;
    once([&] { return prompts.databasePrompt() && prompts.databasePrompt()->isVisible(); },
         [&] {
             a.app->quit();
             stillShownAfterQuit =
                 prompts.databasePrompt() && prompts.databasePrompt()->isVisible();
             // The user answers afterwards, and the handler ends.
             QTimer::singleShot(5, [&] {
                 prompts.databasePrompt()
                     ->findChild<QPushButton*>(QStringLiteral("OKButton"))
                     ->click();
             });
         });
    const auto item = a.app->deliver(mail(QStringLiteral("x@shop.example"), QStringLiteral("Offer"),
                                          QStringLiteral("Cheap pills\r\n")));
    EXPECT_TRUE(stillShownAfterQuit);
    EXPECT_EQ(item->folder(), &a.app->inbox());
    EXPECT_EQ(a.connect.MapiNamespace, nullptr);
    EXPECT_TRUE(sink.messages.isEmpty()) << sink.messages.join(u'|').toStdString();
}

TEST(WidgetAddinWindows, QuitWhileABuildAsksAboutAnAddressUnloadsTheQuestionAndTheBuildEnds) {
    RecordingSink sink;
    OnScreenAddin a;
    MessageContent sent =
        mail(QStringLiteral("me@home.example"), QStringLiteral("Hi"), QStringLiteral("Hello\r\n"));
    sent.recipients = {QStringLiteral("pal@club.example")};
    a.app->place(a.app->sentItems(), sent);
    a.app->place(a.app->junk(), mail(QStringLiteral("pal@club.example"), QStringLiteral("Promo"),
                                     QStringLiteral("Cheap pills\r\n")));
    WidgetPromptDialogs& prompts = a.windows.widgetPrompts();
    QPointer<Dialog> asked;
    bool wasAsked = false;
    once([&] { return prompts.conflictPrompt() != nullptr; },
         [&] {
             asked = prompts.conflictPrompt();
             wasAsked = true;
             a.app->quit();
         });
    a.connect.collect_emails(); // returns: the question went with the quit
    EXPECT_TRUE(wasAsked);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(prompts.conflictPrompt(), nullptr);
    EXPECT_TRUE(asked.isNull() || !asked->isVisible());
    EXPECT_EQ(a.connect.MapiNamespace, nullptr);
}
