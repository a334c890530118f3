#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

namespace velmora::imap {

// What the host itself does on the server (the filter's moves and subject
// rewrites), written down before it is done, so that the watchers, which see
// it come back like anything another client does, never report it as the
// user's, neither now nor at the next start after a crash.
//
// Entries are matched by folder and message key, once each. Entries made in
// this run are forgotten after a minute (their change never showed up: the
// command failed or the folder is not watched); those read from the file of
// a run that ended before they were seen are kept until the replay of what
// happened meanwhile is over (endReplay()).
//
// A subject rewrite is APPEND of the new message, then expunging the old
// one. The log keeps each rewrite under way, so that a start after a crash
// in between finds the old message still beside its new copy and removes it.
class OwnActionLog {
public:
    enum Change { Appears, Disappears };
    struct Rewrite {
        QString folder;
        quint32 uidValidity = 0;
        quint32 oldUid = 0;
        quint32 newUid = 0; // 0 until the server has told it
        QString oldKey;
        QString newKey;
    };

    // `path` is the log's file; empty keeps the log in memory only.
    explicit OwnActionLog(QString path = {}) : m_path(std::move(path)) {}

    // Reads what a previous run left. Returns an error naming the file and
    // line, or nothing.
    QString load(qint64 nowMs);
    // Writes the log whole (atomically). Returns an error naming the file.
    QString save() const;

    // `untilReplay`: the folder is not watched in this run (a sweep from the
    // command line), so the change shows only at the next start; the entry
    // is kept until that start's replay is over.
    void expect(const QString& folder, const QString& key, Change change, qint64 nowMs,
                bool untilReplay = false);
    // True (and the entry is used up) when the change was expected.
    bool consume(const QString& folder, const QString& key, Change change, qint64 nowMs);
    void withdraw(const QString& folder, const QString& key, Change change);
    // The replay after a start is over: entries of the last run go.
    void endReplay();

    // Returns the rewrite's number, for the calls below.
    int beginRewrite(const Rewrite& rewrite);
    void setRewriteUid(int number, quint32 newUid);
    void endRewrite(int number);
    void clearRewrites() { m_rewrites.clear(); }
    QList<Rewrite> pendingRewrites() const;

    qsizetype size() const { return m_entries.size(); }

private:
    struct Entry {
        QString folder;
        QString key;
        Change change;
        qint64 since;
        bool lastRun = false;
    };
    void forgetOld(qint64 nowMs);

    QString m_path;
    QList<Entry> m_entries;
    QList<std::pair<int, Rewrite>> m_rewrites;
    int m_nextRewrite = 1;
};

} // namespace velmora::imap
