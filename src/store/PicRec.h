#pragma once

#include "base/Bool16.h"
#include "store/SlotArray.h"

#include <QString>

#include <array>
#include <cstdint>

namespace velmora {

// One learnt picture attachment reduced to its colour fingerprint. What a
// table scan reads comes first, so that it shares as few cache lines as
// possible.
struct PicRec {
    Bool16 Flag = kFalse;                  // true: learnt as spam; false: learnt as good mail
    std::int16_t Size = 0;                 // size measure from the fingerprinting
    std::array<std::int32_t, 20> Values{}; // whole percentages of the 20 colour bands
    std::int32_t FileLength = 0;           // bytes of the saved attachment
    QString Sender;                        // lower case; an entry without sender is never saved
    QString Subject;                       // normalised subject, or empty
    QString Attachment;                    // the attachment's file name as the mail client gives it

    bool operator==(const PicRec&) const = default;
};

// The picture table: slot 0 unused, entries from slot 1.
using PicRecords = SlotArray<PicRec>;

} // namespace velmora
