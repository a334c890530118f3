#pragma once

#include <QString>

#include <exception>

namespace velmora {

// A run-time failure inside one routine. Every routine that reports failures
// catches it at its own boundary, shows "<label>" + description() through the
// message sink and returns its neutral result; it never crosses into the caller.
class VbError : public std::exception {
public:
    enum Number {
        InvalidCall = 5,
        Overflow = 6,
        SubscriptOutOfRange = 9,
        DivisionByZero = 11,
        TypeMismatch = 13,
        BadFileName = 52,
        FileNotFound = 53,
        DeviceIoError = 57,
        DiskFull = 61,
        PermissionDenied = 70,
        PathFileAccessError = 75,
        PathNotFound = 76,
        InvalidPropertyValue = 380,
        ObjectVariableNotSet = 91,
        ObjectRequired = 424,
        AutomationError = 440, // a host object call failed
        InvalidPicture = 481,
    };

    // `context` names the file, line or value involved; it is appended to the
    // standard description in parentheses so the user can find the culprit.
    explicit VbError(Number number, const QString& context = {});

    Number number() const { return m_number; }
    const QString& description() const { return m_description; }
    const char* what() const noexcept override { return "velmora runtime error"; }

    static QString standardDescription(Number number);

private:
    Number m_number;
    QString m_description;
};

} // namespace velmora
