#pragma once

#include "addin/host/MailItemView.h"

#include <QString>

namespace velmora {

// The text of a mail that its features are taken from: the plain body, except
// for a mail without attachments whose plain body is shorter than its HTML
// body and at least a tenth of its length (+1), where the HTML is used. So a
// mail whose plain text is a mere stub of its HTML keeps the stub.
QString chooseMailText(const MailItemView& item);

// The subject as text records keep it: as received, or empty when it holds
// "&#" (an encoded character).
QString textRecordSubject(const QString& subject);
// The subject as picture records keep it: normalised, or empty likewise.
QString pictureRecordSubject(const QString& subject);

} // namespace velmora
