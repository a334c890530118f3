// Rendering an HTML body as plain text, in four passes over the text: hidden
// elements out, white space runs to one space, line-breaking tags to a line
// end, every other tag out; then the common entities. Written by hand rather
// than with regular expressions because it runs on every HTML mail judged,
// and kept to the same matching rules: tag names without case (where "ſ",
// the long s, counts as an "s"), a name ending where an ASCII word character
// does not follow, a tag ending at its first ">".
#include "hosts/mime/LineEnds.h"
#include "hosts/mime/MimeMessage.h"

#include <QStringView>

#include <utility>

namespace velmora::mime {
namespace {

constexpr char16_t kLongS = 0x017F;

bool isAsciiWordChar(char16_t c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// `pattern` (lower-case letters, "/" and the digit class "#") at `at`, without
// case.
bool namedAt(QStringView text, qsizetype at, const char* pattern, qsizetype& end) {
    qsizetype i = at;
    for (const char* p = pattern; *p; ++p, ++i) {
        if (i >= text.size())
            return false;
        const char16_t c = text[i].unicode();
        if (*p == '#') {
            if (c < '1' || c > '6')
                return false;
        } else if (*p >= 'a' && *p <= 'z') {
            const bool same =
                c == char16_t(*p) || c == char16_t(*p - 32) || (*p == 's' && c == kLongS);
            if (!same)
                return false;
        } else if (c != char16_t(*p)) {
            return false;
        }
    }
    end = i;
    return i >= text.size() || !isAsciiWordChar(text[i].unicode());
}

bool isPatternSpace(char16_t c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The end of "</name\s*>" at `at`, or -1.
qsizetype closingTagEnd(QStringView text, qsizetype at, const char* name) {
    if (at + 1 >= text.size() || text[at] != u'<' || text[at + 1] != u'/')
        return -1;
    qsizetype i = at + 2;
    for (const char* p = name; *p; ++p, ++i) {
        if (i >= text.size())
            return -1;
        const char16_t c = text[i].unicode();
        if (c != char16_t(*p) && c != char16_t(*p - 32) && !(*p == 's' && c == kLongS))
            return -1;
    }
    while (i < text.size() && isPatternSpace(text[i].unicode()))
        ++i;
    return i < text.size() && text[i] == u'>' ? i + 1 : -1;
}

// Script, style and head elements, from the opening tag to the first closing
// tag of the same name, are dropped whole.
QString withoutHiddenElements(QStringView html) {
    static const char* const kNames[] = {"script", "style", "head"};
    QString out;
    out.reserve(html.size());
    qsizetype copied = 0;
    qsizetype i = html.indexOf(u'<');
    while (i >= 0) {
        qsizetype matchEnd = -1;
        for (const char* name : kNames) {
            qsizetype nameEnd = 0;
            if (!namedAt(html, i + 1, name, nameEnd))
                continue;
            const qsizetype tagEnd = html.indexOf(u'>', nameEnd);
            if (tagEnd < 0)
                continue;
            for (qsizetype j = html.indexOf(u"</", tagEnd + 1); j >= 0;
                 j = html.indexOf(u"</", j + 1)) {
                matchEnd = closingTagEnd(html, j, name);
                if (matchEnd >= 0)
                    break;
            }
            if (matchEnd >= 0)
                break;
        }
        if (matchEnd < 0) {
            i = html.indexOf(u'<', i + 1);
            continue;
        }
        out += html.sliced(copied, i - copied);
        copied = matchEnd;
        i = html.indexOf(u'<', matchEnd);
    }
    out += html.sliced(copied);
    return out;
}

bool isCollapsedSpace(char16_t c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

QString withSpacesCollapsed(QStringView text) {
    QString out(text.size(), Qt::Uninitialized);
    char16_t* to = reinterpret_cast<char16_t*>(out.data());
    const char16_t* from = text.utf16();
    qsizetype written = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool space = isCollapsedSpace(from[i]);
        if (space && written > 0 && to[written - 1] == ' ' && i > 0 &&
            isCollapsedSpace(from[i - 1]))
            continue;
        to[written++] = space ? char16_t(' ') : from[i];
    }
    out.truncate(written);
    return out;
}

// Each tag from "<" to its first ">" becomes `replacement(name matched)`; a
// tag not matched stays. `names` empty: every tag.
template <typename Matches>
QString withTagsReplaced(QStringView text, Matches&& matches, QStringView replacement) {
    const qsizetype lastClose = text.lastIndexOf(u'>');
    QString out;
    out.reserve(text.size());
    qsizetype copied = 0;
    for (qsizetype i = text.indexOf(u'<'); i >= 0 && i < lastClose; i = text.indexOf(u'<', i + 1)) {
        qsizetype nameEnd = i + 1;
        if (!matches(text, nameEnd))
            continue;
        const qsizetype tagEnd = text.indexOf(u'>', nameEnd);
        out += text.sliced(copied, i - copied);
        out += replacement;
        copied = tagEnd + 1;
        i = tagEnd;
    }
    out += text.sliced(copied);
    return out;
}

bool isLineBreakingTag(QStringView text, qsizetype& nameEnd) {
    static const char* const kNames[] = {"br", "/p", "/div", "/tr", "/li", "/h#"};
    const qsizetype at = nameEnd;
    for (const char* name : kNames) {
        if (namedAt(text, at, name, nameEnd))
            return true;
    }
    return false;
}

} // namespace

QString htmlToText(const QString& html) {
    QString text = withoutHiddenElements(html);
    text = withSpacesCollapsed(text);
    text = withTagsReplaced(text, isLineBreakingTag, u"\n");
    text = withTagsReplaced(
        text, [](QStringView, qsizetype&) { return true; }, u"");
    static const std::pair<const char*, const char*> kEntities[] = {
        {"&nbsp;", " "},  {"&lt;", "<"},  {"&gt;", ">"},
        {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"},
    };
    for (const auto& [entity, character] : kEntities) {
        if (!text.contains(u'&'))
            break;
        text.replace(QLatin1String(entity), QLatin1String(character), Qt::CaseInsensitive);
    }
    return withCrLf(text.trimmed());
}

} // namespace velmora::mime
