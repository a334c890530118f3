#include "ui/Dialog.h"
#include "ui/Dialog2.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"
#include "ui/WidgetMessageSink.h"
#include "ui/WidgetPromptDialogs.h"

#include "analysis/PromptWait.h"
#include "support/FilterFixture.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTextBrowser>
#include <QTimer>

using namespace velmora;
using namespace velmora::test;

namespace {

QPushButton* button(QWidget* dialog, const char* name) {
    auto* found = dialog->findChild<QPushButton*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

QString labelText(QWidget* dialog, const char* name) {
    auto* found = dialog->findChild<QLabel*>(QLatin1String(name));
    return found ? found->text() : QStringLiteral("<missing %1>").arg(QLatin1String(name));
}

} // namespace

TEST(Dialogs, DatabasePromptButtonsOnlySetTheirFlag) {
    FilterFlags flags;
    Dialog2 prompt(flags);
    EXPECT_EQ(prompt.windowTitle(), QStringLiteral("Velmora"));
    EXPECT_EQ(labelText(&prompt, "Label1"),
              QStringLiteral("Your emails antispam database has not been created."));
    EXPECT_EQ(labelText(&prompt, "Label2_0"),
              QStringLiteral("You should create database, it takes 1 - 10 minutes."));
    EXPECT_EQ(labelText(&prompt, "Label2_1"), QStringLiteral("Start it Now ?"));
    prompt.show();
    button(&prompt, "OKButton")->click();
    EXPECT_EQ(flags.PromptAccepted, kTrue);
    EXPECT_EQ(flags.PromptClosed, kFalse);
    EXPECT_TRUE(prompt.isVisible()); // the opener unloads it
    button(&prompt, "CancelButton")->click();
    EXPECT_EQ(flags.PromptClosed, kTrue);
}

TEST(Dialogs, ConflictPromptNamesTheAddressAndClosingIsNoAnswer) {
    FilterFlags flags;
    Dialog prompt(flags, QStringLiteral("both@x.example"));
    EXPECT_EQ(prompt.windowTitle(), QStringLiteral("Email address conflict"));
    EXPECT_EQ(labelText(&prompt, "Label1"),
              QStringLiteral("This email address has been found among JUNK emails and TRUST "
                             "emails. Please clarify:"));
    EXPECT_EQ(labelText(&prompt, "Label2"), QStringLiteral("both@x.example"));
    EXPECT_EQ(button(&prompt, "ButTRUST")->text(), QStringLiteral("Is it TRUST address ?"));
    EXPECT_EQ(button(&prompt, "ButJUNK")->text(), QStringLiteral("Is it JUNK ?"));
    prompt.show();
    prompt.close();
    EXPECT_EQ(flags.PromptAccepted, kFalse);
    EXPECT_EQ(flags.PromptClosed, kFalse);
    button(&prompt, "ButJUNK")->click();
    button(&prompt, "ButTRUST")->click();
    EXPECT_EQ(flags.PromptAccepted, kTrue);
    EXPECT_EQ(flags.PromptClosed, kTrue);
}

TEST(Dialogs, OpenerWaitsForAClickOnTheSharedDatabasePrompt) {
    FilterFlags flags;
    WidgetPromptDialogs prompts(flags);
    QTimer::singleShot(0, [&] {
        ASSERT_NE(prompts.databasePrompt(), nullptr);
        EXPECT_TRUE(prompts.databasePrompt()->isVisible());
        button(prompts.databasePrompt(), "OKButton")->click();
    });
    EXPECT_TRUE(askToBuildDatabase(flags, prompts));
    Dialog2* shared = prompts.databasePrompt();
    ASSERT_NE(shared, nullptr);
    EXPECT_FALSE(shared->isVisible()); // unloaded: off the screen at once

    // The next opener shows the same window again.
    QTimer::singleShot(0, [&] { button(prompts.databasePrompt(), "CancelButton")->click(); });
    EXPECT_FALSE(askToBuildDatabase(flags, prompts));
    EXPECT_EQ(prompts.databasePrompt(), shared);

    QTimer::singleShot(0, [&] { button(prompts.conflictPrompt(), "ButJUNK")->click(); });
    askAboutAddressConflict(flags, prompts, QStringLiteral("a@x.example"));
    EXPECT_EQ(flags.PromptClosed, kTrue);
    EXPECT_EQ(flags.PromptAccepted, kFalse);
    EXPECT_EQ(prompts.conflictPrompt(), nullptr);
}

TEST(HelpViewer, ShowsTheHelpPageAndComesToTheFront) {
    HelpViewer viewer;
    viewer.open();
    EXPECT_TRUE(viewer.isVisible());
    EXPECT_EQ(viewer.browser()->source(), HelpViewer::helpPage());
    EXPECT_TRUE(viewer.browser()->toPlainText().contains(QStringLiteral("restricted word")));
    viewer.open(); // already shown: only raised
    EXPECT_TRUE(viewer.isVisible());
}

// Saves pictures of the windows into the build folder, for anyone to look at.
TEST(Screenshots, ToolWindowAndDialogs) {
    class NoActions final : public ToolBoxActions {
        void analyseFolders() override {}
        void moveSpamInSelectedFolder() override {}
        void openHelp() override {}
    } actions;
    FilterFixture f;
    f.data().RestrictedList.append(QStringLiteral("casino"));
    f.data().RestrictedList.append(QStringLiteral("free spins"));
    SettingsStore settings(f.root.file(QStringLiteral("velmora.ini")));
    settings.WriteSetting(QStringLiteral("6"), SettingLevelP);
    settings.WriteSetting(QStringLiteral("14"), SettingLevelT);
    ToolBox toolBox(*f.state, settings, actions);
    toolBox.prepareAndShow();
    toolBox.setStatusText(
        QStringLiteral("ANALYSING ....\n\rTEXT EMAIL\n\rsales@shop.example\n\r97.5"));
    toolBox.setCounterText(QStringLiteral("12"));
    toolBox.setProgress(40);
    toolBox.pictureBox().drawStretched(solidPicture(150, 150, qRgb(40, 90, 200)));

    FilterFlags flags;
    Dialog conflict(flags, QStringLiteral("someone@example.org"));
    Dialog2 database(flags);
    HelpViewer help;
    help.open();
    conflict.show();
    database.show();
    QDir().mkpath(QStringLiteral("screenshots"));
    for (QWidget* window : {static_cast<QWidget*>(&toolBox), static_cast<QWidget*>(&conflict),
                            static_cast<QWidget*>(&database), static_cast<QWidget*>(&help)}) {
        if (window != &help)
            window->adjustSize();
        const QString path = QStringLiteral("screenshots/%1.png").arg(window->objectName());
        EXPECT_TRUE(window->grab().save(path)) << path.toStdString();
    }
}

TEST(WidgetMessageSink, ShowsAMessageBoxWithOneOkButton) {
    WidgetMessageSink sink;
    QString seenText;
    QString seenTitle;
    int buttons = 0;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        seenText = box->text();
        seenTitle = box->windowTitle();
        buttons = int(box->buttons().size());
        box->button(QMessageBox::Ok)->click();
    });
    sink.showMessage(QStringLiteral("Error: can't write registry"), QString());
    EXPECT_EQ(seenText, QStringLiteral("Error: can't write registry"));
    EXPECT_EQ(seenTitle, QStringLiteral("Velmora"));
    EXPECT_EQ(buttons, 1);
    // Only a real window system gets message boxes by default.
    EXPECT_EQ(windowSystemIsUp(), QGuiApplication::platformName() != QStringLiteral("offscreen"));
}
