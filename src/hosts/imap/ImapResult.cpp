#include "hosts/imap/ImapResult.h"

namespace velmora::imap {

QString ImapResult::describe() const {
    QString word;
    switch (status) {
    case Status::Ok:
        word = QStringLiteral("OK");
        break;
    case Status::No:
        word = QStringLiteral("NO");
        break;
    case Status::Bad:
        word = QStringLiteral("BAD");
        break;
    case Status::Failed:
        return text;
    }
    if (!code.name.isEmpty())
        word += QStringLiteral(" [") + QString::fromLatin1(code.name) + u']';
    return text.isEmpty() ? word : word + u' ' + text;
}

} // namespace velmora::imap
