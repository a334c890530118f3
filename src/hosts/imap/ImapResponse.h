#pragma once

#include "hosts/imap/ImapValue.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace velmora::imap {

// The bracketed code that may open the text of an OK, NO, BAD, BYE or
// PREAUTH: `[UIDVALIDITY 7]`, `[APPENDUID 7 12]`, `[CAPABILITY IMAP4rev1 …]`.
struct ResponseCode {
    QByteArray name;         // upper case; empty when the response has none
    QByteArray rawArguments; // what followed the name, as sent
    QList<ImapValue> arguments;

    bool is(QByteArrayView codeName) const { return name == codeName; }
    // The first argument as a number (UIDVALIDITY, UIDNEXT, HIGHESTMODSEQ).
    std::optional<quint64> number() const;
};

// One complete server response, literals included.
struct ImapResponse {
    enum class Kind {
        Tagged,       // `A3 OK …`: the end of the command tagged A3
        Untagged,     // `* …`: data or status, solicited or not
        Continuation, // `+ …`: the server waits for more of a command
    };

    Kind kind = Kind::Untagged;
    QByteArray tag; // for Tagged

    // Status responses (OK, NO, BAD, BYE, PREAUTH), tagged or untagged.
    QByteArray status; // upper case; empty for data responses
    ResponseCode code;
    QString text; // the human-readable rest (for Continuation: all after "+ ")

    // Data responses: `* 5 FETCH (…)` has number 5, name FETCH and one value;
    // `* LIST (\Junk) "." Junk` has no number, name LIST and three values.
    std::optional<quint32> number;
    QByteArray name; // upper case
    QList<ImapValue> values;

    bool isStatus() const { return !status.isEmpty(); }
    bool isData(QByteArrayView dataName) const { return status.isEmpty() && name == dataName; }
    // One line for logs and error messages (literals shortened).
    QString describe() const;
};

} // namespace velmora::imap
