#pragma once

#include "store/TxtRec.h"

namespace velmora {

// How close the smaller of two quantities is to the larger, in whole percent
// (0 to 100 for non-negative inputs; symmetric). A zero counts as 0.0001, so
// two zeros give 100 and a zero against 1 or more gives 0. The quotient is
// taken in single precision and rounded half to even (1 against 8 gives 12).
float comppar(float a, float b);

// Likeness of two text records in percent, with two decimals: the sixteen
// letter counts weigh twice as much as the lines-per-letter density; below 100
// an equal mail address, then an equal link, each halve the distance to 100.
// Intended: two empty addresses or links are equal and earn the bonus.
float comparetxt(const TxtRec& stored, const TxtRec& candidate);

} // namespace velmora
