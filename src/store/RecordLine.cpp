#include "store/RecordLine.h"

#include "base/Cp1252.h"
#include "base/NumberText.h"
#include "base/Rounding.h"
#include "base/Val.h"

namespace velmora {

QString recordFieldText(QByteArrayView field) {
    return field.isEmpty() ? QString() : fromCp1252(field);
}

std::int32_t recordFieldInt32(QByteArrayView field) {
    return toInt32(Val(field));
}

std::int16_t recordFieldInt16(QByteArrayView field) {
    return toInt16(Val(field));
}

void RecordLineWriter::separate() {
    if (!m_first)
        m_out.append(kFieldSeparator);
    m_first = false;
}

RecordLineWriter& RecordLineWriter::flag(bool spam) {
    separate();
    m_out.append(spam ? 'S' : 'G');
    return *this;
}

RecordLineWriter& RecordLineWriter::text(const QString& value) {
    separate();
    appendCp1252(m_out, value);
    return *this;
}

RecordLineWriter& RecordLineWriter::number(std::int64_t value) {
    separate();
    appendSignOrSpace(m_out, value);
    return *this;
}

void RecordLineWriter::finish() {
    m_out.append("\r\n", 2);
}

} // namespace velmora
