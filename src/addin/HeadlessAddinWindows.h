#pragma once

#include "addin/AddinWindows.h"
#include "analysis/HeadlessToolWindow.h"
#include "analysis/LoadedPictureBox.h"

#include <memory>

namespace velmora {

// The add-in's windows without a screen: the tool window's controls in
// memory, prompts answered by a fixed policy, help requests counted.
class HeadlessAddinWindows final : public AddinWindows, private ToolWindowView {
public:
    explicit HeadlessAddinWindows(HeadlessPromptAnswerer::Answer answer) : m_prompts(answer) {}

    void attach(FilterState& state, SettingsStore& settings, ToolBoxActions& actions) override;
    ToolWindowView& toolBox() override { return *this; }
    void prepareAndShowToolBox() override;
    void bringToolBoxToFront() override;
    void hideToolBox() override { m_shown = false; }
    void unloadForms() override;
    PromptDialogs& prompts() override { return m_prompts; }
    void openHelp() override { ++helpOpened; }

    // What a test may look at or do.
    HeadlessToolWindow& window();
    bool isShown() const { return m_shown; }
    HeadlessPromptAnswerer& answerer() { return m_prompts; }
    int helpOpened = 0;
    int timesPrepared = 0;

private:
    // ToolWindowView, forwarded to the loaded window.
    QString statusText() const override;
    void setStatusText(const QString& text) override { window().setStatusText(text); }
    void setCounterText(const QString& text) override { window().setCounterText(text); }
    void setProgress(int percent) override { window().setProgress(percent); }
    PictureBox& pictureBox() override { return m_pictureBox; }
    bool textAnalysisSwitchedOff() const override;

    FilterState* m_state = nullptr;
    SettingsStore* m_settings = nullptr;
    HeadlessPromptAnswerer m_prompts;
    std::shared_ptr<HeadlessToolWindow> m_window;
    LoadedPictureBox m_pictureBox{[this] {
        HeadlessToolWindow& loaded = window();
        return LoadedPictureBox::Held{&loaded.pictureBox(), m_window};
    }};
    bool m_shown = false;
};

} // namespace velmora
