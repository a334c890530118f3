#pragma once

#include "store/PicRec.h"
#include "store/TxtRecords.h"

namespace velmora::bench {

// The largest table the 16-bit counters allow.
inline constexpr int kFullTable = 32767;

// Deterministic, realistic-looking records: senders, subjects, links and
// letter counts of mails of a few hundred to a few thousand letters.
TxtRecords sampleTxtTable(int records);
PicRecords samplePicTable(int entries);

// A candidate that matches no record closely, so that a scan runs to the end.
TxtRec distantTxtCandidate();
PicRec distantPicCandidate();

} // namespace velmora::bench
