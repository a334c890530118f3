#include "base/Cp1252.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(Cp1252, EveryByteSurvivesDecodeAndEncode) {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    const QString text = fromCp1252(all);
    EXPECT_EQ(text.size(), 256);
    EXPECT_EQ(toCp1252(text), all);
    EXPECT_EQ(text[0x80], QChar(0x20AC)); // euro sign
    EXPECT_EQ(text[0xB5], QChar(0x00B5)); // micro sign, the table files' separator
    EXPECT_EQ(text[0x81], QChar(0x0081)); // undefined byte keeps its number
}

TEST(Cp1252, AnsiCodesAndSubstitutes) {
    EXPECT_EQ(ansiCode(QChar(u'A')), 65);
    EXPECT_EQ(ansiCode(QChar(u'\u00BF')), 191); // inverted question mark
    EXPECT_EQ(ansiCode(QChar(u'\u00E9')), 233);
    EXPECT_EQ(ansiCode(QChar(u'\u20AC')), 128);
    EXPECT_EQ(ansiCode(QChar(u'\u0101')), 63); // no code: "?"
    EXPECT_EQ(ansiCode(QChar(u'\u0080')), 63); // U+0080 is not the euro's byte
    // A character outside the BMP is two code units, each without a code.
    EXPECT_EQ(toCp1252(QString::fromUtf8("a\xF0\x9F\x98\x80z")), QByteArray("a??z"));
}
