#include "analysis/TextFeatures.h"

#include "analysis/Cleanstring.h"
#include "analysis/TextNormalisation.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "base/VbString.h"

#include <optional>

namespace velmora {
namespace {

// The host HTML document type declarations point to; a link to it says
// nothing about the mail.
constexpr QStringView kDoctypeHost = u"www.w3.org";

// The piece between the first and the second occurrence of `separator` (or the
// end of the text), when `separator` occurs at all.
std::optional<QString> pieceAfterFirst(const QString& text, QStringView separator) {
    const qsizetype at = text.indexOf(separator);
    if (at < 0)
        return std::nullopt;
    const qsizetype start = at + separator.size();
    const qsizetype next = text.indexOf(separator, start);
    return text.mid(start, next < 0 ? -1 : next - start);
}

// Everything after the first occurrence of `marker`, or `text` unchanged.
QString afterFirst(const QString& text, QStringView marker) {
    const qsizetype at = text.indexOf(marker);
    return at < 0 ? text : text.mid(at + marker.size());
}

std::optional<QString> linkCandidate(const QString& word) {
    if (auto piece = pieceAfterFirst(word, u"http://"))
        return piece;
    return pieceAfterFirst(word, u"www.");
}

QString rawMailCandidate(const QString& word) {
    QString candidate = pieceAfterFirst(word, u"\"").value_or(word);
    candidate = afterFirst(candidate, u"mailto:");
    candidate = afterFirst(candidate, u"mail:");
    candidate = afterFirst(candidate, u"mail=");
    return candidate;
}

// Slot of each counted letter; -1 for characters that are not counted.
// Slot 12 is never filled, and "d" and "p" share slot 11.
constexpr int letterSlot(char16_t c) {
    switch (c) {
    case 'a':
        return 1;
    case 'e':
        return 0;
    case 'r':
        return 2;
    case 'i':
        return 3;
    case 'o':
        return 4;
    case 't':
        return 5;
    case 'n':
        return 6;
    case 's':
        return 7;
    case 'l':
        return 8;
    case 'c':
        return 9;
    case 'u':
        return 10;
    case 'd':
        return 11;
    case 'p':
        return 11;
    case 'm':
        return 13;
    case 'h':
        return 14;
    case 'g':
        return 15;
    default:
        return -1;
    }
}

QStringList wordsOf(const QStringList& lines) {
    QStringList words;
    for (const QString& line : lines) {
        for (const QString& piece : vbSplit(line, u" ")) {
            if (!piece.isEmpty() && piece != QStringLiteral(" "))
                words.append(piece);
        }
    }
    // A text without words is analysed as one empty word.
    if (words.isEmpty())
        words.append(QString());
    return words;
}

} // namespace

TxtRec AnalyseText(QString& text) {
    TxtRec rec;
    try {
        text = ToLower(text);
        if (text.size() < 10)
            text = QStringLiteral("too small");

        const QStringList lines = vbSplit(text, kLineBreak);
        rec.LineCount = checkedInt16(lines.size() - 1);

        QString link;
        QString mail;
        for (const QString& word : wordsOf(lines)) {
            if (const auto piece = linkCandidate(word)) {
                QString cleaned = Cleanstring(vbLCase(*piece));
                if (cleaned.size() > link.size())
                    link = std::move(cleaned);
            }
            if (word.size() > 5 && word.contains(QLatin1Char('@'))) {
                // Intended: the last qualifying word wins, not the longest one.
                mail = rawMailCandidate(word);
                QString cleaned = Cleanstring(vbLCase(mail));
                if (!cleaned.contains(QLatin1Char('@')))
                    cleaned.clear();
                if (cleaned.size() > mail.size())
                    mail = std::move(cleaned);
            }
        }
        if (link == kDoctypeHost)
            link.clear();
        rec.LinkHost = Cleanstring(link);
        rec.MailAddr = Cleanstring(mail);

        for (const QChar c : std::as_const(text)) {
            const int slot = letterSlot(c.unicode());
            if (slot >= 0)
                ++rec.Counts[slot];
        }
        std::int64_t sum = 0;
        for (std::int32_t count : rec.Counts)
            sum += count;
        if (sum > INT32_MAX)
            throw VbError(VbError::Overflow);
        rec.CharCount = static_cast<std::int32_t>(sum);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("TXT Analysing: ") + error.description());
    }
    return rec;
}

} // namespace velmora
