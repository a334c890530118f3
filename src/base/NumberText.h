#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace velmora {

// Whole numbers in sign-or-space form, the form every number in the data files
// and several messages takes: a space before zero or a positive value, a minus
// sign before a negative one (" 0", " 42", "-5").
QString signOrSpace(std::int64_t value);

// Appends the same text, in ASCII, to a byte buffer (used when writing files).
void appendSignOrSpace(QByteArray& out, std::int64_t value);

} // namespace velmora
