#include "addin/Connect.h"

#include "addin/host/HeldReference.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/VbError.h"
#include "settings/Thresholds.h"
#include "store/DataFileLoads.h"
#include "store/FileHelpers.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <QDir>
#include <QFileInfo>

namespace velmora {
namespace {

const QString kMenuCaption = QStringLiteral("V&elmora");

// Faces of the host's built-in icon set.
constexpr int kOpenFace = 548;
constexpr int kHelpFace = 49;
constexpr int kSweepFace = 108;
constexpr int kIconAndCaption = 3;

} // namespace

Connect::Connect(const DataFolder& folder, SettingsStore& settings, AddinWindows& windows)
    : m_settings(settings), m_windows(windows),
      m_state(folder, windows.toolBox(), *this, windows.prompts()) {
    m_windows.attach(m_state, m_settings, *this);
}

Connect::~Connect() {
    ReleaseAll();
}

void Connect::initAll() {
    FilterFlags& flags = m_state.flags;
    flags.DatabaseBuilding = kFalse;
    flags.TextBoxLive = kTrue;
    m_state.data.TrustedList.reset();
    m_state.data.RestrictedList.reset();
    m_state.data.TxtChanged = kFalse;
    m_state.data.PicChanged = kFalse;
    flags.SelfMoving = kFalse;

    // The work root may be the first folder of its kind on a fresh system, so
    // its parents are made too; the data folder is one level below it.
    const DataFolder& folder = m_state.data.folder;
    if (!DirectoryExist(folder.workRoot()))
        QDir().mkpath(folder.workRoot());
    if (!DirectoryExist(folder.dataFolder()))
        QDir().mkdir(folder.dataFolder());

    // Read before any default is written: the very first start runs at 80.
    m_state.thresholds = deriveThresholds(m_settings);
    m_state.data.TxtTable.reset();
    m_state.data.PicTable.reset();
    applyStartupDefaults(m_settings);
}

void Connect::OnConnection(const std::shared_ptr<HostApplication>& application) {
    try {
        held(application);
        VBInstance = application;
        OutlookApp = application;
        m_olOutlook.object = application;
        m_olOutlook.events.push_back(application->ItemSend.subscribe(
            [this](const MailItemRef& item) { m_olOutlook_ItemSend(item); }));
        m_olOutlook.events.push_back(application->NewMailEx.subscribe(
            [this](const QString& ids) { m_olOutlook_NewMailEx(ids); }));
        m_olOutlook.events.push_back(application->Quit.subscribe([this] { m_olOutlook_Quit(); }));
        m_state.application = application;

        MapiNamespace = application->GetNamespace(QStringLiteral("MAPI"));
        held(MapiNamespace);

        m_olExplorer.object = application->ActiveExplorer();
        HostExplorer& explorer = held(m_olExplorer.object);
        m_olExplorer.events.push_back(
            explorer.BeforeItemCopy.subscribe([this] { m_olExplorer_BeforeItemCopy(); }));
        m_olExplorer.events.push_back(
            explorer.BeforeItemCut.subscribe([this] { m_olExplorer_BeforeItemCut(); }));
        m_olExplorer.events.push_back(explorer.BeforeItemPaste.subscribe(
            [this](const FolderRef& target) { m_olExplorer_BeforeItemPaste(target); }));
        m_olExplorer.events.push_back(
            explorer.BeforeMove.subscribe([this] { m_olExplorer_BeforeMove(); }));
        AllExplorers = application->Explorers();
        AllFolders = MapiNamespace->Folders();

        JunkFolder = MapiNamespace->GetDefaultFolder(DefaultFolderJunk);
        held(JunkFolder);
        InboxFolder = MapiNamespace->GetDefaultFolder(DefaultFolderInbox);
        SentFolder = MapiNamespace->GetDefaultFolder(DefaultFolderSent);
        DeletedFolder = MapiNamespace->GetDefaultFolder(DefaultFolderDeleted);

        auto wireItems = [](Wired<HostItems>& member, const FolderRef& folder) {
            member.object =
                std::shared_ptr<HostItems>(std::shared_ptr<HostItems>(), &held(folder).Items());
        };
        wireItems(deletedemail, DeletedFolder);
        deletedemail.events.push_back(deletedemail.object->ItemAdd.subscribe(
            [this](const MailItemRef& item) { deletedemail_ItemAdd(item); }));
        wireItems(inboxemail, InboxFolder);
        inboxemail.events.push_back(
            inboxemail.object->ItemRemove.subscribe([this] { inboxemail_ItemRemove(); }));
        wireItems(junkemail, JunkFolder);
        junkemail.events.push_back(junkemail.object->ItemAdd.subscribe(
            [this](const MailItemRef& item) { junkemail_ItemAdd(item); }));
        junkemail.events.push_back(
            junkemail.object->ItemRemove.subscribe([this] { junkemail_ItemRemove(); }));

        JunkFolderID = JunkFolder->EntryID();
        DeletedFolderID = DeletedFolder->EntryID();
        InboxFolderID = InboxFolder->EntryID();
        SentFolderID = held(SentFolder).EntryID();

        OutlookCmdBars = held(application->ActiveExplorer()).commandBars();
        OutlookMenuBar = held(OutlookCmdBars).Item(QStringLiteral("Standard"));
        if (!OutlookMenuBar)
            throw VbError(VbError::AutomationError, QStringLiteral("no \"Standard\" command bar"));
        buildMenu();

        loadDatabase();
    } catch (const VbError& error) {
        // A data file not loaded by now was never read: the next save over it
        // keeps it aside, and says why.
        const DataFolder& folder = m_state.data.folder;
        for (QStringView name : {kTxtDataFile, kPicDataFile, kTrustedFile, kRestrictedFile})
            dataFileLoads::noteIfUnknown(folder.dataFile(name),
                                         QStringLiteral("the filter's start ended early (") +
                                             error.description() + QLatin1Char(')'));
        showMessage(error.description());
        return;
    }
    clearWorkRoot();
}

void Connect::buildMenu() {
    // A single property write or control the host refuses is passed over: the
    // menu is built as far as the host lets it be.
    const auto tolerated = [](const auto& write) {
        try {
            write();
        } catch (const VbError&) {
        }
    };
    // A pop-up left over from a run that did not close cleanly goes first.
    QList<ControlRef> controls;
    tolerated([&] { controls = OutlookMenuBar->Controls(); });
    for (const ControlRef& control : controls) {
        tolerated([&] {
            if (held(control).caption() == kMenuCaption)
                control->deleteControl();
        });
    }
    ControlRef popup;
    tolerated([&] { popup = OutlookMenuBar->add(ControlType::Popup, true); });
    tolerated([&] { held(popup).setCaption(kMenuCaption); });
    tolerated([&] { held(popup).setEnabled(true); });

    // Adds one button to the pop-up, with its property writes in the order
    // given, and wires its Click to `onClick`.
    const auto addButton = [&](Wired<CommandBarControl>& member, const QString& caption, int faceId,
                               bool captionBeforeFace, void (Connect::*onClick)()) {
        tolerated([&] { member.object = held(popup).add(ControlType::Button, true); });
        if (!member)
            return;
        CommandBarControl& button = *member.object;
        tolerated([&] { button.setStyle(kIconAndCaption); });
        if (captionBeforeFace)
            tolerated([&] { button.setCaption(caption); });
        tolerated([&] { button.setFaceId(faceId); });
        if (!captionBeforeFace)
            tolerated([&] { button.setCaption(caption); });
        tolerated([&] { button.setEnabled(true); });
        member.events.push_back(button.Click.subscribe([this, onClick] { (this->*onClick)(); }));
    };
    addButton(SBM, QStringLiteral("&Open Command Bar"), kOpenFace, false, &Connect::SBM_Click);
    addButton(SBH, QStringLiteral("&Help"), kHelpFace, false, &Connect::SBH_Click);
    initAll(); // runs twice while the menu is built; harmless, and kept
    addButton(clr, QStringLiteral("&Move Spam from Inbox"), kSweepFace, true, &Connect::CLR_Click);
    initAll();
}

void Connect::loadDatabase() {
    SpamData& data = m_state.data;
    const DataFolder& folder = data.folder;
    // A data file replaced by a folder (or anything but a regular file) is
    // not missing: treating it so would offer a build that overwrites the
    // intact files. It is reported, and its reader fails on it by name.
    const auto present = [&](QStringView name) {
        const QString path = folder.dataFile(name);
        if (FileExists(path))
            return true;
        if (!QFileInfo::exists(path))
            return false;
        showMessage(path + QStringLiteral(" is not a regular file"));
        return true;
    };
    const bool txtPresent = present(kTxtDataFile);
    const bool picPresent = present(kPicDataFile);
    const bool trustedPresent = present(kTrustedFile);
    if (!txtPresent || !picPresent || !trustedPresent) {
        data.DatabaseMissing = kTrue;
        writeDefaultSettings(m_settings);
        return;
    }
    LoadARRAY(data.TrustedList, folder.dataFile(kTrustedFile));
    if (FileExists(folder.dataFile(kRestrictedFile)))
        LoadARRAY(data.RestrictedList, folder.dataFile(kRestrictedFile));
    ReadTxtTable(data);
    ReadPicTable(data);
    data.DatabaseMissing = kFalse;
}

void Connect::clearWorkRoot() {
    // Picture attachments left behind by an earlier run; failures are silent.
    const QString root = m_state.data.folder.workRoot();
    if (!FileExists(root))
        return;
    const QDir dir(root);
    for (const QString& name :
         dir.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::NoSort)) {
        if (!QFile::remove(dir.filePath(name)))
            return;
    }
}

