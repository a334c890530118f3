#include "app/DemoMailbox.h"

#include "app/DemoMessage.h"

#include <QDir>

namespace velmora {

memory::MessageContent contentOf(const DemoMessage& message) {
    memory::MessageContent content;
    content.sender = message.sender;
    content.subject = message.subject;
    content.body = message.body;
    content.recipients = message.recipients;
    if (!message.attachmentName.isEmpty())
        content.attachments.append({message.attachmentName, QString(), message.attachment});
    return content;
}

QList<DemoMessage> demoMessagesIn(const QString& demoDir, const QString& folder, QTextStream& err) {
    QList<DemoMessage> messages;
    const QDir dir(QDir(demoDir).filePath(folder));
    const QString pictures = QDir(demoDir).filePath(QStringLiteral("pictures"));
    for (const QString& name : dir.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name)) {
        QString error;
        if (auto message = readDemoMessage(dir.filePath(name), pictures, error))
            messages.append(*message);
        else
            err << "velmora: " << error << '\n';
    }
    return messages;
}

DemoMailbox loadDemoMailbox(const QString& demoDir, bool incomingInInbox, QTextStream& err) {
    DemoMailbox box;
    const auto placeAll = [&](const QString& folder, memory::MemoryFolder& into) {
        const QList<DemoMessage> messages = demoMessagesIn(demoDir, folder, err);
        for (const DemoMessage& message : messages)
            box.app->place(into, contentOf(message));
        return int(messages.size());
    };
    placeAll(QStringLiteral("sent"), box.app->sentItems());
    box.spam = placeAll(QStringLiteral("learn/spam"), box.app->junk());
    box.good = placeAll(QStringLiteral("learn/good"),
                        box.app->addFolder(box.app->store(), QStringLiteral("Friends")));
    if (incomingInInbox)
        placeAll(QStringLiteral("incoming"), box.app->inbox());
    return box;
}

} // namespace velmora
