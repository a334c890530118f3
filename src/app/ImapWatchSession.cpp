#include "app/ImapWatchSession.h"

#include "app/WatchReport.h"

#include "hosts/imap/ImapItem.h"

#include <QDateTime>

namespace velmora {

ImapWatchSession::ImapWatchSession(Connect& connect, std::shared_ptr<imap::ImapApplication> app,
                                   QTextStream& log)
    : m_connect(connect), m_app(std::move(app)), m_log(log) {
    m_live = std::make_unique<imap::ImapLiveEvents>(*m_app,
                                                    [this](const QString& line) { write(line); });
    // Subscribed before the add-in: what it learns while judging new mail is
    // logged with the verdict.
    m_subscriptions.push_back(
        m_app->NewMailEx.subscribe([this](const QString&) { m_judging = true; }));
    m_connect.OnConnection(m_app);
    // Subscribed after the add-in: these run once its handlers are done.
    m_subscriptions.push_back(
        m_app->NewMailEx.subscribe([this](const QString& ids) { logNewMail(ids); }));
    m_subscriptions.push_back(m_app->ItemSend.subscribe([this](const MailItemRef& item) {
        write(QStringLiteral("sent to ") + item->Recipients().join(QStringLiteral(", ")));
        logLearning();
    }));
    for (imap::ImapFolder* folder : {&m_app->inbox(), &m_app->junk(), &m_app->trash()}) {
        m_subscriptions.push_back(
            folder->Items().ItemAdd.subscribe([this](const MailItemRef&) { logLearning(); }));
        m_subscriptions.push_back(folder->Items().ItemRemove.subscribe([this] { logLearning(); }));
    }
    m_lastCounts = knowledgeOf(m_connect.state().data);
}

ImapWatchSession::~ImapWatchSession() {
    m_subscriptions.clear();
    m_app->Quit.raise();
    m_live.reset();
}

void ImapWatchSession::write(const QString& line) {
    m_log << QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz ")) << line << '\n';
    // A log file or pipe is read while the watch goes on.
    m_log.flush();
}

void ImapWatchSession::logNewMail(const QString& entryIds) {
    for (const QString& id : entryIds.split(u',', Qt::SkipEmptyParts)) {
        const auto item = m_app->findItem(id);
        if (!item) {
            write(QStringLiteral("new mail %1: no longer there").arg(id));
            continue;
        }
        write(newMailVerdict(item->senderEmailAddress(), item->subject(),
                             &item->folder() == &m_app->junk(), m_app->junk().Name(),
                             item->folder().Name()));
    }
    m_judging = false;
    logLearning();
}

void ImapWatchSession::logLearning() {
    if (m_judging)
        return; // logged with the verdict
    const QString counts = knowledgeOf(m_connect.state().data);
    if (counts == m_lastCounts)
        return;
    write(QStringLiteral("  learnt: now ") + counts);
    m_lastCounts = counts;
}

} // namespace velmora
