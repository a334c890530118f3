#include "store/DataFolder.h"

namespace velmora {

DataFolder::DataFolder(const QString& workRoot) : m_workRoot(workRoot) {
    if (!m_workRoot.endsWith(QLatin1Char('/')))
        m_workRoot += QLatin1Char('/');
    m_dataFolder = m_workRoot + QStringLiteral("spamdata/");
}

QString attachmentFileName(const QString& name) {
    constexpr qsizetype kMaxLength = 120, kHeadLength = 100, kTailLength = 20;
    QString safe;
    safe.reserve(name.size() + 1);
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        const bool unsafe = u < 0x20 || u == 0x7F || u == u'/' || u == u'\\' || u == u'*' ||
                            u == u'?' || (u >= 0x80 && u < 0xA0);
        safe += unsafe ? QChar(u'_') : c;
    }
    if (safe.isEmpty() || safe.startsWith(QLatin1Char('.')))
        safe.prepend(QLatin1Char('_'));
    if (safe.size() > kMaxLength) {
        // Never cut between the two halves of a surrogate pair.
        qsizetype head = kHeadLength, tail = safe.size() - kTailLength;
        if (safe.at(head - 1).isHighSurrogate())
            --head;
        if (safe.at(tail).isLowSurrogate())
            ++tail;
        safe = safe.left(head) + safe.mid(tail);
    }
    return safe;
}

} // namespace velmora
