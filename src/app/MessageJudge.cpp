#include "app/MessageJudge.h"

#include "hosts/mime/MimeMessage.h"

namespace velmora {

memory::MessageContent contentOf(const QByteArray& raw) {
    const mime::Message message = mime::parseMessage(raw);
    memory::MessageContent content;
    content.itemClass = message.itemClass;
    content.typeName = message.typeName;
    content.sender = message.sender;
    content.subject = message.subject;
    content.body = message.body;
    content.htmlBody = message.htmlBody;
    content.recipients = message.recipients;
    for (const mime::Attachment& attachment : message.attachments)
        content.attachments.append({attachment.fileName, attachment.displayName, attachment.bytes});
    return content;
}

MessageJudge::MessageJudge(UserSession& session) : m_session(session) {
    m_session.connect.OnConnection(m_app);
}

MessageJudge::~MessageJudge() {
    m_session.connect.OnBeginShutdown();
}

bool MessageJudge::ready() const {
    return m_session.data().DatabaseMissing == kFalse;
}

Judgement MessageJudge::judge(const QByteArray& raw) {
    const auto item = m_app->deliver(contentOf(raw));
    Judgement judgement;
    judgement.spam = item->folder() == &m_app->junk();
    judgement.subject = item->savedSubject();
    // Nothing more is done with it: the client forgets it.
    if (memory::MemoryFolder* folder = item->folder())
        folder->takeItem(item);
    return judgement;
}

} // namespace velmora
