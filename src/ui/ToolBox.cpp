#include "ui/ToolBox.h"

#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/Val.h"
#include "base/VbError.h"
#include "store/ListFile.h"
#include "ui/PictureBoxWidget.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

namespace velmora {
namespace {

const QString kLevelTip = QStringLiteral("Slide right to filter more accurately");

QSlider* levelSlider(const char* objectName, QWidget* parent) {
    auto* slider = new QSlider(Qt::Horizontal, parent);
    slider->setObjectName(QLatin1String(objectName));
    slider->setRange(0, 20);
    slider->setSingleStep(1);
    slider->setPageStep(5);
    slider->setTickPosition(QSlider::TicksBelow);
    slider->setTickInterval(5);
    slider->setToolTip(kLevelTip);
    // Like the slider it stands for, it reports a change when let go, not at
    // every step of a drag, so the settings are written once per move.
    slider->setTracking(false);
    return slider;
}

QLabel* namedLabel(const char* objectName, const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(objectName));
    return label;
}

QPushButton* namedButton(const char* objectName, const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QLatin1String(objectName));
    return button;
}

// A threshold as the labels show it: the number, a blank and a percent sign.
QString thresholdText(double threshold) {
    return QString::number(threshold, 'g', 15) + QStringLiteral(" %");
}

} // namespace

QString toolBoxCaption(int major, int minor, int revision) {
    return QStringLiteral("Velmora - %1.%2.%3").arg(major).arg(minor).arg(revision);
}

QString toolBoxCaption() {
    return toolBoxCaption(VELMORA_VERSION_MAJOR, VELMORA_VERSION_MINOR, VELMORA_VERSION_PATCH);
}

