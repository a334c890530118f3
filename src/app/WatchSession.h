#pragma once

#include "addin/Connect.h"
#include "addin/host/EventSource.h"
#include "hosts/maildir/MaildirApplication.h"
#include "hosts/maildir/MaildirLiveEvents.h"

#include <QTextStream>

#include <memory>
#include <vector>

namespace velmora {

// The add-in attached to a live Maildir: the watcher raises what other
// clients do, and one line is logged per decision (what arrived and where it
// went, what the user moved, what was learnt).
class WatchSession {
public:
    // Connects `connect` to `app` and starts watching. Throws VbError when
    // the Maildir cannot be watched at all.
    // Log lines start with the time unless `stamped` is false.
    WatchSession(Connect& connect, std::shared_ptr<maildir::MaildirApplication> app,
                 QTextStream& log, bool stamped = true);
    // Lets go of the Maildir as a closing mail client does.
    ~WatchSession();

    // Judges mail that was waiting in the Inbox before the start.
    void deliverWaiting() { m_live.deliverWaiting(); }
    // Reports whatever the watcher has seen, without waiting.
    void flush() { m_live.flush(); }
    maildir::MaildirApplication& application() { return *m_app; }
    // What the filter knows now ("N text records, ..."); learning is logged
    // as it changes from what was last noted.
    void noteWhatItKnows();

private:
    void logNewMail(const QString& entryIds);
    void logLearning();
    void takeUpStarterPictures();
    QString stamp() const;

    Connect& m_connect;
    std::shared_ptr<maildir::MaildirApplication> m_app;
    QTextStream& m_log;
    maildir::MaildirLiveEvents m_live;
    std::vector<Subscription> m_subscriptions;
    QString m_lastCounts;
    bool m_stamped;
    bool m_judging = false;
};

} // namespace velmora
