#include "ui/ToolBox.h"

#include "analysis/PictureFingerprint.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "support/FilterFixture.h"
#include "ui/PictureBoxWidget.h"

#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSlider>
#include <QTest>

using namespace velmora;
using namespace velmora::test;

namespace {

class RecordingActions final : public ToolBoxActions {
public:
    void analyseFolders() override { calls.append(QStringLiteral("analyse folders")); }
    void moveSpamInSelectedFolder() override { calls.append(QStringLiteral("move spam")); }
    void openHelp() override { calls.append(QStringLiteral("help")); }
    QStringList calls;
};

struct ToolBoxFixture {
    explicit ToolBoxFixture(const QString& settingsFile = {})
        : settings(settingsFile.isEmpty() ? f.root.file(QStringLiteral("velmora.ini"))
                                          : settingsFile),
          toolBox(*f.state, settings, actions) {}

    template <typename T>
    T* control(const char* name) {
        T* widget = toolBox.findChild<T*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QString labelText(const char* name) { return control<QLabel>(name)->text(); }

    FilterFixture f;
    SettingsStore settings;
    RecordingActions actions;
    ToolBox toolBox;
};

} // namespace

TEST(ToolBox, SlidersWriteTheirLevelAndShowTheStoredThreshold) {
    RecordingSink sink;
    ToolBoxFixture t;
    auto* picture = t.control<QSlider>("TrackBar1");
    auto* text = t.control<QSlider>("TrackBar2");
    EXPECT_EQ(picture->minimum(), 0);
    EXPECT_EQ(picture->maximum(), 20);
    EXPECT_EQ(picture->singleStep(), 1);
    EXPECT_EQ(picture->pageStep(), 5);
    EXPECT_EQ(text->toolTip(), QStringLiteral("Slide right to filter more accurately"));

    picture->setValue(20);
    EXPECT_EQ(t.settings.ReadSetting(SettingLevelP), QStringLiteral("20"));
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("100 %"));
    EXPECT_EQ(t.f.state->thresholds.LevelP, 100);
    picture->setValue(0);
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("80 %"));
    text->setValue(14);
    EXPECT_EQ(t.labelText("Label3"), QStringLiteral("94 %"));
    EXPECT_EQ(t.f.state->thresholds.LevelT, 94);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(ToolBox, UnwritableStoreLeavesLabelAndSliderDisagreeing) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("file"), "x");
    ToolBoxFixture t(dir.file(QStringLiteral("file/velmora.ini")));
    auto* picture = t.control<QSlider>("TrackBar1");
    picture->setValue(12);
    EXPECT_EQ(picture->value(), 12);
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("80 %")); // nothing stored: 0 + 80
    ASSERT_EQ(sink.messages.size(), 1);
    // The message names the file that could not be written.
    EXPECT_TRUE(sink.messages[0].startsWith(QStringLiteral("Error: can't write registry")));
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("file/velmora.ini")));
}

TEST(ToolBox, TextSwitchWritesTextP) {
    ToolBoxFixture t;
    auto* box = t.control<QCheckBox>("CheckBox1");
    EXPECT_EQ(box->text(), QStringLiteral("Check1"));
    EXPECT_EQ(t.labelText("Label8"), QStringLiteral("Not FIlter TXT Emails"));
    box->click();
    EXPECT_EQ(t.settings.ReadSetting(SettingTextP), QStringLiteral("1"));
    EXPECT_EQ(t.f.state->thresholds.TextFlag, kTrue);
    EXPECT_TRUE(t.toolBox.textAnalysisSwitchedOff());
    box->click();
    EXPECT_EQ(t.settings.ReadSetting(SettingTextP), QStringLiteral("0"));
    EXPECT_FALSE(t.toolBox.textAnalysisSwitchedOff());
}

