#pragma once

#include "hosts/memory/MemoryApplication.h"

#include <QTextStream>

namespace velmora {

// The bundled demo mail in an in-memory mail client: "sent" in Sent Items,
// "learn/spam" in the Junk folder, "learn/good" in a folder of the user's
// ("Friends"), and, when asked, "incoming" already in the Inbox. Messages
// that cannot be read are reported on `err` and left out.
struct DemoMailbox {
    std::shared_ptr<memory::MemoryApplication> app = std::make_shared<memory::MemoryApplication>();
    int spam = 0;
    int good = 0;
};

DemoMailbox loadDemoMailbox(const QString& demoDir, bool incomingInInbox, QTextStream& err);

struct DemoMessage;
memory::MessageContent contentOf(const DemoMessage& message);
QList<DemoMessage> demoMessagesIn(const QString& demoDir, const QString& folder, QTextStream& err);

} // namespace velmora
