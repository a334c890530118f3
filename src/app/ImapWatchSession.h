#pragma once

#include "addin/Connect.h"
#include "addin/host/EventSource.h"
#include "hosts/imap/ImapApplication.h"
#include "hosts/imap/ImapLiveEvents.h"

#include <QTextStream>

#include <memory>
#include <vector>

namespace velmora {

// The add-in attached to a live IMAP account: the folder watchers raise what
// other clients do, and one line is logged per decision (what arrived and
// where it went, what the user moved, what was learnt), as for a Maildir.
class ImapWatchSession {
public:
    // Connects `connect` to `app` and starts watching; the watchers replay
    // what happened since the last run once the event loop runs.
    ImapWatchSession(Connect& connect, std::shared_ptr<imap::ImapApplication> app,
                     QTextStream& log);
    // Lets go of the account as a closing mail client does.
    ~ImapWatchSession();

    // Runs the event loop until every folder is watched (false on the
    // time-out).
    bool waitUntilWatching(int timeoutMs) { return m_live->waitUntilWatching(timeoutMs); }
    void flush() { m_live->flush(); }
    imap::ImapApplication& application() { return *m_app; }

private:
    void logNewMail(const QString& entryIds);
    void logLearning();
    void write(const QString& line);

    Connect& m_connect;
    std::shared_ptr<imap::ImapApplication> m_app;
    QTextStream& m_log;
    std::unique_ptr<imap::ImapLiveEvents> m_live;
    std::vector<Subscription> m_subscriptions;
    QString m_lastCounts;
    bool m_judging = false;
};

} // namespace velmora
