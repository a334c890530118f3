#include "analysis/TextNormalisation.h"

#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::RecordingSink;

TEST(Normalyse, KeepsPrintableAsciiAndUpperCodePageLetters) {
    EXPECT_EQ(Normalyse(QStringLiteral("Win \u00BFmoney? now!")), QStringLiteral("Win money now!"));
    EXPECT_EQ(Normalyse(QStringLiteral("caf\u00E9 \u20AC\t5~\u007F\u00C0\u00FF")),
              QStringLiteral("caf\u00E9 5~\u00C0\u00FF"));
    EXPECT_EQ(Normalyse(QStringLiteral("\u0101x")), QStringLiteral("x")); // no code page code
    EXPECT_EQ(Normalyse(QString()), QString());
}

TEST(Normalyse, MoreThan32767CharactersOverflow) {
    RecordingSink sink;
    EXPECT_EQ(Normalyse(QString(32767, QLatin1Char('a'))).size(), 32767);
    EXPECT_TRUE(sink.messages.isEmpty());
    EXPECT_EQ(Normalyse(QString(32768, QLatin1Char('a'))), QString());
    EXPECT_EQ(sink.messages, QStringList{QStringLiteral("Normalyse_error: Overflow")});
}

TEST(ToLower, DropsTheLastLine) {
    EXPECT_EQ(ToLower(QStringLiteral("Hello")), QString());
    EXPECT_EQ(ToLower(QStringLiteral("A\r\nB\r\nC")), QStringLiteral("a\r\nb\r\n"));
    EXPECT_EQ(ToLower(QStringLiteral("A\r\nB\r\n")), QStringLiteral("a\r\nb\r\n"));
    EXPECT_EQ(ToLower(QStringLiteral("\u00C9T\u00C9\r\nx")), QStringLiteral("\u00E9t\u00E9\r\n"));
    EXPECT_EQ(ToLower(QStringLiteral("A\nB\r\nC")),
              QStringLiteral("a\nb\r\n")); // only CR LF splits
    EXPECT_EQ(ToLower(QString()), QString());
}