ToolBox::ToolBox(FilterState& state, SettingsStore& settings, ToolBoxActions& actions,
                 FormLifetime* lifetime, QWidget* parent)
    : QWidget(parent, Qt::Window), m_state(state), m_settings(settings), m_actions(actions),
      m_lifetime(lifetime) {
    setObjectName(QStringLiteral("ToolBox"));
    setWindowTitle(QStringLiteral("Velmora"));

    // Levels: captions, sliders and the thresholds they give, side by side.
    auto* levels = new QGroupBox(this);
    auto* levelGrid = new QGridLayout(levels);
    m_trackBar1 = levelSlider("TrackBar1", levels);
    m_label4 = namedLabel("Label4", QString(), levels);
    m_trackBar2 = levelSlider("TrackBar2", levels);
    m_label3 = namedLabel("Label3", QString(), levels);
    for (QLabel* threshold : {m_label4, m_label3}) {
        threshold->setMinimumWidth(
            threshold->fontMetrics().horizontalAdvance(QStringLiteral("100 %")) + 8);
        threshold->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    levelGrid->addWidget(namedLabel("Label1", QStringLiteral("Picture Spam Level"), levels), 0, 0);
    levelGrid->addWidget(m_trackBar1, 0, 1);
    levelGrid->addWidget(m_label4, 0, 2);
    levelGrid->addWidget(namedLabel("Label2", QStringLiteral("Text Spam Level"), levels), 1, 0);
    levelGrid->addWidget(m_trackBar2, 1, 1);
    levelGrid->addWidget(m_label3, 1, 2);
    m_checkBox1 = new QCheckBox(QStringLiteral("Check1"), levels);
    m_checkBox1->setObjectName(QStringLiteral("CheckBox1"));
    auto* checkRow = new QHBoxLayout;
    checkRow->addWidget(m_checkBox1);
    checkRow->addWidget(namedLabel("Label8", QStringLiteral("Not FIlter TXT Emails"), levels), 1);
    levelGrid->addLayout(checkRow, 2, 0, 1, 3);
    levelGrid->setColumnStretch(1, 1);

    // Restricted words.
    auto* words = new QGroupBox(this);
    auto* wordsLayout = new QVBoxLayout(words);
    wordsLayout->addWidget(
        namedLabel("Label9", QStringLiteral("Block e-mails with words:"), words));
    m_textBox1 = new QPlainTextEdit(words);
    m_textBox1->setObjectName(QStringLiteral("TextBox1"));
    m_textBox1->setTabChangesFocus(true);
    m_textBox1->setMinimumHeight(90);
    wordsLayout->addWidget(m_textBox1);

    // Actions.
    m_button4 = namedButton("Button4", QStringLiteral("Analyse Folders"), this);
    m_button3 = namedButton("Button3", QStringLiteral("MoveSpam in Sel.Folder"), this);
    m_command1 = namedButton("Command1", QStringLiteral("Help"), this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_button4);
    buttons->addWidget(m_button3);
    buttons->addStretch(1);
    buttons->addWidget(m_command1);

    // Progress: status text and counter beside the picture under analysis.
    m_progressBar1 = new QProgressBar(this);
    m_progressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    m_progressBar1->setRange(0, 100);
    m_progressBar1->setValue(0);
    m_progressBar1->setTextVisible(false);
    m_spareL = namedLabel("spareL", QString(), this);
    m_spareL->setWordWrap(true);
    m_spareL->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_spareL->setMinimumHeight(m_spareL->fontMetrics().lineSpacing() * 5);
    m_spareL->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_label5 = namedLabel("Label5", QString(), this);
    auto* pictureFrame = new QFrame(this);
    pictureFrame->setFrameShape(QFrame::StyledPanel);
    // Room for the largest box the fingerprinting makes, so nothing jumps.
    pictureFrame->setFixedSize(PictureBoxWidget::kDesignSize + 4,
                               PictureBoxWidget::kDesignSize + 4);
    m_picture1 = new PictureBoxWidget(pictureFrame);
    m_picture1->setObjectName(QStringLiteral("Picture1"));
    m_picture1->move(2, 2);
    auto* statusColumn = new QVBoxLayout;
    statusColumn->addWidget(m_spareL, 1);
    statusColumn->addWidget(m_label5);
    auto* statusRow = new QHBoxLayout;
    statusRow->addLayout(statusColumn, 1);
    statusRow->addWidget(pictureFrame, 0, Qt::AlignTop);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(levels);
    layout->addWidget(words);
    layout->addLayout(buttons);
    layout->addWidget(m_progressBar1);
    layout->addLayout(statusRow);
    setMinimumWidth(460);

    // Every handler runs inside a lifetime scope: a handler may wait on the
    // event loop (a build, a sweep, a message box), and the window must
    // outlive it even when the user closes it meanwhile.
    const auto handler = [this](auto body) {
        return [this, body](auto... args) {
            FormLifetime::Scope scope(m_lifetime);
            (this->*body)(args...);
        };
    };
    connect(m_trackBar1, &QSlider::valueChanged, this,
            [h = handler(&ToolBox::pictureLevelChanged)](int v) { h(v); });
    connect(m_trackBar2, &QSlider::valueChanged, this,
            [h = handler(&ToolBox::textLevelChanged)](int v) { h(v); });
    connect(m_checkBox1, &QCheckBox::stateChanged, this,
            [h = handler(&ToolBox::textSwitchClicked)](int) { h(); });
    connect(m_textBox1, &QPlainTextEdit::textChanged, this,
            [h = handler(&ToolBox::restrictedWordsChanged)] { h(); });
    connect(m_button4, &QPushButton::clicked, this,
            [h = handler(&ToolBox::analyseFolders)] { h(); });
    connect(m_button3, &QPushButton::clicked, this,
            [h = handler(&ToolBox::moveSpamInSelectedFolder)] { h(); });
    connect(m_command1, &QPushButton::clicked, this, [h = handler(&ToolBox::openHelp)] { h(); });
}

void ToolBox::moveSpamInSelectedFolder() {
    m_actions.moveSpamInSelectedFolder();
}

void ToolBox::openHelp() {
    m_actions.openHelp();
}

void ToolBox::pictureLevelChanged(int value) {
    m_settings.WriteSetting(QString::number(value), SettingLevelP);
    // The threshold is what the store now holds, not what the slider says.
    try {
        m_state.thresholds.LevelP = Val(m_settings.ReadSetting(SettingLevelP)) + 80;
    } catch (const VbError& error) {
        showMessage(QStringLiteral("TrackBar1_Change: ") + error.description());
    }
    m_label4->setText(thresholdText(m_state.thresholds.LevelP));
}

void ToolBox::textLevelChanged(int value) {
    m_settings.WriteSetting(QString::number(value), SettingLevelT);
    try {
        m_state.thresholds.LevelT = toInt16(Val(m_settings.ReadSetting(SettingLevelT)) + 80);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("TrackBar2_Change: ") + error.description());
    }
    m_label3->setText(thresholdText(m_state.thresholds.LevelT));
}

