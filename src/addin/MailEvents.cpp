// The application's mail events and the explorer guards.
#include "addin/Connect.h"

#include "addin/host/HeldReference.h"
#include "analysis/Classifier.h"
#include "analysis/PromptWait.h"
#include "analysis/TrustedAddresses.h"
#include "base/VbError.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"

namespace velmora {

bool Connect::databasePromptLetsHandlerGoOn() {
    if (m_state.data.DatabaseMissing == kFalse)
        return true;
    writeDefaultSettings(m_settings);
    if (!askToBuildDatabase(m_state.flags, m_state.prompts))
        return false;
    m_state.data.DatabaseMissing = kFalse;
    Show();
    collect_emails();
    return true;
}

void Connect::m_olOutlook_NewMailEx(const QString& entryIdCollection) {
    if (!databasePromptLetsHandlerGoOn())
        return;
    // No trap of its own: a failure ends the handler, and the identifiers
    // after it wait for the next event.
    try {
        // An empty list names no item (splitting it would give one empty
        // identifier).
        const QStringList ids =
            entryIdCollection.isEmpty() ? QStringList() : entryIdCollection.split(QLatin1Char(','));
        for (const QString& id : ids) {
            const MailItemRef item = held(MapiNamespace).GetItemFromID(id);
            if (held(item).itemClass() != kMailItemClass)
                continue;
            CurrentMail = item;
            m_state.flags.SelfMoving = kTrue;
            if (AnalyseEmail(m_state, *CurrentMail) != kFalse)
                held(CurrentMail).move(held(JunkFolder)); // a nested event may have cleared it
            CurrentMail.reset();
            m_state.flags.SelfMoving = kFalse;
        }
    } catch (const VbError&) {
        CurrentMail.reset();
    }
}

void Connect::m_olOutlook_ItemSend(const MailItemRef& item) {
    if (!databasePromptLetsHandlerGoOn())
        return;
    CurrentMail = item;
    try {
        for (const QString& address : CurrentMail->Recipients())
            AddMailAddr(m_state.data.TrustedList, address);
    } catch (const VbError&) {
        // No trap of its own: a failure ends the handler (the send goes on).
        CurrentMail.reset();
        return;
    }
    WriteARRAY(m_state.data.TrustedList, m_state.data.folder.dataFile(kTrustedFile));
    CurrentMail.reset();
}

void Connect::m_olExplorer_BeforeItemCopy() {
    rememberSelection();
}

void Connect::m_olExplorer_BeforeItemCut() {
    rememberSelection();
}

void Connect::m_olExplorer_BeforeItemPaste(const FolderRef&) {
    rememberSelection();
}

void Connect::m_olExplorer_BeforeMove() {
    rememberSelection();
}

void Connect::rememberSelection() {
    if (!m_olExplorer)
        return; // the guards run only while the explorer is wired
    ActiveSelection = m_olExplorer.object->Selection();
    SelectionCount = static_cast<std::int32_t>(ActiveSelection->size());
}

} // namespace velmora
