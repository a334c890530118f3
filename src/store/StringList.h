#pragma once

#include "store/SlotArray.h"

#include <QString>

namespace velmora {

// A list of strings stored one per line: the trusted sender addresses and the
// restricted words. Entries keep their order of arrival; duplicates are not
// refused here.
using StringList = SlotArray<QString>;

} // namespace velmora
