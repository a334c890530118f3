#pragma once

#include "base/Bool16.h"

#include <QString>

#include <array>
#include <cstdint>

namespace velmora {

// One learnt mail reduced to its text features. What a table scan reads comes
// first, so that it shares as few cache lines as possible.
struct TxtRec {
    Bool16 Flag = kFalse;       // true: learnt as spam; false: learnt as good mail
    std::int16_t LineCount = 0; // lines of the analysed text, less one
    std::int32_t CharCount = 0; // sum of Counts
    // Letter counts: 0 e, 1 a, 2 r, 3 i, 4 o, 5 t, 6 n, 7 s, 8 l, 9 c, 10 u,
    // 11 d and p together, 12 never counted, 13 m, 14 h, 15 g.
    std::array<std::int32_t, 16> Counts{};
    QString MailAddr;   // a mail address found in the text
    QString LinkHost;   // a link found in the text
    QString Sender;     // lower case; a record without sender is never saved
    QString Subject;    // as received, or empty when it contains "&#"
    QString Attachment; // lower-case file name of its picture attachment, or empty

    bool operator==(const TxtRec&) const = default;
};

} // namespace velmora
