#pragma once

#include "store/StringList.h"

#include <QString>

namespace velmora {

// Word-list files ("trusteml.dat", "restricted.dat"): one entry per line, as
// stored, in Windows-1252 with CR LF line ends.

// Replaces the list's content with the file's non-empty lines. On failure
// (file missing or unreadable) the message "LoadARRAY_error: ..." is shown and
// the lines read so far stay in the list.
void LoadARRAY(StringList& list, const QString& path);

// Writes the list to the file, replacing its content. Kept on purpose: a list
// of exactly one entry is saved as an empty file (only lists of two or more
// entries are written out). A list longer than 32,767 entries cannot be counted
// and leaves the file empty, with "WriteARRAY_error: Overflow".
void WriteARRAY(const StringList& list, const QString& path);

} // namespace velmora
