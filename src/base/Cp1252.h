#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace velmora {

// Windows-1252, the code page every data file is written in. Each UTF-16 code
// unit maps to exactly one byte, so lengths are kept: a character the code page
// cannot represent (a lone surrogate included) becomes "?" (63). The five
// bytes the code page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) read as
// the control characters of the same number and write back as themselves, so
// any file survives a load and a save byte for byte.

// The character's ANSI code: its Windows-1252 byte, or 63 when it has none.
unsigned char ansiCode(QChar c);

QString fromCp1252(QByteArrayView bytes);
QByteArray toCp1252(QStringView text);
void appendCp1252(QByteArray& out, QStringView text);

} // namespace velmora
