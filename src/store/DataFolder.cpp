#include "store/DataFolder.h"

#include <QCryptographicHash>

namespace velmora {

DataFolder::DataFolder(const QString& workRoot) : m_workRoot(workRoot) {
    if (!m_workRoot.endsWith(QLatin1Char('/')))
        m_workRoot += QLatin1Char('/');
    m_dataFolder = m_workRoot + QStringLiteral("spamdata/");
}

namespace {

bool needsEscape(char16_t u) {
    return u < 0x20 || u == 0x7F || (u >= 0x80 && u < 0xA0) || u == u'/' || u == u'\\' ||
           u == u'*' || u == u'?' || u == u'%';
}

void appendEscaped(QString& out, QChar c) {
    for (const char byte : QString(c).toUtf8())
        out += QStringLiteral("%%%1")
                   .arg(uint(static_cast<unsigned char>(byte)), 2, 16, QLatin1Char('0'))
                   .toUpper();
}

// Cuts `safe` to at most kMaxFileNameBytes bytes of UTF-8, keeping its start
// and its end (the extension), with a hash of the whole name between them so
// that two long names that differ only in the middle stay apart.
QString shortened(const QString& safe) {
    constexpr qsizetype kHeadChars = 60, kTailChars = 20;
    qsizetype head = kHeadChars, tail = safe.size() - kTailChars;
    // Never cut between the two halves of a surrogate pair.
    if (safe.at(head - 1).isHighSurrogate())
        --head;
    if (safe.at(tail).isLowSurrogate())
        ++tail;
    const QByteArray hash =
        QCryptographicHash::hash(safe.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    return safe.left(head) + QLatin1Char('~') + QString::fromLatin1(hash) + safe.mid(tail);
}

} // namespace

QString attachmentFileName(const QString& name) {
    // Escaped characters are up to 4 UTF-8 bytes, so 60 + 20 of them stay
    // within 255 bytes with the hash; names are kept whole up to 200 bytes.
    constexpr qsizetype kMaxFileNameBytes = 200;
    QString safe;
    safe.reserve(name.size() + 3);
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name.at(i);
        // A leading dot would make "." or ".." or a hidden file.
        if (needsEscape(c.unicode()) || (i == 0 && c == QLatin1Char('.')))
            appendEscaped(safe, c);
        else
            safe += c;
    }
    if (safe.isEmpty())
        return QStringLiteral("%"); // no escaped name is a lone "%"
    if (safe.toUtf8().size() > kMaxFileNameBytes)
        return shortened(safe);
    return safe;
}

} // namespace velmora
