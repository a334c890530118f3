#pragma once

#include <QString>

namespace velmora {

// Keeps only the printable characters of a subject: ASCII from space to "~"
// except "?", and the code page's letters from 192 to 255. Everything else,
// including characters the code page cannot represent, is dropped. A text of
// more than 32,767 characters gives "" with "Normalyse_error: Overflow".
QString Normalyse(const QString& text);

// Lower-cases a mail text line by line. Intended and relied on by the stored
// features: the last line is never appended, so a one-line text gives "" and a
// text of n lines gives its first n - 1 lines, each ended by CR LF.
QString ToLower(const QString& text);

} // namespace velmora
