#pragma once

#include "addin/AddinWindows.h"
#include "addin/host/HostApplication.h"
#include "analysis/FilterState.h"
#include "settings/SettingsStore.h"

#include <functional>
#include <optional>
#include <vector>

namespace velmora {

// A host object held by the add-in together with its event subscriptions:
// clearing it drops the reference and stops the events, as setting an
// event-receiving member to nothing does.
template <typename T>
struct Wired {
    std::shared_ptr<T> object;
    std::vector<Subscription> events;

    void clear() {
        events.clear();
        object.reset();
    }
    explicit operator bool() const { return static_cast<bool>(object); }
};

// The add-in as the mail client sees it: it connects to the host, wires the
// host's events to its handlers, builds the menu, loads the database and lets
// go of the host again. Its handlers classify arriving mail, trust the
// recipients of sent mail and learn from what the user moves in and out of
// the Junk folder. Everything runs on the host's thread.
class Connect final : public FilterServices, public ToolBoxActions {
public:
    Connect(const DataFolder& folder, SettingsStore& settings, AddinWindows& windows);
    ~Connect() override;

    // IDTExtensibility2
    void OnConnection(const std::shared_ptr<HostApplication>& application);
    void OnDisconnection();
    void OnAddInsUpdate() {}
    void OnStartupComplete() {}
    void OnBeginShutdown();

    void initAll();
    void Show();
    void Hide();

    FilterState& state() { return m_state; }
    SettingsStore& settings() { return m_settings; }
    bool FormDisplayed() const { return m_formDisplayed; }

    // Host events (public so that hosts and tests can see what is wired).
    void m_olOutlook_NewMailEx(const QString& entryIdCollection);
    void m_olOutlook_ItemSend(const MailItemRef& item);
    void m_olOutlook_Quit();
    // The explorer guards: each remembers the selection the user is about to
    // copy, cut, paste or move, since ItemRemove does not say what left.
    void m_olExplorer_BeforeItemCopy();
    void m_olExplorer_BeforeItemCut();
    void m_olExplorer_BeforeItemPaste(const FolderRef& target);
    void m_olExplorer_BeforeMove();
    void junkemail_ItemAdd(const MailItemRef& item);
    void junkemail_ItemRemove();
    void deletedemail_ItemAdd(const MailItemRef& item);
    void inboxemail_ItemRemove();
    void SBM_Click();
    void SBH_Click();
    void CLR_Click();

    // The database build from the mail folders, and the sweep of the folder
    // open in the mail client.
    void collect_emails();
    void move_spamb();

    // FilterServices
    void showToolWindow() override { Show(); }
    void buildDatabase() override { collect_emails(); }
    // ToolBoxActions
    void analyseFolders() override;
    void moveSpamInSelectedFolder() override { move_spamb(); }
    void openHelp() override { m_windows.openHelp(); }

    // The host's objects, as the add-in holds them while connected.
    FolderRef JunkFolder, InboxFolder, SentFolder, DeletedFolder;
    QString JunkFolderID, InboxFolderID, SentFolderID, DeletedFolderID;
    QList<FolderRef> AllFolders;
    QList<std::shared_ptr<HostExplorer>> AllExplorers;
    std::shared_ptr<HostApplication> OutlookApp;
    std::shared_ptr<HostApplication> VBInstance;
    std::shared_ptr<HostNamespace> MapiNamespace;
    std::shared_ptr<CommandBars> OutlookCmdBars;
    std::shared_ptr<CommandBar> OutlookMenuBar;
    Wired<HostApplication> m_olOutlook;
    Wired<HostExplorer> m_olExplorer;
    Wired<HostItems> junkemail, deletedemail, inboxemail;
    Wired<CommandBarControl> SBM, SBH, clr;
    MailItemRef CurrentMail;
    std::optional<QList<MailItemRef>> ActiveSelection; // nullopt: nothing remembered
    std::int32_t SelectionCount = 0;

private:
    void ReleaseAll();
    void buildMenu();
    void loadDatabase();
    void clearWorkRoot();
    // The block that opens every mail and folder handler while the database
    // is missing; false when the handler is to end here.
    bool databasePromptLetsHandlerGoOn();
    // After an ItemAdd: count the item off the remembered selection and save
    // the changed tables when the whole selection has arrived.
    void batchedSave(bool includeTrusted);
    void rememberSelection();
    // The start of the ItemAdd handlers: nothing while the add-in moves items
    // itself, then the database prompt; clears the table change flags.
    bool itemAddHandlerGoesOn();
    // The common part of the removal handlers: each remembered selected mail
    // or post item loses its tags and is handed to `handle`. False when there
    // was nothing remembered or the database prompt ended the handler.
    bool handleRemovedSelection(const std::function<void(MailItemView&)>& handle);
    void LearnFolder(HostFolder& folder);
    // The user's answer that a sender both junk and trusted is to be
    // trusted: its records go and its mails leave Junk for the Inbox.
    void trustSenderFromJunk(const QString& sender);
    template <typename Counter>
    void sweep(HostFolder& folder, bool showEachItem);

    SettingsStore& m_settings;
    AddinWindows& m_windows;
    FilterState m_state;
    bool m_formDisplayed = false;
    std::int16_t m_itemCounter = 0;
};

// Folder names the database build passes over, and those a sweep refuses
// (the same words without "Inbox"). Case-sensitive substring tests.
bool IsSkippedFolderName(const QString& name);
bool IsRefusedFolderName(const QString& name);

// "<folder name> <count>" as the database build shows it, cut to fit twenty
// characters. Kept as it always was: a cut name loses its last character too.
QString folderCountStatus(const QString& name, std::int16_t count);

// The subject without the filter's tags: nine characters go when it starts
// with "{S:" (whatever the score's length), then eight when it then starts
// with "{RESTR}".
QString subjectWithoutTags(const QString& subject);

// Whether the learning handlers take an item: mail and post items only.
bool isMailOrPost(const MailItemView& item);

} // namespace velmora
