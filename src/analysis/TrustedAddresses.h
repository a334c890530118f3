#pragma once

#include "store/StringList.h"

#include <QString>

namespace velmora {

// Index (1 or more) of the entry equal to `address` in the trusted list, or 0.
// A binary search with an exact, case-sensitive comparison: callers pass the
// address in lower case.
short SearchinTrust(const StringList& trustedList, const QString& address);

// Inserts `address` into the trusted list at its place in character order,
// unless it is shorter than 6 characters or already present (an entry equal to
// it or beginning with it). Quoting apostrophes are cut first: a leading one,
// then, when the address ends with one, the first and the last character.
// Addresses are lower-cased except the very first one put into an empty list.
// A new address never goes after the last entry (see findInsertPlace).
void AddMailAddr(StringList& trustedList, QString address);

} // namespace velmora
