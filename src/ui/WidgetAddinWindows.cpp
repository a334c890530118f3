#include "ui/WidgetAddinWindows.h"

#include "ui/Dialog.h"
#include "ui/Dialog2.h"
#include "ui/HelpViewer.h"
#include "ui/ToolBox.h"
#include "ui/WidgetPromptDialogs.h"

namespace velmora {

WidgetAddinWindows::WidgetAddinWindows()
    : m_pictureBox([this] {
          // A retired window lives on while a handler scope is open.
          ToolBox& loaded = window();
          return LoadedPictureBox::Held{&loaded.pictureBox(),
                                        std::make_shared<FormLifetime::Scope>(&m_lifetime)};
      }),
      m_prompts(std::make_unique<WidgetPromptDialogs>()) {}

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
        ToolBox* box = new ToolBox(*m_state, *m_settings, *m_actions, &m_lifetime);
        // Closing unloads the window: the next use loads a fresh one.
        box->setClosedHandler([this, box] { toolBoxClosed(box); });
        box->setAttribute(Qt::WA_QuitOnClose, false);
        m_toolBox = box;
    }
    return *m_toolBox;
}

void WidgetAddinWindows::toolBoxClosed(ToolBox* closed) {
    if (m_toolBox == closed)
        m_toolBox = nullptr;
    m_lifetime.retire(closed);
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
    if (m_toolBox)
        m_toolBox->close(); // through its closing path: a running build stops
    if (m_prompts->addressConflictOpen())
        m_prompts->unloadAddressConflict();
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
    return m_pictureBox;
}

bool WidgetAddinWindows::textAnalysisSwitchedOff() const {
    return m_toolBox && m_toolBox->textAnalysisSwitchedOff();
}

} // namespace velmora
