#pragma once

#include "addin/AddinWindows.h"
#include "analysis/LoadedPictureBox.h"
#include "ui/FormLifetime.h"

#include <QPointer>

#include <memory>

namespace velmora {

class HelpViewer;
class ToolBox;
class WidgetPromptDialogs;

// The add-in's windows on screen. The tool window is loaded when it is first
// used and unloaded when the user closes it, so a window loaded afresh starts
// with its text switch unticked, whatever the settings say, until it is
// prepared by the add-in's Show. The engine reaches the window only through
// this object, so work that yields while the window is closed goes on with a
// freshly loaded (hidden) one and never touches the closed one, which is
// destroyed once none of its handlers runs.
class WidgetAddinWindows final : public AddinWindows, private ToolWindowView {
public:
    WidgetAddinWindows();
    ~WidgetAddinWindows() override;

    void attach(FilterState& state, SettingsStore& settings, ToolBoxActions& actions) override;
    ToolWindowView& toolBox() override { return *this; }
    void prepareAndShowToolBox() override;
    void bringToolBoxToFront() override;
    void hideToolBox() override;
    void unloadForms() override;
    PromptDialogs& prompts() override;
    void openHelp() override;

    // The tool window as it is now (null when unloaded), for tests.
    ToolBox* loadedToolBox() const { return m_toolBox; }
    WidgetPromptDialogs& widgetPrompts() { return *m_prompts; }
    HelpViewer& helpViewer();

private:
    ToolBox& window();
    // The user closed the window (or the add-in did): it is unloaded.
    void toolBoxClosed(ToolBox* closed);

    // ToolWindowView, forwarded to the loaded window (loading one if needed).
    QString statusText() const override;
    void setStatusText(const QString& text) override;
    void setCounterText(const QString& text) override;
    void setProgress(int percent) override;
    PictureBox& pictureBox() override;
    bool textAnalysisSwitchedOff() const override;

    FilterState* m_state = nullptr;
    SettingsStore* m_settings = nullptr;
    ToolBoxActions* m_actions = nullptr;
    QPointer<ToolBox> m_toolBox;
    FormLifetime m_lifetime;
    LoadedPictureBox m_pictureBox;
    std::unique_ptr<WidgetPromptDialogs> m_prompts;
    std::unique_ptr<HelpViewer> m_help;
};

} // namespace velmora
