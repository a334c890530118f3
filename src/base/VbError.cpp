#include "base/VbError.h"

namespace velmora {

VbError::VbError(Number number, const QString& context)
    : m_number(number), m_description(standardDescription(number)) {
    if (!context.isEmpty())
        m_description += QStringLiteral(" (") + context + QLatin1Char(')');
}

QString VbError::standardDescription(Number number) {
    switch (number) {
    case InvalidCall:
        return QStringLiteral("Invalid procedure call or argument");
    case Overflow:
        return QStringLiteral("Overflow");
    case SubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case DivisionByZero:
        return QStringLiteral("Division by zero");
    case TypeMismatch:
        return QStringLiteral("Type mismatch");
    case BadFileName:
        return QStringLiteral("Bad file name or number");
    case FileNotFound:
        return QStringLiteral("File not found");
    case DeviceIoError:
        return QStringLiteral("Device I/O error");
    case DiskFull:
        return QStringLiteral("Disk full");
    case PermissionDenied:
        return QStringLiteral("Permission denied");
    case PathFileAccessError:
        return QStringLiteral("Path/File access error");
    case PathNotFound:
        return QStringLiteral("Path not found");
    case InvalidPropertyValue:
        return QStringLiteral("Invalid property value");
    case ObjectVariableNotSet:
        return QStringLiteral("Object variable or With block variable not set");
    case ObjectRequired:
        return QStringLiteral("Object required");
    case AutomationError:
        return QStringLiteral("Automation error");
    case InvalidPicture:
        return QStringLiteral("Invalid picture");
    }
    return QStringLiteral("Application-defined or object-defined error");
}

} // namespace velmora
