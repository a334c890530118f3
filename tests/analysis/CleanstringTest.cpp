#include "analysis/Cleanstring.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(Choosegod, FirstPieceWithAnAddressOrWebLink) {
    EXPECT_EQ(
        Choosegod({QStringLiteral("x"), QStringLiteral("me@x.com"), QStringLiteral("www.x.com")}),
        QStringLiteral("me@x.com"));
    EXPECT_EQ(
        Choosegod({QStringLiteral("x"), QStringLiteral("www.x.com"), QStringLiteral("me@x.com")}),
        QStringLiteral("www.x.com"));
    EXPECT_EQ(Choosegod({QStringLiteral("x"), QStringLiteral("y")}), QString());
    EXPECT_EQ(Choosegod({}), QString());
}

TEST(Cleanstring, CutsCandidatesOutOfMarkup) {
    const struct {
        const char16_t* in;
        const char16_t* out;
    } cases[] = {
        {u"<abc>def", u"def"},                // cut "<", then equal halves keep the second
        {u"a,b", u""},                        // no address among the comma pieces
        {u"page.html?x=1&y=2", u"page.html"}, // "&" keeps page.html?x=1, "?" keeps page.html
        {u"<me@x.com>", u"me@x.com"},
        {u"\"me@x.com\"", u"me@x.com"},
        {u"mailto:me@x.com", u"me@x.com"}, // ":" splits, the longer piece wins
        {u"\\nwww.x.com", u"www.x.com"},   // backslash-n is cut as two characters
        {u"www.x.com/a<br>", u"www.x.com/a"},
        {u"a!b!me@x.com", u"me@x.com"}, // three pieces: the address-like one
        {u"x,me@x.com", u"me@x.com"},
        {u"<a,b", u"b"}, // the leading cut replaces the comma choice
        {u"[link]", u"[link"},
        {u"p?a=1&b=2&c=3", u""}, // several "&" pieces: none address-like
        {u"www.x.com/?a=1&b=2&c=3", u"www.x.com/"},
        {u"", u""},
    };
    for (const auto& c : cases) {
        const QString in = QString::fromUtf16(c.in);
        EXPECT_EQ(Cleanstring(in), QString::fromUtf16(c.out)) << in.toStdString();
    }
}
