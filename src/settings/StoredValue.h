#pragma once

#include "settings/IniSyntax.h"

#include <QString>
#include <QtGlobal>

namespace velmora {

// What a value in the settings file holds. QSettings marks values of other
// types with a leading "@": "@String(...)" is a string holding NUL
// characters, "@@..." a string that starts with "@", "@Variant(...)" any type
// in QDataStream's binary form, "@ByteArray(...)" bytes. Only strings and
// whole numbers are taken from them here, and numbers are decoded from their
// bytes by hand: nothing in the file can make the filter build an object of
// another type.
struct StoredValue {
    enum Kind {
        Missing, // no such key, or "@Invalid()"
        String,
        Number,
        Other, // a list, bytes, or a value of any other type
    };
    Kind kind = Missing;
    QString text;       // for String
    quint32 number = 0; // for Number: the low 32 bits of the stored number
};

StoredValue decodeStoredValue(const IniValueText& value);

// The escaped text that stores `text` as a string.
QByteArray encodeStoredString(const QString& text);

} // namespace velmora
