#include "analysis/TextNormalisation.h"

#include "base/Cp1252.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "base/VbString.h"

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
    QString result;
    const QStringList lines = text.split(kLineBreak.toString());
    const qsizetype upperBound = lines.size() - 1;
    const bool severalLines = upperBound > 0;
    for (qsizetype i = 0; i <= upperBound; ++i) {
        yieldToHost();
        const QString lower = vbLCase(lines[i]);
        if (i < upperBound && severalLines) {
            result += lower;
            result += kLineBreak;
        }
    }
    return result;
}

} // namespace velmora
