#include "ui/WidgetAddinWindows.h"

#include "ui/Dialog.h"
#include "ui/Dialog2.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"
#include "ui/WidgetPromptDialogs.h"

namespace velmora {

WidgetAddinWindows::WidgetAddinWindows() : m_prompts(std::make_unique<WidgetPromptDialogs>()) {}

WidgetAddinWindows::~WidgetAddinWindows() {
    delete m_toolBox;
}

void WidgetAddinWindows::attach(FilterState& state, SettingsStore& settings,
                                ToolBoxActions& actions) {
    m_state = &state;
    m_settings = &settings;
    m_actions = &actions;
    m_prompts->answerInto(state.flags);
}

ToolBox& WidgetAddinWindows::window() {
    if (!m_toolBox) {
        m_toolBox = new ToolBox(*m_state, *m_settings, *m_actions);
        // Closing unloads the window: the next use loads a fresh one.
        m_toolBox->setAttribute(Qt::WA_DeleteOnClose);
        m_toolBox->setAttribute(Qt::WA_QuitOnClose, false);
    }
    return *m_toolBox;
}

void WidgetAddinWindows::prepareAndShowToolBox() {
    window().prepareAndShow();
}

void WidgetAddinWindows::bringToolBoxToFront() {
    ToolBox& box = window();
    box.show();
    if (box.isMinimized())
        box.showNormal();
    box.raise();
}

void WidgetAddinWindows::hideToolBox() {
    if (m_toolBox)
        m_toolBox->hide();
}

void WidgetAddinWindows::unloadForms() {
    delete m_toolBox;
    m_prompts->unloadAll();
}

PromptDialogs& WidgetAddinWindows::prompts() {
    return *m_prompts;
}

HelpViewer& WidgetAddinWindows::helpViewer() {
    if (!m_help) {
        m_help = std::make_unique<HelpViewer>();
        m_help->setAttribute(Qt::WA_QuitOnClose, false);
    }
    return *m_help;
}

void WidgetAddinWindows::openHelp() {
    helpViewer().open();
}

QString WidgetAddinWindows::statusText() const {
    return m_toolBox ? m_toolBox->statusText() : QString();
}

void WidgetAddinWindows::setStatusText(const QString& text) {
    window().setStatusText(text);
}

void WidgetAddinWindows::setCounterText(const QString& text) {
    window().setCounterText(text);
}

void WidgetAddinWindows::setProgress(int percent) {
    window().setProgress(percent);
}

PictureBox& WidgetAddinWindows::pictureBox() {
    return window().pictureBox();
}

bool WidgetAddinWindows::textAnalysisSwitchedOff() const {
    return m_toolBox && m_toolBox->textAnalysisSwitchedOff();
}

} // namespace velmora
