#pragma once

#include "base/VbError.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <array>
#include <cstdint>
#include <cstring>

namespace velmora {

// The field separator of the table files: the micro sign, byte 0xB5.
inline constexpr char kFieldSeparator = '\xB5';

// The fields of one table-file line, split at every separator, without copying.
template <int N>
class RecordFields {
public:
    // False when the line does not have exactly N fields.
    bool split(QByteArrayView line) {
        const char* p = line.data();
        const char* const end = p + line.size();
        int count = 0;
        while (true) {
            const char* sep = static_cast<const char*>(std::memchr(p, kFieldSeparator, end - p));
            if (count == N)
                return false;
            m_fields[count++] = QByteArrayView(p, (sep ? sep : end) - p);
            if (!sep)
                break;
            p = sep + 1;
        }
        return count == N;
    }

    QByteArrayView operator[](int index) const { return m_fields[index]; }

    bool isSpamFlag(int index) const { return m_fields[index] == QByteArrayView("S"); }
    QString text(int index) const;
    // Lenient numbers, rounded half to even into the field's width; a value out
    // of range throws VbError::Overflow.
    std::int32_t int32(int index) const;
    std::int16_t int16(int index) const;

private:
    std::array<QByteArrayView, N> m_fields;
};

// Parses one line with `parse`; an overflow is rethrown naming the file and line.
template <typename Parse>
auto parseAtLine(QStringView fileName, int lineNumber, Parse&& parse) {
    try {
        return parse();
    } catch (const VbError& error) {
        if (error.number() != VbError::Overflow)
            throw;
        throw VbError(VbError::Overflow,
                      QStringLiteral("%1, line %2").arg(fileName).arg(lineNumber));
    }
}

QString recordFieldText(QByteArrayView field);
std::int32_t recordFieldInt32(QByteArrayView field);
std::int16_t recordFieldInt16(QByteArrayView field);

template <int N>
QString RecordFields<N>::text(int index) const {
    return recordFieldText(m_fields[index]);
}
template <int N>
std::int32_t RecordFields<N>::int32(int index) const {
    return recordFieldInt32(m_fields[index]);
}
template <int N>
std::int16_t RecordFields<N>::int16(int index) const {
    return recordFieldInt16(m_fields[index]);
}

// Builds one table-file line field by field, in Windows-1252.
class RecordLineWriter {
public:
    explicit RecordLineWriter(QByteArray& out) : m_out(out) {}

    RecordLineWriter& flag(bool spam);
    RecordLineWriter& text(const QString& value);
    RecordLineWriter& number(std::int64_t value);
    // Ends the line with CR LF.
    void finish();

private:
    void separate();

    QByteArray& m_out;
    bool m_first = true;
};

} // namespace velmora
