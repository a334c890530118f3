#include "analysis/ReferenceRoutines.h"

#include "analysis/Cleanstring.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "base/VbString.h"

#include <QRegularExpression>

#include <optional>

namespace velmora::reference {
namespace {

std::optional<QString> pieceAfterFirst(const QString& text, QStringView separator) {
    const qsizetype at = text.indexOf(separator);
    if (at < 0)
        return std::nullopt;
    const qsizetype start = at + separator.size();
    const qsizetype next = text.indexOf(separator, start);
    return text.mid(start, next < 0 ? -1 : next - start);
}

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

int letterSlot(char16_t c) {
    switch (c) {
    case 'e':
        return 0;
    case 'a':
        return 1;
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
    if (words.isEmpty())
        words.append(QString());
    return words;
}

QString withCrLf(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return text;
}

} // namespace

QString ToLower(const QString& text) {
    QString result;
    const QStringList lines = vbSplit(text, kLineBreak);
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

TxtRec AnalyseText(QString& text) {
    TxtRec rec;
    try {
        text = reference::ToLower(text);
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
                mail = rawMailCandidate(word);
                QString cleaned = Cleanstring(vbLCase(mail));
                if (!cleaned.contains(QLatin1Char('@')))
                    cleaned.clear();
                if (cleaned.size() > mail.size())
                    mail = std::move(cleaned);
            }
        }
        if (link == u"www.w3.org")
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

QString htmlToText(const QString& html) {
    QString text = html;
    static const QRegularExpression hidden(
        QStringLiteral("<(script|style|head)\\b[^>]*>.*?</\\1\\s*>"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression breaks(QStringLiteral("<(br|/p|/div|/tr|/li|/h[1-6])\\b[^>]*>"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    static const QRegularExpression spaces(QStringLiteral("[ \\t\\r\\n]+"));
    text.remove(hidden);
    text.replace(spaces, QStringLiteral(" "));
    text.replace(breaks, QStringLiteral("\n"));
    text.remove(tags);
    static const std::pair<const char*, const char*> kEntities[] = {
        {"&nbsp;", " "},  {"&lt;", "<"},  {"&gt;", ">"},
        {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"},
    };
    for (const auto& [entity, character] : kEntities)
        text.replace(QLatin1String(entity), QLatin1String(character), Qt::CaseInsensitive);
    return withCrLf(text.trimmed());
}

} // namespace velmora::reference
