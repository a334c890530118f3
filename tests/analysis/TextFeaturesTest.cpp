#include "analysis/TextFeatures.h"

#include "support/TestSupport.h"

using namespace velmora;

namespace {

TxtRec analyse(const QString& text) {
    QString copy = text;
    return AnalyseText(copy);
}

// Ends every line with CR LF, plus one more line that ToLower drops.
QString mailText(std::initializer_list<const char*> lines) {
    QString text;
    for (const char* line : lines)
        text += QString::fromLatin1(line) + QStringLiteral("\r\n");
    return text + QStringLiteral("dropped last line");
}

} // namespace

TEST(AnalyseText, OneLineIsAnalysedAsTooSmall) {
    QString text = QStringLiteral("Buy cheap pills at www.pills.example today");
    const TxtRec rec = AnalyseText(text);
    EXPECT_EQ(text, QStringLiteral("too small"));
    EXPECT_EQ(rec.LineCount, 0);
    const std::array<std::int32_t, 16> expected = {0, 1, 0, 0, 2, 1, 0, 1, 2, 0, 0, 0, 0, 1, 0, 0};
    EXPECT_EQ(rec.Counts, expected);
    EXPECT_EQ(rec.CharCount, 8);
    EXPECT_EQ(rec.LinkHost, QString());
    EXPECT_EQ(rec.MailAddr, QString());
    EXPECT_EQ(rec.Flag, kFalse);
    EXPECT_EQ(rec.Sender, QString());
}

TEST(AnalyseText, CountsLettersOfTheLowerCasedText) {
    QString text = mailText({"Dear Pal,", "PAGE UP"});
    const TxtRec rec = AnalyseText(text);
    EXPECT_EQ(text, QStringLiteral("dear pal,\r\npage up\r\n"));
    EXPECT_EQ(rec.LineCount, 2);  // the split leaves an empty piece after the last CR LF
    EXPECT_EQ(rec.Counts[11], 4); // "d" and three "p" share a slot
    EXPECT_EQ(rec.Counts[1], 3);
    EXPECT_EQ(rec.Counts[0], 2);
    EXPECT_EQ(rec.Counts[12], 0);
    EXPECT_EQ(rec.CharCount, 4 + 3 + 2 + 1 /*r*/ + 1 /*l*/ + 1 /*g*/ + 1 /*u*/);
}

TEST(AnalyseText, LongestLinkWinsAndTheEarlierOnATie) {
    EXPECT_EQ(
        analyse(mailText({"see http://www.aa.example/x and www.bbbbbbbbbbbb.example"})).LinkHost,
        QStringLiteral("bbbbbbbbbbbb.example"));
    EXPECT_EQ(analyse(mailText({"http://one.example http://two.example"})).LinkHost,
              QStringLiteral("one.example"));
    EXPECT_EQ(analyse(mailText({"go to <a href=\"http://www.offer.example/?id=7\">"})).LinkHost,
              QStringLiteral("www.offer.example/"));
    // The doctype host says nothing about the mail.
    EXPECT_EQ(analyse(mailText({"http://www.w3.org"})).LinkHost, QString());
}

TEST(AnalyseText, MailAddressComesFromTheLastQualifyingWord) {
    EXPECT_EQ(analyse(mailText({"write a@b.c"})).MailAddr, QString()); // 5 characters
    EXPECT_EQ(analyse(mailText({"write a@b.cd"})).MailAddr, QStringLiteral("a@b.cd"));
    EXPECT_EQ(analyse(mailText({"from longer.name@x.example", "to short@x.ex"})).MailAddr,
              QStringLiteral("short@x.ex"));
    EXPECT_EQ(analyse(mailText({"<a href=\"mailto:sales@shop.example\">"})).MailAddr,
              QStringLiteral("sales@shop.example"));
    EXPECT_EQ(analyse(mailText({"x mail=me@x.example"})).MailAddr, QStringLiteral("me@x.example"));
    EXPECT_EQ(analyse(mailText({"(<me@x.example>)"})).MailAddr, QStringLiteral("me@x.example"));
}

TEST(AnalyseText, TextWithoutWordsHasNoFeaturesButLetters) {
    QString text = mailText({"          ", ""});
    const TxtRec rec = AnalyseText(text);
    EXPECT_EQ(text.size(), 14);
    EXPECT_EQ(rec.LineCount, 2);
    EXPECT_EQ(rec.MailAddr, QString());
    EXPECT_EQ(rec.LinkHost, QString());
    EXPECT_EQ(rec.CharCount, 0);
}

TEST(AnalyseText, MoreThan32767LineBreaksOverflow) {
    velmora::test::RecordingSink sink;
    QString text = QStringLiteral("x\r\n").repeated(32768);
    const TxtRec rec = AnalyseText(text);
    EXPECT_EQ(rec.LineCount, 0);
    EXPECT_EQ(sink.messages, QStringList{QStringLiteral("TXT Analysing: Overflow")});

    QString fits = QStringLiteral("x\r\n").repeated(32767);
    EXPECT_EQ(AnalyseText(fits).LineCount, 32767);
}
