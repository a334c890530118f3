#include "analysis/TextFeatures.h"

#include "analysis/Cleanstring.h"
#include "analysis/TextNormalisation.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "base/VbString.h"

#include <array>
#include <cstdint>
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
constexpr std::array<std::int8_t, 128> kLetterSlots = [] {
    std::array<std::int8_t, 128> slots{};
    slots.fill(-1);
    const char* letters = "eariotnslcud";
    for (int slot = 0; slot < 12; ++slot)
        slots[static_cast<unsigned char>(letters[slot])] = static_cast<std::int8_t>(slot);
    slots['p'] = 11;
    slots['m'] = 13;
    slots['h'] = 14;
    slots['g'] = 15;
    return slots;
}();

bool isLineBreakAt(const char16_t* s, qsizetype n, qsizetype i) {
    return s[i] == '\r' && i + 1 < n && s[i + 1] == '\n';
}

qsizetype lineBreaksIn(QStringView text) {
    qsizetype count = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isLineBreakAt(text.utf16(), text.size(), i)) {
            ++count;
            ++i;
        }
    }
    return count;
}

// The link and mail address of a text, gathered word by word. A word is what
// lies between spaces and CR LF pairs; only the few words that can hold a link
// or an address are copied out of the text.
class AddressFinder {
public:
    void word(QStringView view, bool hasAt, bool hasDotOrColon) {
        const bool mailLike = view.size() > 5 && hasAt;
        if (!mailLike && !hasDotOrColon)
            return;
        const QString word = view.toString();
        if (hasDotOrColon) {
            if (const auto piece = linkCandidate(word)) {
                QString cleaned = Cleanstring(vbLCase(*piece));
                if (cleaned.size() > m_link.size())
                    m_link = std::move(cleaned);
            }
        }
        if (mailLike) {
            // Intended: the last qualifying word wins, not the longest one.
            m_mail = rawMailCandidate(word);
            QString cleaned = Cleanstring(vbLCase(m_mail));
            if (!cleaned.contains(QLatin1Char('@')))
                cleaned.clear();
            if (cleaned.size() > m_mail.size())
                m_mail = std::move(cleaned);
        }
    }
    const QString& link() const { return m_link; }
    const QString& mail() const { return m_mail; }

private:
    QString m_link;
    QString m_mail;
};

void findAddresses(QStringView text, AddressFinder& finder) {
    const char16_t* s = text.utf16();
    const qsizetype n = text.size();
    qsizetype i = 0;
    while (i < n) {
        if (s[i] == ' ') {
            ++i;
            continue;
        }
        if (isLineBreakAt(s, n, i)) {
            i += 2;
            continue;
        }
        const qsizetype start = i;
        bool hasAt = false;
        bool hasDotOrColon = false;
        for (; i < n && s[i] != ' ' && !isLineBreakAt(s, n, i); ++i) {
            hasAt |= s[i] == '@';
            hasDotOrColon |= s[i] == '.' || s[i] == ':';
        }
        finder.word(text.sliced(start, i - start), hasAt, hasDotOrColon);
    }
}

} // namespace

TxtRec AnalyseText(QString& text) {
    TxtRec rec;
    try {
        text = ToLower(text);
        if (text.size() < 10)
            text = QStringLiteral("too small");

        rec.LineCount = checkedInt16(lineBreaksIn(text));

        AddressFinder found;
        findAddresses(text, found);
        QString link = found.link();
        if (link == kDoctypeHost)
            link.clear();
        rec.LinkHost = Cleanstring(link);
        rec.MailAddr = Cleanstring(found.mail());

        for (const QChar ch : std::as_const(text)) {
            const char16_t c = ch.unicode();
            if (c < kLetterSlots.size() && kLetterSlots[c] >= 0)
                ++rec.Counts[kLetterSlots[c]];
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
