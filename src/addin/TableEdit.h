#pragma once

#include "base/HostYield.h"
#include "store/PicTableFile.h"
#include "store/SpamData.h"
#include "store/TxtTableFile.h"

namespace velmora {

// Removes slot `index` of a list or table: every later entry moves down one
// place and the list shrinks by one. With `yieldEachMove` the host's events
// run after each move.
template <typename Table>
void removeSlot(Table& table, int index, bool yieldEachMove) {
    for (int i = index; i < table.upperBound(); ++i) {
        table[i] = table[i + 1];
        if (yieldEachMove)
            yieldToHost();
    }
    table.removeLast();
}

// Writes the tables whose change flags are set, then clears both flags.
inline void saveChangedTables(SpamData& data) {
    if (data.PicChanged != kFalse)
        WritePicTable(data);
    if (data.TxtChanged != kFalse)
        WriteTxtTable(data);
    data.PicChanged = kFalse;
    data.TxtChanged = kFalse;
}

} // namespace velmora
