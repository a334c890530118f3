#include "analysis/SubjectTags.h"

#include "base/VbError.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(SubjectTags, ScoreTagReplacesNineCharactersOfAnOldOne) {
    EXPECT_EQ(withScoreTag(QStringLiteral("Offer"), 91), QStringLiteral("{S:91%} Offer"));
    EXPECT_EQ(withScoreTag(QStringLiteral("{S:87%} Offer"), 91), QStringLiteral("{S:91%} ffer"));
    EXPECT_EQ(withScoreTag(QStringLiteral("{S:100%} Offer"), 91), QStringLiteral("{S:91%} Offer"));
    EXPECT_EQ(withScoreTag(QStringLiteral("x"), 62.5f), QStringLiteral("{S:62%} x"));
    EXPECT_EQ(withScoreTag(QStringLiteral("x"), 63.5f), QStringLiteral("{S:64%} x"));
    EXPECT_EQ(withScoreTag(QStringLiteral("x"), 108.82f), QStringLiteral("{S:109%} x"));
    EXPECT_EQ(withScoreTag(QStringLiteral("{S:1%} ab"), 70),
              QStringLiteral("{S:70%} "));                               // nine long
    EXPECT_THROW(withScoreTag(QStringLiteral("{S:1%} a"), 70), VbError); // eight long
}

TEST(SubjectTags, RestrictedTagIsWrittenOnce) {
    EXPECT_EQ(withRestrictedTag(QStringLiteral("Win")), QStringLiteral("{RESTR} Win"));
    EXPECT_EQ(withRestrictedTag(QStringLiteral("{RESTR} Win")), QStringLiteral("{RESTR} Win"));
    EXPECT_EQ(withRestrictedTag(QStringLiteral("{S:90%} Win")),
              QStringLiteral("{RESTR} {S:90%} Win"));
}
