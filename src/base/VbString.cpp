#include "base/VbString.h"

namespace velmora {

QStringList vbSplit(const QString& text, QStringView separator) {
    if (text.isEmpty())
        return {};
    if (separator.isEmpty())
        return {text};
    return text.split(separator.toString(), Qt::KeepEmptyParts, Qt::CaseSensitive);
}

QString vbLCase(QStringView text) {
    QString out(text.size(), Qt::Uninitialized);
    char16_t* dst = reinterpret_cast<char16_t*>(out.data());
    const char16_t* src = text.utf16();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t u = src[i];
        if (u < 0x80)
            dst[i] = (u >= 'A' && u <= 'Z') ? char16_t(u + 32) : u;
        else if (QChar::isSurrogate(u))
            dst[i] = u;
        else {
            const char32_t lower = QChar::toLower(char32_t(u));
            dst[i] = lower <= 0xFFFF ? static_cast<char16_t>(lower) : u;
        }
    }
    return out;
}

QString vbTrim(const QString& text) {
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && text[start] == QLatin1Char(' '))
        ++start;
    while (end > start && text[end - 1] == QLatin1Char(' '))
        --end;
    return text.mid(start, end - start);
}

const QString& longerOrSecond(const QString& first, const QString& second) {
    return first.size() > second.size() ? first : second;
}

} // namespace velmora
