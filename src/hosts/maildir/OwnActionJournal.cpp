#include "hosts/maildir/OwnActionJournal.h"

namespace velmora::maildir {
namespace {

// Far longer than the watcher ever takes to report a rename.
constexpr qint64 kForgetAfterMs = 60'000;

} // namespace

void OwnActionJournal::expect(const QString& directory, const QString& base, Change change,
                              qint64 nowMs) {
    forgetOld(nowMs);
    m_entries.append({directory, base, change, nowMs});
}

bool OwnActionJournal::consume(const QString& directory, const QString& base, Change change,
                               qint64 nowMs) {
    forgetOld(nowMs);
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        const Entry& e = m_entries[i];
        if (e.change == change && e.base == base && e.directory == directory) {
            m_entries.removeAt(i);
            return true;
        }
    }
    return false;
}

void OwnActionJournal::withdraw(const QString& directory, const QString& base, Change change) {
    for (qsizetype i = m_entries.size() - 1; i >= 0; --i) {
        const Entry& e = m_entries[i];
        if (e.change == change && e.base == base && e.directory == directory) {
            m_entries.removeAt(i);
            return;
        }
    }
}

void OwnActionJournal::forgetOld(qint64 nowMs) {
    while (!m_entries.isEmpty() && nowMs - m_entries.first().since > kForgetAfterMs)
        m_entries.removeFirst();
}

} // namespace velmora::maildir
