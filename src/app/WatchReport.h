#pragma once

#include <QString>

namespace velmora {

struct SpamData;

// The lines both watches (Maildir and IMAP) write about what they do, so that
// a log reads the same whichever mailbox is watched.

// "N text records, N picture records, N trusted senders"
QString knowledgeOf(const SpamData& data);

// The verdict on one new message: where it is now, Junk or where it stays.
QString newMailVerdict(const QString& sender, const QString& subject, bool spam,
                       const QString& junkName, const QString& keptIn);

} // namespace velmora
