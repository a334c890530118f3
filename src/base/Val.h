#pragma once

#include <QByteArrayView>
#include <QStringView>

namespace velmora {

// The lenient numeric parse the data files and settings are read with:
// blanks, tabs and line feeds are ignored wherever they stand, an optional
// sign, digits, an optional decimal point and an exponent (E or D) are taken,
// and reading stops at the first character that cannot continue the number.
// "&H" and "&O" introduce hexadecimal and octal numbers. A text without a
// number gives 0. A number too large for a double is VbError::Overflow.
double Val(QStringView text);

// The same over single-byte (ANSI) text, used when parsing data files in place.
double Val(QByteArrayView text);

} // namespace velmora
