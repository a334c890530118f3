#pragma once

#include "store/SpamData.h"

namespace velmora {

// "picdata.dat" and the shipped "defaultpicdata.dat": one picture entry per
// line, 26 fields separated by the byte 0xB5 (flag, sender, attachment, file
// length, size, the twenty band values, and the subject last).

// Replaces data.PicTable with the entries of "picdata.dat". When a default
// file exists and is longer than the user's file, its entries are loaded first
// (with the message "Your spam database was updated successfully with default
// spam database") and the merged table is saved, so the merge happens once.
// Lines without exactly 26 fields are dropped silently; any failure stops the
// load with "ReadPicTable_error: ...", keeping the entries read so far.
void ReadPicTable(SpamData& data);

// Writes data.PicTable to "picdata.dat", replacing it; entries without a
// sender are left out. A file that cannot be created is reported as
// "WritePicTable_error: ...".
void WritePicTable(SpamData& data);

} // namespace velmora
