#include "addin/HeadlessAddinWindows.h"

#include "base/Val.h"
#include "settings/SettingsStore.h"

namespace velmora {

void HeadlessAddinWindows::attach(FilterState& state, SettingsStore& settings, ToolBoxActions&) {
    m_state = &state;
    m_settings = &settings;
    m_prompts.answerInto(state.flags);
}

HeadlessToolWindow& HeadlessAddinWindows::window() {
    if (!m_window)
        m_window = std::make_shared<HeadlessToolWindow>();
    return *m_window;
}

QString HeadlessAddinWindows::statusText() const {
    return m_window ? m_window->statusText() : QString();
}

bool HeadlessAddinWindows::textAnalysisSwitchedOff() const {
    return m_window && m_window->textAnalysisSwitchedOff();
}

void HeadlessAddinWindows::prepareAndShowToolBox() {
    ++timesPrepared;
    // The switch follows the stored text flag; the levels need no window here.
    window().setTextAnalysisSwitchedOff(m_state && m_state->thresholds.TextFlag != kFalse);
    m_shown = true;
}

void HeadlessAddinWindows::bringToolBoxToFront() {
    window();
    m_shown = true;
}

void HeadlessAddinWindows::unloadForms() {
    // Closing the window is what tells a running build to stop.
    if (m_window && m_state)
        m_state->flags.StopBuild = kTrue;
    m_window.reset();
    m_shown = false;
    if (m_prompts.addressConflictOpen())
        m_prompts.unloadAddressConflict();
}

} // namespace velmora
