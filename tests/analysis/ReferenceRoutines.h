#pragma once

#include "store/TxtRec.h"

#include <QString>

// Straightforward versions of the text routines, written the way the rules
// read (split into lines and words, one regular expression per HTML rule).
// The product's routines are tuned for speed; the differential tests hold
// them to these, bit for bit.
namespace velmora::reference {

QString ToLower(const QString& text);
TxtRec AnalyseText(QString& text);
QString htmlToText(const QString& html);

} // namespace velmora::reference