void ToolBox::textSwitchClicked() {
    const bool ticked = m_checkBox1->isChecked();
    m_settings.WriteSetting(ticked ? QStringLiteral("1") : QStringLiteral("0"), SettingTextP);
    m_state.thresholds.TextFlag = toBool16(ticked);
}

void ToolBox::restrictedWordsChanged() {
    if (m_state.flags.TextBoxLive == kFalse)
        return;
    // Intended: rewritten at every keystroke, so the file always mirrors the
    // box; lines are not trimmed.
    StringList& list = m_state.data.RestrictedList;
    list.reset();
    try {
        for (const QString& line : m_textBox1->toPlainText().split(QLatin1Char('\n'))) {
            if (!line.isEmpty())
                list.append(line);
        }
    } catch (const VbError& error) {
        // More words than a list holds: the first 32,767 are kept and saved.
        showMessage(QStringLiteral("TextBox1_Change: ") + error.description());
    }
    WriteARRAY(list, m_state.data.folder.dataFile(kRestrictedFile));
}

void ToolBox::analyseFolders() {
    // The action ends by emptying the picture and showing "Done" through the
    // engine's view of the window, which reaches a fresh window if this one
    // was closed meanwhile: nothing of this one is touched after the build.
    m_actions.analyseFolders();
}

void ToolBox::prepareAndShow() {
    // A slider set to another value reports the change, which writes the
    // value back and shows the threshold; its label is shown either way. A
    // stored value the slider cannot take leaves it where it is.
    const auto prepareLevel = [this](QSlider* slider, SettingNumber number, QLabel* label,
                                     const auto& threshold) {
        try {
            const double stored = roundHalfEven(Val(m_settings.ReadSetting(number)));
            if (stored >= slider->minimum() && stored <= slider->maximum())
                slider->setValue(int(stored));
        } catch (const VbError&) {
        }
        label->setText(thresholdText(threshold()));
    };
    prepareLevel(m_trackBar1, SettingLevelP, m_label4,
                 [this] { return m_state.thresholds.LevelP; });
    prepareLevel(m_trackBar2, SettingLevelT, m_label3,
                 [this] { return double(m_state.thresholds.LevelT); });
    m_checkBox1->setChecked(m_state.thresholds.TextFlag != kFalse);

    m_state.flags.TextBoxLive = kFalse;
    QString words;
    for (const QString& word : m_state.data.RestrictedList)
        words += word + QLatin1Char('\n');
    m_textBox1->setPlainText(words);
    m_state.flags.TextBoxLive = kTrue;

    setWindowTitle(toolBoxCaption());
    show();
    raise();
    activateWindow();
}

void ToolBox::setStatusText(const QString& text) {
    m_status = text;
    // The status uses LF CR pairs; the label shows each pair as one break.
    QString shown = text;
    shown.remove(QLatin1Char('\r'));
    m_spareL->setText(shown);
}

void ToolBox::setCounterText(const QString& text) {
    m_label5->setText(text);
}

void ToolBox::setProgress(int percent) {
    checkProgressValue(percent);
    m_progressBar1->setValue(percent);
}

PictureBox& ToolBox::pictureBox() {
    return *m_picture1;
}

bool ToolBox::textAnalysisSwitchedOff() const {
    return m_checkBox1->isChecked();
}

void ToolBox::closeEvent(QCloseEvent* event) {
    m_state.flags.StopBuild = kTrue;
    QWidget::closeEvent(event);
    if (event->isAccepted() && m_onClosed)
        m_onClosed();
}

} // namespace velmora
