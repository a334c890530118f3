#include "hosts/imap/OwnActionLog.h"

#include <QFile>
#include <QSaveFile>

namespace velmora::imap {

namespace {

// Far longer than a server takes to tell its other sessions of a change.
constexpr qint64 kForgetAfterMs = 60'000;

QByteArray field(const QString& text) {
    QByteArray bytes = text.toUtf8();
    return bytes.replace('\t', ' ').replace('\n', ' ').replace('\r', ' ');
}

} // namespace

// One line per entry, fields separated by tabs:
//   A <folder> <key>            the message is expected to appear
//   D <folder> <key>            ... to disappear
//   R <folder> <uidvalidity> <old uid> <new uid> <old key> <new key>
QString OwnActionLog::load(qint64 nowMs) {
    if (m_path.isEmpty())
        return {};
    QFile file(m_path);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly))
        return m_path + QStringLiteral(": ") + file.errorString();
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines[i].isEmpty())
            continue;
        const QList<QByteArray> f = lines[i].split('\t');
        if ((f[0] == "A" || f[0] == "D") && f.size() == 3) {
            m_entries.append({QString::fromUtf8(f[1]), QString::fromUtf8(f[2]),
                              f[0] == "A" ? Appears : Disappears, nowMs, true});
        } else if (f[0] == "R" && f.size() == 7) {
            Rewrite r{QString::fromUtf8(f[1]), f[2].toUInt(),           f[3].toUInt(),
                      f[4].toUInt(),           QString::fromUtf8(f[5]), QString::fromUtf8(f[6])};
            m_rewrites.append({m_nextRewrite++, r});
        } else {
            return QStringLiteral("%1:%2: not an entry of the host's own actions")
                .arg(m_path)
                .arg(i + 1);
        }
    }
    return {};
}

QString OwnActionLog::save() const {
    if (m_path.isEmpty())
        return {};
    QByteArray text;
    for (const Entry& e : m_entries)
        text += QByteArray(e.change == Appears ? "A" : "D") + '\t' + field(e.folder) + '\t' +
                field(e.key) + '\n';
    for (const auto& [number, r] : m_rewrites)
        text += "R\t" + field(r.folder) + '\t' + QByteArray::number(r.uidValidity) + '\t' +
                QByteArray::number(r.oldUid) + '\t' + QByteArray::number(r.newUid) + '\t' +
                field(r.oldKey) + '\t' + field(r.newKey) + '\n';
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return m_path + QStringLiteral(": ") + file.errorString();
    return {};
}

void OwnActionLog::expect(const QString& folder, const QString& key, Change change, qint64 nowMs,
                          bool untilReplay) {
    forgetOld(nowMs);
    m_entries.append({folder, key, change, nowMs, untilReplay});
}

bool OwnActionLog::consume(const QString& folder, const QString& key, Change change, qint64 nowMs) {
    forgetOld(nowMs);
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        const Entry& e = m_entries[i];
        if (e.change == change && e.key == key && e.folder == folder) {
            m_entries.removeAt(i);
            return true;
        }
    }
    return false;
}

void OwnActionLog::withdraw(const QString& folder, const QString& key, Change change) {
    for (qsizetype i = m_entries.size() - 1; i >= 0; --i) {
        const Entry& e = m_entries[i];
        if (e.change == change && e.key == key && e.folder == folder) {
            m_entries.removeAt(i);
            return;
        }
    }
}

void OwnActionLog::endReplay() {
    m_entries.removeIf([](const Entry& e) { return e.lastRun; });
}

int OwnActionLog::beginRewrite(const Rewrite& rewrite) {
    m_rewrites.append({m_nextRewrite, rewrite});
    return m_nextRewrite++;
}

void OwnActionLog::setRewriteUid(int number, quint32 newUid) {
    for (auto& [n, r] : m_rewrites)
        if (n == number)
            r.newUid = newUid;
}

void OwnActionLog::endRewrite(int number) {
    m_rewrites.removeIf([number](const auto& entry) { return entry.first == number; });
}

QList<OwnActionLog::Rewrite> OwnActionLog::pendingRewrites() const {
    QList<Rewrite> pending;
    for (const auto& entry : m_rewrites)
        pending.append(entry.second);
    return pending;
}

void OwnActionLog::forgetOld(qint64 nowMs) {
    m_entries.removeIf(
        [nowMs](const Entry& e) { return !e.lastRun && nowMs - e.since > kForgetAfterMs; });
}

} // namespace velmora::imap
