#pragma once

#include "base/HostYield.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <QString>

namespace velmora {

// What to do when an entry's key agrees with every character of the new key
// (the entry equals it, or begins with it).
enum class FullMatch {
    Stop,      // nothing is to be inserted
    NextEntry, // go on scanning from the next entry
};

// Finds where `key` goes in a list kept in character order, comparing one
// character at a time. Returns the insertion index (upper bound + 1 means
// "append"), or 0 when `onFullMatch` said Stop.
//
// Intended, and relied on by the trusted list and both spam tables: the scan
// runs only while the entry index is below the upper bound, so the last entry
// is never compared and a key that sorts after everything lands just in front
// of it. An entry that is a proper prefix of the key is passed over.
//
// `upperBound()` and `keyAt(i)` are read afresh in every round, because the
// host's events may change the list while the scan yields to them.
template <typename UpperBound, typename KeyAt, typename OnFullMatch>
int findInsertPlace(const QString& key, UpperBound&& upperBound, KeyAt&& keyAt,
                    OnFullMatch&& onFullMatch) {
    const qsizetype length = key.size();
    int i = 1;
    qsizetype p = 1; // 1-based character position; the first p - 1 agree
    auto nextEntry = [&] {
        i = checkedInt16(i + 1);
        p = 1;
    };
    while (i < upperBound()) {
        yieldToHost();
        if (i > upperBound())
            throw VbError(VbError::SubscriptOutOfRange); // the list shrank meanwhile
        const QString& entry = keyAt(i);
        if (entry.size() < p || key.size() < p)
            throw VbError(VbError::InvalidCall); // no p-th character to compare
        const char16_t c = entry[p - 1].unicode();
        const char16_t a = key[p - 1].unicode();
        const bool agreeUpToP = QStringView(entry).left(p) == QStringView(key).left(p);
        if (agreeUpToP && c == a) {
            ++p;
            if (p > length) {
                if (onFullMatch(i) == FullMatch::Stop)
                    return 0;
                nextEntry();
                if (i > upperBound())
                    break;
                continue;
            }
            if (entry.size() < p) {
                nextEntry();
                if (i > upperBound())
                    break;
            }
            continue;
        }
        if (QStringView(key).left(p - 1) != QStringView(entry).left(p - 1))
            break;
        if (c < a) {
            nextEntry();
            if (i > upperBound())
                break;
            continue;
        }
        break; // c > a: the key goes before entry i
    }
    return i;
}

} // namespace velmora
