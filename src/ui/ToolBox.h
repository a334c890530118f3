#pragma once

#include "addin/AddinWindows.h"
#include "analysis/FilterState.h"
#include "settings/SettingsStore.h"

#include "ui/FormLifetime.h"

#include <QWidget>

#include <functional>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QSlider;

namespace velmora {

class PictureBoxWidget;

// "Velmora - <major>.<minor>.<revision>", each number in plain decimal.
QString toolBoxCaption(int major, int minor, int revision);
// The caption for this build's version.
QString toolBoxCaption();

// The add-in's working window: the two sensitivity levels, the switch that
// turns text analysis off, the restricted words, the buttons that build the
// database and sweep a folder, and the progress of what runs. The engine
// writes its status and the picture under analysis into it. Controls carry
// the object names the rest of the system knows them by (TrackBar1, spareL,
// Picture1, ...).
class ToolBox final : public QWidget, public ToolWindowView {
public:
    // `lifetime`, when given, keeps the window alive while its handlers run.
    ToolBox(FilterState& state, SettingsStore& settings, ToolBoxActions& actions,
            FormLifetime* lifetime = nullptr, QWidget* parent = nullptr);

    // Called when the user (or the add-in) has closed the window: closing
    // unloads it.
    void setClosedHandler(std::function<void()> onClosed) { m_onClosed = std::move(onClosed); }

    // Fills the controls from the settings and the restricted list, sets the
    // caption and shows the window without blocking (the add-in's Show).
    void prepareAndShow();

    // ToolWindowView
    QString statusText() const override { return m_status; }
    void setStatusText(const QString& text) override;
    void setCounterText(const QString& text) override;
    void setProgress(int percent) override;
    PictureBox& pictureBox() override;
    bool textAnalysisSwitchedOff() const override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void pictureLevelChanged(int value);
    void textLevelChanged(int value);
    void textSwitchClicked();
    void restrictedWordsChanged();
    void analyseFolders();
    void moveSpamInSelectedFolder();
    void openHelp();

    FilterState& m_state;
    SettingsStore& m_settings;
    ToolBoxActions& m_actions;
    FormLifetime* m_lifetime;
    std::function<void()> m_onClosed;
    QString m_status;

    QSlider* m_trackBar1;
    QLabel* m_label4;
    QSlider* m_trackBar2;
    QLabel* m_label3;
    QCheckBox* m_checkBox1;
    QPlainTextEdit* m_textBox1;
    QPushButton* m_button4;
    QPushButton* m_button3;
    QPushButton* m_command1;
    QProgressBar* m_progressBar1;
    QLabel* m_spareL;
    QLabel* m_label5;
    PictureBoxWidget* m_picture1;
};

} // namespace velmora
