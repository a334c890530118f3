#pragma once

#include "store/DataFolder.h"

#include <QString>

namespace velmora {

// The starter picture table shipped with the program ("defaultpicdata.dat"):
// installed beside it (../share/velmora/), else the copy in the build tree.
// "" when neither is there.
QString shippedStarterPictures();

// Copies the shipped starter table into the data folder when the folder has
// none, so that the next time the picture table is read, it is merged in
// front of a smaller table of the user's (and its message shown once).
void provideStarterPictures(const DataFolder& folder);

} // namespace velmora