void Connect::OnBeginShutdown() {
    if (m_formDisplayed) {
        m_settings.saveAppSetting(QStringLiteral("Settings"), QStringLiteral("DisplayOnConnect"),
                                  QStringLiteral("1"));
        m_formDisplayed = false;
    } else {
        m_settings.saveAppSetting(QStringLiteral("Settings"), QStringLiteral("DisplayOnConnect"),
                                  QStringLiteral("0"));
    }
    ReleaseAll();
}

void Connect::OnDisconnection() {
    // The menu's controls are temporary: the host discards them when it
    // closes, and the next connection removes any leftover by its caption.
    ReleaseAll();
}

void Connect::m_olOutlook_Quit() {
    ReleaseAll();
}

void Connect::ReleaseAll() {
    m_windows.unloadForms();
    OutlookApp.reset();
    VBInstance.reset();
    m_state.application.reset();
    m_olOutlook.clear();
    MapiNamespace.reset();
    m_olExplorer.clear();
    AllExplorers.clear();
    AllFolders.clear();
    JunkFolder.reset();
    InboxFolder.reset();
    SentFolder.reset();
    DeletedFolder.reset();
    deletedemail.clear();
    inboxemail.clear();
    junkemail.clear();
    OutlookCmdBars.reset();
    OutlookMenuBar.reset();
    SBM.clear();
    SBH.clear();
    clr.clear();
}

