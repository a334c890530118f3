#pragma once

#include "addin/host/HostApplication.h"
#include "analysis/ToolWindowView.h"
#include "base/Bool16.h"
#include "settings/Thresholds.h"
#include "store/SpamData.h"

#include <memory>

namespace velmora {

class PromptDialogs;

// What the engine asks of the add-in: the tool window and the database build.
class FilterServices {
public:
    virtual ~FilterServices() = default;
    // Prepares the tool window from the settings and shows it.
    virtual void showToolWindow() = 0;
    // Builds the database from the mail folders, to its end.
    virtual void buildDatabase() = 0;
};

// Flags shared by the engine, the add-in and the tool window. Everything runs
// on the host's thread; these flags are the only guard against re-entry while
// a loop yields to the host.
struct FilterFlags {
    Bool16 DatabaseBuilding = kFalse; // a build was stopped: classify nothing
    Bool16 SelfMoving = kFalse;       // the add-in itself is moving an item
    Bool16 StopBuild = kFalse;        // the tool window was closed
    Bool16 TextBoxLive = kTrue;       // false while the restricted-word box is filled
    Bool16 PromptAccepted = kFalse;   // answers of the prompt dialogs
    Bool16 PromptClosed = kFalse;
};

// What the picture-attachment check leaves behind for its caller.
struct PictureAttachmentState {
    Bool16 PictureAttachmentSaved = kFalse;
    std::shared_ptr<HostAttachment> attachment; // the item's first attachment
};

// The whole state of one running filter: its learnt data, its thresholds, its
// flags, and the window and services it works with. The add-in owns one.
struct FilterState {
    FilterState(const DataFolder& folder, ToolWindowView& toolBox, FilterServices& services,
                PromptDialogs& prompts)
        : data(folder), toolBox(toolBox), services(services), prompts(prompts) {}

    SpamData data;
    Thresholds thresholds;
    FilterFlags flags;
    PictureAttachmentState picture;
    ToolWindowView& toolBox;
    FilterServices& services;
    PromptDialogs& prompts;
    // The mail client, once the add-in is connected.
    std::shared_ptr<HostApplication> application;
};

} // namespace velmora
