#include "base/VbString.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(VbString, SplitKeepsEmptyPiecesButAnEmptyTextHasNone) {
    EXPECT_EQ(vbSplit(QString(), u",").size(), 0);
    EXPECT_EQ(vbSplit(QStringLiteral("a,,b"), u","),
              (QStringList{QStringLiteral("a"), QString(), QStringLiteral("b")}));
    EXPECT_EQ(vbSplit(QStringLiteral(","), u",").size(), 2);
    EXPECT_EQ(vbSplit(QStringLiteral("aXb"), u"x").size(), 1); // case-sensitive
    EXPECT_EQ(vbSplit(QStringLiteral("abc"), u""), QStringList{QStringLiteral("abc")});
}

TEST(VbString, LowerCaseKeepsTheLength) {
    EXPECT_EQ(vbLCase(u"HeLLo \u00C0\u00C9"), QStringLiteral("hello \u00E0\u00E9"));
    // Full case mapping would make this two characters.
    EXPECT_EQ(vbLCase(u"\u0130").size(), 1);
    EXPECT_EQ(longerOrSecond(QStringLiteral("ab"), QStringLiteral("cd")), QStringLiteral("cd"));
    EXPECT_EQ(longerOrSecond(QStringLiteral("abc"), QStringLiteral("cd")), QStringLiteral("abc"));
}
