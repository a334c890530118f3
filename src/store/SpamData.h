#pragma once

#include "base/Bool16.h"
#include "store/DataFolder.h"
#include "store/PicRec.h"
#include "store/StringList.h"
#include "store/TxtRecords.h"

namespace velmora {

// Everything the filter has learnt, as it is held in memory for the whole life
// of the add-in, with the folder it is stored in. There is one instance per
// running filter; the routines of the data store and of the analysis engine
// work on it.
struct SpamData {
    explicit SpamData(const DataFolder& folder) : folder(folder) {}

    DataFolder folder;

    StringList TrustedList;    // "trusteml.dat", kept in character order
    StringList RestrictedList; // "restricted.dat"
    TxtRecords TxtTable;       // "txtdata.dat"
    PicRecords PicTable;       // "picdata.dat"

    // Set by whoever changes a table; the points that persist save the flagged
    // tables and clear the flags.
    Bool16 TxtChanged = kFalse;
    Bool16 PicChanged = kFalse;
    Bool16 TrustChanged = kFalse;

    // Set at start-up when "txtdata.dat", "picdata.dat" or "trusteml.dat" was
    // missing, so that nothing was loaded.
    Bool16 DatabaseMissing = kFalse;
};

} // namespace velmora
