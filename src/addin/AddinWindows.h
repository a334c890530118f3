#pragma once

#include "analysis/FilterState.h"
#include "analysis/PromptDialogs.h"

namespace velmora {

class SettingsStore;

// What the tool window's buttons start; the add-in provides them.
class ToolBoxActions {
public:
    virtual ~ToolBoxActions() = default;
    // "Analyse Folders": builds the database from the mail folders.
    virtual void analyseFolders() = 0;
    // "MoveSpam in Sel.Folder": sweeps the folder open in the mail client.
    virtual void moveSpamInSelectedFolder() = 0;
    // "Help": opens the help viewer or brings it to the front.
    virtual void openHelp() = 0;
};

// The add-in's windows: the tool window, the prompts and the help viewer. A
// Qt implementation shows real windows; HeadlessAddinWindows keeps their
// state in memory for daemons and tests.
class AddinWindows {
public:
    virtual ~AddinWindows() = default;

    // Called once by the add-in before anything else.
    virtual void attach(FilterState& state, SettingsStore& settings, ToolBoxActions& actions) = 0;

    // The tool window as the engine sees it. Using it loads a fresh window
    // (unshown, its switch unticked) when none is loaded.
    virtual ToolWindowView& toolBox() = 0;
    // Fills the tool window from the settings and the restricted list and
    // shows it without blocking.
    virtual void prepareAndShowToolBox() = 0;
    // Brings the tool window to the front and shows it (without preparing).
    virtual void bringToolBoxToFront() = 0;
    virtual void hideToolBox() = 0;
    // When the add-in lets go of the host: closes the tool window as the user
    // would (so a running build stops before its next item) and unloads the
    // address-conflict prompt. The database prompt is left alone: a handler
    // waiting on it ends when the user answers.
    virtual void unloadForms() = 0;

    virtual PromptDialogs& prompts() = 0;
    virtual void openHelp() = 0;
};

} // namespace velmora
