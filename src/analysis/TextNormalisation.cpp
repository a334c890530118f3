#include "analysis/TextNormalisation.h"

#include "base/Cp1252.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "base/VbString.h"

#include <algorithm>

namespace velmora {
namespace {

bool isKeptInSubject(unsigned code) {
    return ((code > 191 && code < 256) || (code < 127 && code > 31)) && code != 63;
}

} // namespace

QString Normalyse(const QString& text) {
    QString kept;
    try {
        const int length = checkedInt16(text.size());
        kept.reserve(length);
        for (int i = 0; i < length; ++i) {
            const QChar c = text[i];
            if (isKeptInSubject(ansiCode(c)))
                kept += c;
            yieldToHost();
        }
    } catch (const VbError& error) {
        showMessage(QStringLiteral("Normalyse_error: ") + error.description());
    }
    return kept;
}

QString ToLower(const QString& text) {
    // The copy shares the caller's data; what the host changes during the
    // yields below does not reach the result.
    const QString source = text;
    const char16_t* s = reinterpret_cast<const char16_t*>(source.utf16());
    const qsizetype n = source.size();

    // One pass finds the line breaks and the first character lower-casing
    // changes; most mail text comes back lower-cased already (learning and
    // analysis each lower-case it), and then no copy is made.
    qsizetype lineBreaks = 0;
    qsizetype kept = 0; // up to and including the last line break
    qsizetype firstChange = -1;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t u = s[i];
        if (u == '\r' && i + 1 < n && s[i + 1] == '\n') {
            ++lineBreaks;
            kept = ++i + 1;
        } else if (firstChange < 0 && vbLCaseUnit(u) != u) {
            firstChange = i;
        }
    }
    // The host gets a turn for every line, the dropped last one included; an
    // empty text has no lines at all.
    const qsizetype lines = n == 0 ? 0 : lineBreaks + 1;
    for (qsizetype line = 0; line < lines; ++line)
        yieldToHost();

    if (kept == 0)
        return QString();
    if (firstChange < 0 || firstChange >= kept)
        return kept == n ? source : source.left(kept);
    QString lower(kept, Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(lower.data());
    std::copy(s, s + firstChange, out);
    for (qsizetype i = firstChange; i < kept; ++i)
        out[i] = vbLCaseUnit(s[i]);
    return lower;
}

} // namespace velmora
