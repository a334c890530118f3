#pragma once

#include "addin/host/MailItemView.h"
#include "analysis/FilterState.h"

namespace velmora {

// Learns one mail as an example: spam when `isSpam` is non-zero, good mail
// otherwise. A mail whose first attachment is a picture of 500 to 500,000
// bytes is learnt by its picture's fingerprint, any other by its text
// features. While the database is missing, the database build runs instead.
// Host failures throw VbError to the caller.
void LearnEmail(FilterState& state, MailItemView& item, std::int16_t isSpam);

// Puts a finished record into its table, at its sender's place in character
// order (a new sender never goes after the last entry), and sets the table's
// change flag. A record from a delivery-failure sender ("mailer-daemon@") is
// refused. A record equal to one already there (same sender, and for pictures
// the same attachment name and length, for text the same line count) only
// passes its spam flag to that entry. Failures show "AddPicEmail: ..." or
// "AddTxtEmail: ...Max =<upper bound>".
void AddPicEmail(SpamData& data, const PicRec& record);
void AddTxtEmail(SpamData& data, const TxtRec& record);

// The text record of a mail, features filled, as learning builds it; empty
// (no sender) for a text of more than 800,000 characters.
TxtRec learntTextRecord(FilterState& state, MailItemView& item);

// The status text shown while a mail's text is analysed.
QString textAnalysisStatus(const QString& sender);

} // namespace velmora
