#include "hosts/imap/ModifiedUtf7.h"

#include <optional>
#include <utility>

namespace velmora::imap {

namespace {

QByteArray base64Run(const QString& run) {
    QByteArray utf16;
    for (const QChar c : run) {
        utf16 += static_cast<char>(c.unicode() >> 8);
        utf16 += static_cast<char>(c.unicode() & 0xff);
    }
    QByteArray encoded = utf16.toBase64(QByteArray::OmitTrailingEquals);
    encoded.replace('/', ',');
    return '&' + encoded + '-';
}

std::optional<QString> decodeStrict(QByteArrayView wire) {
    QString name;
    qsizetype i = 0;
    while (i < wire.size()) {
        const char c = wire[i];
        if (static_cast<unsigned char>(c) >= 0x80)
            return std::nullopt;
        if (c != '&') {
            name += QLatin1Char(c);
            ++i;
            continue;
        }
        const qsizetype end = wire.indexOf('-', i + 1);
        if (end < 0)
            return std::nullopt;
        if (end == i + 1) {
            name += u'&';
            i = end + 1;
            continue;
        }
        QByteArray run(wire.data() + i + 1, end - i - 1);
        for (const char b : std::as_const(run))
            if (!QChar::isLetterOrNumber(static_cast<unsigned char>(b)) && b != '+' && b != ',')
                return std::nullopt;
        run.replace(',', '/');
        const auto decoded =
            QByteArray::fromBase64Encoding(run, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded || decoded.decoded.size() % 2 != 0)
            return std::nullopt;
        for (qsizetype k = 0; k < decoded.decoded.size(); k += 2)
            name +=
                QChar(static_cast<char16_t>((static_cast<unsigned char>(decoded.decoded[k]) << 8) |
                                            static_cast<unsigned char>(decoded.decoded[k + 1])));
        i = end + 1;
    }
    return name;
}

} // namespace

QByteArray encodeMailboxName(const QString& name) {
    QByteArray wire;
    QString run; // characters waiting to be written in base64
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        if (u >= 0x20 && u <= 0x7e) {
            if (!run.isEmpty())
                wire += base64Run(std::exchange(run, {}));
            wire += u == '&' ? QByteArrayLiteral("&-") : QByteArray(1, static_cast<char>(u));
        } else {
            run += c;
        }
    }
    if (!run.isEmpty())
        wire += base64Run(run);
    return wire;
}

QString decodeMailboxName(QByteArrayView wire) {
    if (const auto name = decodeStrict(wire))
        return *name;
    return QString::fromUtf8(wire);
}

} // namespace velmora::imap
