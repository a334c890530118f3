#include "settings/StoredValue.h"

namespace velmora {
namespace {

// The start of a QDataStream-encoded value: its type number, then its bytes.
// "@Variant(" uses the stream format of Qt 4.0, "@DateTime(" that of Qt 5.6,
// which puts a null flag byte after the type number.
constexpr QLatin1StringView kVariant("@Variant(");
constexpr QLatin1StringView kDateTime("@DateTime(");

// A big-endian number of `size` bytes at `pos`, which moves past what was
// read. When fewer bytes are left, the number reads 0, as QDataStream has it.
quint64 readBigEndian(QByteArrayView bytes, qsizetype& pos, int size) {
    const qsizetype available = qMin<qsizetype>(size, bytes.size() - pos);
    quint64 value = 0;
    for (qsizetype i = 0; i < available; ++i)
        value = (value << 8) | static_cast<unsigned char>(bytes[pos + i]);
    pos += available;
    return available == size ? value : 0;
}

// Type numbers of QMetaType, and those of Qt 4 that the old stream format
// still writes for long and unsigned long.
enum TypeNumber : quint32 {
    Int = 2,
    UInt = 3,
    LongLong = 4,
    ULongLong = 5,
    Long = 32,
    ULong = 35,
    Qt4Long = 129,
    Qt4ULong = 132,
};

// The number a streamed value holds, when its type is a whole number.
StoredValue decodeStreamedNumber(QStringView payload, bool qt4Format) {
    // One byte per character; characters that are no byte read as '?'.
    QByteArray bytes(payload.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < payload.size(); ++i)
        bytes[i] = payload[i].unicode() <= 0xFF ? static_cast<char>(payload[i].unicode()) : '?';
    qsizetype pos = 0;
    quint32 type = static_cast<quint32>(readBigEndian(bytes, pos, 4));
    if (qt4Format) {
        if (type == Qt4Long)
            type = Long;
        else if (type == Qt4ULong)
            type = ULong;
    } else {
        readBigEndian(bytes, pos, 1); // null flag
    }
    int size = 0;
    switch (type) {
    case Int:
    case UInt:
        size = 4;
        break;
    case LongLong:
    case ULongLong:
    case Long:
    case ULong:
        size = 8;
        break;
    default:
        return {StoredValue::Other, {}, 0};
    }
    return {StoredValue::Number, {}, static_cast<quint32>(readBigEndian(bytes, pos, size))};
}

// How many arguments QSettings finds in "@Rect(x y w h)" and its kind: each
// blank and each ')' after the opening parenthesis ends one.
qsizetype argumentCount(QStringView text, qsizetype openParen) {
    qsizetype count = 0;
    for (const QChar c : text.sliced(openParen + 1)) {
        if (c == QLatin1Char(' ') || c == QLatin1Char(')'))
            ++count;
    }
    return count;
}

} // namespace

StoredValue decodeStoredValue(const IniValueText& value) {
    if (value.isList)
        return {StoredValue::Other, {}, 0};
    const QString& s = value.text;
    if (s.startsWith(QLatin1Char('@')) && s.endsWith(QLatin1Char(')'))) {
        if (s.startsWith(QLatin1StringView("@ByteArray(")))
            return {StoredValue::Other, {}, 0};
        if (s.startsWith(QLatin1StringView("@String(")))
            return {StoredValue::String, s.sliced(8).chopped(1), 0};
        if (s.startsWith(kVariant))
            return decodeStreamedNumber(QStringView(s).sliced(kVariant.size()), true);
        if (s.startsWith(kDateTime))
            return decodeStreamedNumber(QStringView(s).sliced(kDateTime.size()), false);
        if ((s.startsWith(QLatin1StringView("@Rect(")) && argumentCount(s, 5) == 4) ||
            (s.startsWith(QLatin1StringView("@Size(")) && argumentCount(s, 5) == 2) ||
            (s.startsWith(QLatin1StringView("@Point(")) && argumentCount(s, 6) == 2))
            return {StoredValue::Other, {}, 0};
        if (s == QLatin1StringView("@Invalid()"))
            return {};
    }
    if (s.startsWith(QLatin1StringView("@@")))
        return {StoredValue::String, s.sliced(1), 0};
    return {StoredValue::String, s, 0};
}

QByteArray encodeStoredString(const QString& text) {
    if (text.contains(QChar(0)))
        return escapeIniValue(QStringLiteral("@String(") + text + QLatin1Char(')'));
    if (text.startsWith(QLatin1Char('@')))
        return escapeIniValue(QLatin1Char('@') + text);
    return escapeIniValue(text);
}

} // namespace velmora
