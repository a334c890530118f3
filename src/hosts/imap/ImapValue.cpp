#include "hosts/imap/ImapValue.h"

namespace velmora::imap {

bool ImapValue::is(QByteArrayView name) const {
    if (kind != Kind::Atom && kind != Kind::Number)
        return false;
    return QByteArrayView(bytes).compare(name, Qt::CaseInsensitive) == 0;
}

QByteArray ImapValue::describe() const {
    switch (kind) {
    case Kind::Nil:
        return QByteArrayLiteral("NIL");
    case Kind::Atom:
    case Kind::Number:
        return bytes;
    case Kind::String: {
        // A whole message would drown the rest of a failure message.
        constexpr qsizetype kShown = 60;
        QByteArray shown;
        for (const char c : bytes.left(kShown)) {
            if (c == '"' || c == '\\')
                shown += '\\';
            if (c == '\r')
                shown += "\\r";
            else if (c == '\n')
                shown += "\\n";
            else
                shown += c;
        }
        if (bytes.size() > kShown)
            shown += "...(" + QByteArray::number(bytes.size()) + " bytes)";
        return '"' + shown + '"';
    }
    case Kind::List: {
        QByteArrayList parts;
        for (const ImapValue& item : items)
            parts.append(item.describe());
        return '(' + parts.join(' ') + ')';
    }
    }
    return {};
}

} // namespace velmora::imap
