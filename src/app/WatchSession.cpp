#include "app/WatchSession.h"

#include "app/WatchReport.h"

#include "base/VbError.h"
#include "hosts/maildir/MaildirItem.h"
#include "store/FileHelpers.h"
#include "store/PicTableFile.h"

#include <QDateTime>

namespace velmora {
WatchSession::WatchSession(Connect& connect, std::shared_ptr<maildir::MaildirApplication> app,
                           QTextStream& log, bool stamped)
    : m_connect(connect), m_app(std::move(app)), m_log(log),
      m_live(*m_app,
             [this](const QString& line) {
                 m_log << stamp() << line << '\n';
                 m_log.flush();
             }),
      m_stamped(stamped) {
    // Subscribed before the add-in: what it learns while judging new mail is
    // logged after the verdict.
    m_subscriptions.push_back(
        m_app->NewMailEx.subscribe([this](const QString&) { m_judging = true; }));
    m_connect.OnConnection(m_app);
    // Subscribed after the add-in: these run once its handlers are done.
    m_subscriptions.push_back(
        m_app->NewMailEx.subscribe([this](const QString& ids) { logNewMail(ids); }));
    m_subscriptions.push_back(m_app->ItemSend.subscribe([this](const MailItemRef& item) {
        m_log << stamp() << "sent to " << item->Recipients().join(QStringLiteral(", ")) << '\n';
        m_log.flush();
        logLearning();
    }));
    for (const auto& folder : m_app->allFolders()) {
        m_subscriptions.push_back(
            folder->Items().ItemAdd.subscribe([this](const MailItemRef&) { logLearning(); }));
        m_subscriptions.push_back(folder->Items().ItemRemove.subscribe([this] { logLearning(); }));
    }
    noteWhatItKnows();
}

QString WatchSession::stamp() const {
    return m_stamped ? QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss "))
                     : QString();
}

WatchSession::~WatchSession() {
    m_subscriptions.clear();
    m_app->Quit.raise();
}

void WatchSession::logNewMail(const QString& entryIds) {
    for (const QString& id : entryIds.split(u',', Qt::SkipEmptyParts)) {
        const auto item = m_app->findItem(id);
        if (!item) {
            m_log << stamp() << "new mail " << id << ": no longer there\n";
            continue;
        }
        m_log << stamp()
              << newMailVerdict(item->senderEmailAddress(), item->subject(),
                                &item->folder() == &m_app->junk(), m_app->junk().Name(),
                                item->folder().Name())
              << '\n';
    }
    m_judging = false;
    m_log.flush(); // a log file or pipe is read while the watch goes on
    takeUpStarterPictures();
    logLearning();
}

void WatchSession::takeUpStarterPictures() {
    // A database built while watching (new mail asked for it) holds only the
    // user's pictures, often none, and the starter set is merged only when
    // the table is next read, at the next start. With nothing of the user's
    // to lose, the table is read again now, as that start would read it.
    SpamData& data = m_connect.state().data;
    if (data.DatabaseMissing != kFalse || !data.PicTable.isEmpty() ||
        !FileExists(data.folder.dataFile(kDefaultPicDataFile)))
        return;
    ReadPicTable(data);
}

void WatchSession::noteWhatItKnows() {
    m_lastCounts = knowledgeOf(m_connect.state().data);
}

void WatchSession::logLearning() {
    if (m_judging)
        return; // logged with the verdict
    const QString counts = knowledgeOf(m_connect.state().data);
    if (counts == m_lastCounts)
        return;
    m_log << stamp() << "  learnt: now " << counts << '\n';
    m_log.flush();
    m_lastCounts = counts;
}

} // namespace velmora
