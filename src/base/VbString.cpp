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
    for (qsizetype i = 0; i < text.size(); ++i)
        dst[i] = vbLCaseUnit(src[i]);
    return out;
}

char16_t detail::vbLCaseNonAscii(char16_t u) {
    if (QChar::isSurrogate(u))
        return u;
    const char32_t lower = QChar::toLower(char32_t(u));
    return lower <= 0xFFFF ? static_cast<char16_t>(lower) : u;
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