void Connect::Show() {
    m_formDisplayed = true;
    m_windows.prepareAndShowToolBox();
}

void Connect::Hide() {
    m_formDisplayed = false;
    m_windows.hideToolBox();
}

void Connect::SBM_Click() {
    Show();
}

void Connect::SBH_Click() {
    m_windows.openHelp();
}

void Connect::analyseFolders() {
    collect_emails();
    m_state.toolBox.pictureBox().clearPicture();
    m_state.toolBox.setCounterText(QStringLiteral("Done"));
}

bool IsSkippedFolderName(const QString& name) {
    return IsRefusedFolderName(name) || name.contains(QStringLiteral("Inbox"));
}

bool IsRefusedFolderName(const QString& name) {
    static const QStringList kWords = {
        QStringLiteral("Junk"),     QStringLiteral("Drafts"),  QStringLiteral("Deleted"),
        QStringLiteral("Calendar"), QStringLiteral("Sent"),    QStringLiteral("Outbox"),
        QStringLiteral("Contacts"), QStringLiteral("Journal"), QStringLiteral("Notes"),
        QStringLiteral("Tasks"),
    };
    for (const QString& word : kWords) {
        if (name.contains(word))
            return true;
    }
    return false;
}

QString subjectWithoutTags(const QString& subject) {
    QString cleaned = subject;
    if (cleaned.startsWith(QStringLiteral("{S:")))
        cleaned = cleaned.mid(9);
    if (cleaned.startsWith(QStringLiteral("{RESTR}")))
        cleaned = cleaned.mid(8);
    return cleaned;
}

bool isMailOrPost(const MailItemView& item) {
    const QString type = item.typeName();
    return type == QStringLiteral("MailItem") || type == QStringLiteral("PostItem");
}

} // namespace velmora
