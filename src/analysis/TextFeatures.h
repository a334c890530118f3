#pragma once

#include "store/TxtRec.h"

#include <QString>

namespace velmora {

// Reduces a mail text to the features of a text record: LineCount, MailAddr,
// LinkHost, the sixteen letter Counts and their sum CharCount. Flag, Sender,
// Subject and Attachment are left for the caller.
//
// `text` is replaced by its lower-cased form (which, as ToLower does, drops the
// last line), or by "too small" when that leaves fewer than 10 characters; the
// caller sees the change. A failure (a text of more than 32,768 lines) shows
// "TXT Analysing: ..." and returns the record as filled so far.
TxtRec AnalyseText(QString& text);

} // namespace velmora
