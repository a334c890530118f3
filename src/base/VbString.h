#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

namespace velmora {

// The line break the text routines split and join mail text with.
inline constexpr QStringView kLineBreak = u"\r\n";

// Splits at every occurrence of `separator` (exact, case-sensitive), keeping
// empty pieces. An empty text gives no pieces at all, and an empty separator
// gives the whole text as the only piece.
QStringList vbSplit(const QString& text, QStringView separator);

// Lower-cases code unit by code unit, so the length never changes.
QString vbLCase(QStringView text);

namespace detail {
char16_t vbLCaseNonAscii(char16_t u);
}

// One code unit as vbLCase lower-cases it; surrogates stay as they are.
inline char16_t vbLCaseUnit(char16_t u) {
    if (u < 0x80)
        return (u >= 'A' && u <= 'Z') ? char16_t(u + 32) : u;
    return detail::vbLCaseNonAscii(u);
}

// Removes leading and trailing blanks (spaces only; tabs stay).
QString vbTrim(const QString& text);

// The longer of two pieces; on equal length the second one.
const QString& longerOrSecond(const QString& first, const QString& second);

} // namespace velmora
