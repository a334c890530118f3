#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace velmora {

// The INI dialect Qt's QSettings reads and writes, so that settings files
// written by earlier versions keep their meaning and files written now can be
// read by them. Everything here works on bytes and strings only: no value is
// ever turned into another type.

// One logical line of an INI file: the bytes [start, end), and the position of
// its first '=' outside double quotes (-1 when it has none).
struct IniLine {
    qsizetype start = 0;
    qsizetype end = 0;
    qsizetype equals = -1;
};

// Splits a file into logical lines. Blanks and line ends before a line are
// skipped, and so are lines starting with ';'. A line ends at CR or LF, or at a
// ';' that starts a trailing comment, unless it stands inside double quotes; a
// backslash takes the next byte (or a CR LF pair) with it. A UTF-8 byte order
// mark at the start is skipped.
QList<IniLine> splitIniLines(QByteArrayView data);

// Section names and keys: "%XX" and "%UXXXX" stand for the character with that
// hexadecimal code, and a backslash for '/', which separates the parts of a key.
QString unescapeIniKey(QByteArrayView key);
QByteArray escapeIniKey(QStringView key);

// A value as stored: text in UTF-8 with C-style escapes (\n, \", \\, \xNN,
// octal), optionally in double quotes, which keep leading and trailing blanks,
// commas and semicolons. Unquoted commas make the value a list.
struct IniValueText {
    QString text;      // the value, when it is not a list
    QStringList items; // the items of a list
    bool isList = false;
};
IniValueText unescapeIniValue(QByteArrayView value);

// The stored form of `text` as a single string (never a list).
QByteArray escapeIniValue(QStringView text);

} // namespace velmora
