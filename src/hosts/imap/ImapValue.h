#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QtGlobal>

namespace velmora::imap {

// One item of a server response as read off the wire: an atom (`\Seen`,
// `BODY[HEADER.FIELDS (MESSAGE-ID)]`, `1:3,5`), a number, a string (quoted or
// a literal; both are just bytes here), NIL, or a parenthesised list.
struct ImapValue {
    enum class Kind { Atom, Number, String, Nil, List };

    Kind kind = Kind::Nil;
    QByteArray bytes;       // the atom, the string's bytes, or the number's digits
    quint64 number = 0;     // for Number
    QList<ImapValue> items; // for List

    bool isList() const { return kind == Kind::List; }
    bool isNil() const { return kind == Kind::Nil; }
    // An atom or a number spelt `name`, compared without case (`uid`, `UID`).
    bool is(QByteArrayView name) const;
    // The bytes of an atom, number or string; empty for NIL and lists. Servers
    // send mailbox names and flags both as atoms and as strings.
    QByteArray text() const { return kind == Kind::List ? QByteArray() : bytes; }
    // A readable rendering for error messages and test expectations: strings
    // quoted with escapes, lists in parentheses, long strings shortened.
    QByteArray describe() const;
};

} // namespace velmora::imap