TEST(ToolBox, RestrictedWordsMirrorTheBoxButShowDoesNotRewriteTheFile) {
    ToolBoxFixture t;
    const QString file = t.f.data().folder.dataFile(kRestrictedFile);
    // One word on disk: saving it would empty the file, so a rewrite shows.
    t.f.root.writeBytes(QStringLiteral("spamdata/restricted.dat"), "casino\r\n");
    LoadARRAY(t.f.data().RestrictedList, file);
    t.settings.WriteSetting(QStringLiteral("6"), SettingLevelP);
    t.settings.WriteSetting(QStringLiteral("14"), SettingLevelT);
    t.f.state->thresholds.TextFlag = kTrue;
    t.toolBox.prepareAndShow();
    auto* words = t.control<QPlainTextEdit>("TextBox1");
    EXPECT_EQ(words->toPlainText(), QStringLiteral("casino\n"));
    EXPECT_EQ(t.f.root.readBytes(QStringLiteral("spamdata/restricted.dat")),
              QByteArray("casino\r\n"));
    EXPECT_EQ(t.control<QSlider>("TrackBar1")->value(), 6);
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("86 %"));
    EXPECT_EQ(t.labelText("Label3"), QStringLiteral("94 %"));
    EXPECT_TRUE(t.control<QCheckBox>("CheckBox1")->isChecked());
    EXPECT_EQ(t.toolBox.windowTitle(), toolBoxCaption());

    // Typing rewrites list and file at every keystroke; blank lines are words.
    words->moveCursor(QTextCursor::End);
    QTest::keyClicks(words, QStringLiteral("pills"));
    QTest::keyClick(words, Qt::Key_Return);
    QTest::keyClicks(words, QStringLiteral("  "));
    EXPECT_EQ(t.f.data().RestrictedList, stringListOf({"casino", "pills", "  "}));
    EXPECT_EQ(t.f.root.readBytes(QStringLiteral("spamdata/restricted.dat")),
              QByteArray("casino\r\npills\r\n  \r\n"));
    words->clear();
    EXPECT_EQ(t.f.data().RestrictedList.upperBound(), 0);
    EXPECT_EQ(t.f.root.readBytes(QStringLiteral("spamdata/restricted.dat")), QByteArray());
}

TEST(ToolBox, ButtonsAndClosing) {
    ToolBoxFixture t;
    EXPECT_EQ(t.control<QPushButton>("Button4")->text(), QStringLiteral("Analyse Folders"));
    EXPECT_EQ(t.control<QPushButton>("Button3")->text(), QStringLiteral("MoveSpam in Sel.Folder"));
    EXPECT_EQ(t.control<QPushButton>("Command1")->text(), QStringLiteral("Help"));
    EXPECT_EQ(t.labelText("Label9"), QStringLiteral("Block e-mails with words:"));
    t.control<QPushButton>("Button4")->click();
    t.control<QPushButton>("Button3")->click();
    t.control<QPushButton>("Command1")->click();
    EXPECT_EQ(t.actions.calls, (QStringList{QStringLiteral("analyse folders"),
                                            QStringLiteral("move spam"), QStringLiteral("help")}));

    t.toolBox.show();
    EXPECT_EQ(t.f.state->flags.StopBuild, kFalse);
    t.toolBox.close();
    EXPECT_EQ(t.f.state->flags.StopBuild, kTrue);
}

TEST(ToolBox, CaptionShowsTheVersionWithoutLeadingZeros) {
    EXPECT_EQ(toolBoxCaption(2, 9, 5), QStringLiteral("Velmora - 2.9.5"));
    EXPECT_TRUE(toolBoxCaption().startsWith(QStringLiteral("Velmora - ")));
}

TEST(ToolBox, PictureBoxFingerprintsLikeTheHeadlessOne) {
    ToolBoxFixture t;
    QImage picture(90, 40, QImage::Format_RGB32);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 90; ++x)
            picture.setPixel(x, y, qRgb(x * 2, y * 5, (x + y) % 256));
    ImagePictureBox headless;
    EXPECT_EQ(AnalysePicture(t.toolBox.pictureBox(), picture), AnalysePicture(headless, picture));
    EXPECT_EQ(t.toolBox.pictureBox().width(), 150);

    t.toolBox.setStatusText(QStringLiteral("ANALYSING ....\n\rTEXT EMAIL"));
    EXPECT_EQ(t.toolBox.statusText(), QStringLiteral("ANALYSING ....\n\rTEXT EMAIL"));
    EXPECT_EQ(t.labelText("spareL"), QStringLiteral("ANALYSING ....\nTEXT EMAIL"));
}

TEST(ToolBox, ShowWritesNothingWhenTheSlidersStayPut) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("file"), "x");
    ToolBoxFixture t(dir.file(QStringLiteral("file/velmora.ini"))); // cannot be written
    t.toolBox.prepareAndShow(); // nothing stored: the sliders stay at 0
    EXPECT_TRUE(sink.messages.isEmpty());
    // The labels show the thresholds in force.
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("86 %"));
}

TEST(ToolBox, StoredLevelsTheSliderCannotTakeLeaveItAlone) {
    ToolBoxFixture t;
    t.settings.WriteSetting(QStringLiteral("25"), SettingLevelP);
    t.settings.WriteSetting(QStringLiteral("6.5"), SettingLevelT); // rounds to even
    t.f.state->thresholds = deriveThresholds(t.settings);
    t.toolBox.prepareAndShow();
    EXPECT_EQ(t.control<QSlider>("TrackBar1")->value(), 0);
    EXPECT_EQ(t.labelText("Label4"), QStringLiteral("105 %"));
    EXPECT_EQ(t.control<QSlider>("TrackBar2")->value(), 6);
    EXPECT_EQ(t.settings.ReadSetting(SettingLevelT), QStringLiteral("6"));
}
