#pragma once

#include "app/UserSession.h"
#include "hosts/memory/MemoryApplication.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace velmora {

// What the filter made of one raw message.
struct Judgement {
    bool spam = false;
    QString subject; // as the filter left it (with its score tag when spam)
};

// Judges raw messages one by one as new mail of the user's filter: each is
// delivered into a mail client in memory, where the add-in judges it with the
// user's data exactly as it judges a live Inbox (and learns what it catches).
class MessageJudge {
public:
    explicit MessageJudge(UserSession& session);
    ~MessageJudge();

    // False when there is no database to judge with.
    bool ready() const;
    Judgement judge(const QByteArray& raw);

private:
    UserSession& m_session;
    std::shared_ptr<memory::MemoryApplication> m_app =
        std::make_shared<memory::MemoryApplication>();
};

// A parsed message as the in-memory mail client holds it.
memory::MessageContent contentOf(const QByteArray& raw);

} // namespace velmora
