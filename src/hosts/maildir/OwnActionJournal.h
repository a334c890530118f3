#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

namespace velmora::maildir {

// What the host itself is about to do to message files (a move, a subject
// rewrite), noted before it happens, so that when the file watcher reports it
// back it is recognised and never taken for something the user did.
// Entries are matched once; one that is never reported (the rename failed,
// or its folder is not watched) is forgotten after a while.
class OwnActionJournal {
public:
    enum Change { Appears, Disappears };

    // `directory` is the folder's own directory; `base` the file's base name.
    void expect(const QString& directory, const QString& base, Change change, qint64 nowMs);
    // True (and the entry is used up) when the change was expected.
    bool consume(const QString& directory, const QString& base, Change change, qint64 nowMs);
    void withdraw(const QString& directory, const QString& base, Change change);

    qsizetype size() const { return m_entries.size(); }

private:
    struct Entry {
        QString directory;
        QString base;
        Change change;
        qint64 since;
    };
    void forgetOld(qint64 nowMs);

    QList<Entry> m_entries;
};

} // namespace velmora::maildir
