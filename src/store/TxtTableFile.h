#pragma once

#include "store/SpamData.h"

namespace velmora {

// "txtdata.dat": one text record per line, 24 fields separated by the byte
// 0xB5 (flag, sender, attachment, character and line counts, mail address,
// link, the sixteen letter counts in the file's fixed scrambled order, and the
// subject last).

// Replaces data.TxtTable with the file's records. Lines without exactly 24
// fields are dropped silently. A missing file or a number out of range stops
// the load with "ReadTxtTable: ..."; the records read before stay.
void ReadTxtTable(SpamData& data);

// Writes data.TxtTable to the file, replacing it; records without a sender are
// left out. A file that cannot be created is reported as
// "WriteTxtTable_error: <description> i=<position>Max=<upper bound>".
void WriteTxtTable(SpamData& data);

} // namespace velmora
