#pragma once

#include <QString>
#include <QStringList>

namespace velmora {

// The first piece that looks like a mail address (holds "@") or a web link
// (holds "www."), or "" when none does.
QString Choosegod(const QStringList& pieces);

// Cuts a link or mail-address candidate out of the punctuation and markup
// around it: a leading "<", ">", "'", "!", ":", "\n" or quote is cut from the
// candidate as passed in; then at each of a fixed list of separators the
// longer of two pieces (or the address-like one of several) is kept; last
// "&" and "?" cut off query strings.
QString Cleanstring(const QString& candidate);

} // namespace velmora
