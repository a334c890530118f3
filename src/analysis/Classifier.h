#pragma once

#include "addin/host/MailItemView.h"
#include "analysis/FilterState.h"

namespace velmora {

// Judges one mail item: true when it is spam and is to be moved to Junk. It
// does not move the item. In this order, the first stage with a verdict ends it:
// nothing is judged while a stopped build or a missing database (the user is
// offered the build instead) or an empty table holds; a trusted sender or a
// delivery-failure notice is left alone; a picture attachment of 500 to
// 500,000 bytes is judged by its fingerprint against the picture table
// (with a suspicion tag above 50 when it does not reach the level); otherwise,
// unless text analysis is switched off or the text is longer than 80,000
// characters, by a known spam sender, a restricted word, and its text
// features against the text table. A spam verdict tags the subject
// ("{S:<score>%} " or "{RESTR} "), saves it and learns the mail as a further
// example. Host failures end it with a false verdict, silently.
Bool16 AnalyseEmail(FilterState& state, MailItemView& item);

} // namespace velmora
