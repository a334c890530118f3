#include "hosts/imap/ImapResponse.h"

namespace velmora::imap {

std::optional<quint64> ResponseCode::number() const {
    if (arguments.isEmpty() || arguments.first().kind != ImapValue::Kind::Number)
        return std::nullopt;
    return arguments.first().number;
}

QString ImapResponse::describe() const {
    QByteArray line;
    switch (kind) {
    case Kind::Continuation:
        return QStringLiteral("+ ") + text;
    case Kind::Tagged:
        line = tag;
        break;
    case Kind::Untagged:
        line = "*";
        break;
    }
    if (isStatus()) {
        line += ' ' + status;
        if (!code.name.isEmpty())
            line += " [" + code.name + (code.rawArguments.isEmpty() ? "" : " ") +
                    code.rawArguments + ']';
        return QString::fromUtf8(line) + (text.isEmpty() ? QString() : u' ' + text);
    }
    if (number)
        line += ' ' + QByteArray::number(*number);
    line += ' ' + name;
    for (const ImapValue& value : values)
        line += ' ' + value.describe();
    return QString::fromUtf8(line);
}

} // namespace velmora::imap
