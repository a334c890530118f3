#include "base/Val.h"
#include "base/VbError.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(Val, ReadsTheLongestNumericPrefixLeniently) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {"", 0},
        {"abc", 0},
        {" 5", 5},
        {"-5", -5},
        {"+7", 7},
        {" 2.5", 2.5},
        {".5", 0.5},
        {"12abc", 12},
        {"1 2", 12},
        {"\t4\n2", 42},
        {"- 3", -3},
        {"1,000", 1},
        {"1e3", 1000},
        {"1D2", 100},
        {"2.5e-1", 0.25},
        {"1e", 1},
        {"&H10", 16},
        {"&HFFFF", -1},
        {"&H10000", 65536},
        {"&o17", 15},
        {"&HFFFFFFFF", -1},
        {"&", 0},
        {"--5", 0},
        {" 0", 0},
        {"1e-400", 0},
        {"12345678901234567890", 12345678901234567890.0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Val(QString::fromLatin1(c.text)), c.value) << c.text;
        EXPECT_EQ(Val(QByteArrayView(c.text)), c.value) << c.text;
    }
    // Numbers of any length are read whole (a damaged file can hold them).
    const QString zeros(500, QLatin1Char('0'));
    EXPECT_EQ(Val(zeros + QStringLiteral("1.5")), 1.5);
    EXPECT_EQ(Val(QStringLiteral("1") + zeros.left(450) + QStringLiteral("e-445")), 100000);
    EXPECT_EQ(Val(QStringLiteral("1e") + zeros.left(40) + QStringLiteral("5")), 100000);
}

TEST(Val, ANumberBeyondDoubleRangeOverflows) {
    EXPECT_THROW(Val(QStringLiteral("1e400")), VbError);
    EXPECT_THROW(Val(QStringLiteral(".5e400")), VbError);
    EXPECT_EQ(Val(QStringLiteral("0e400")), 0);
    EXPECT_THROW(Val(QStringLiteral("&H100000000")), VbError);
}
