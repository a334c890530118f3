#pragma once

#include "store/PicRec.h"

namespace velmora {

// Likeness of two picture fingerprints, with two decimals: the mean band
// likeness and the size likeness, averaged. Intended and relied on by the
// stored levels: the sum of the twenty band likenesses is divided by 17, so
// identical fingerprints score 108.82.
float comparepics(const PicRec& entry, const PicRec& fingerprint);

} // namespace velmora
