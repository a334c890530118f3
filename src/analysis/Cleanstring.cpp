#include "analysis/Cleanstring.h"

#include "base/VbString.h"

namespace velmora {
namespace {

struct LeadingCut {
    QStringView prefix;
    int length;
};

// Tested in this order, each against the candidate as passed in. "'" appears
// twice; the second test can only repeat the first one's cut.
constexpr LeadingCut kLeadingCuts[] = {
    {u"<", 1}, {u">", 1}, {u"'", 1}, {u"!", 1}, {u":", 1}, {u"'", 1}, {u"\\n", 2}, {u"\"", 1},
};

constexpr QStringView kKeepOneSeparators[] = {
    u"\"", u"<br>", u"<", u"!", u">", u":", u",", u"\\n", u"'", u"]",
};

constexpr QStringView kQuerySeparators[] = {u"&", u"?"};

} // namespace

QString Choosegod(const QStringList& pieces) {
    for (const QString& piece : pieces) {
        if (piece.contains(QLatin1Char('@')) || piece.contains(QStringLiteral("www.")))
            return piece;
    }
    return {};
}

QString Cleanstring(const QString& candidate) {
    QString s = candidate;

    // A split into one piece changes nothing below, so texts without the
    // separator are not split at all.
    if (s.contains(u',')) {
        const QStringList commaPieces = vbSplit(s, u",");
        if (commaPieces.size() > 1)
            s = Choosegod(commaPieces);
    }

    // Intended: the cuts start again from the candidate as passed in, so a cut
    // replaces whatever the comma step chose.
    for (const LeadingCut& cut : kLeadingCuts) {
        if (candidate.startsWith(cut.prefix))
            s = candidate.mid(cut.length);
    }

    for (QStringView separator : kKeepOneSeparators) {
        if (!s.contains(separator))
            continue;
        const QStringList pieces = vbSplit(s, separator);
        if (pieces.size() == 2)
            s = longerOrSecond(pieces[0], pieces[1]);
        else if (pieces.size() > 2)
            s = Choosegod(pieces);
    }

    for (QStringView separator : kQuerySeparators) {
        if (!s.contains(separator))
            continue;
        const QStringList pieces = vbSplit(s, separator);
        if (pieces.size() >= 2) {
            s = longerOrSecond(pieces[0], pieces[1]);
            if (pieces.size() > 2)
                s = Choosegod(pieces);
        }
    }
    return s;
}

} // namespace velmora
