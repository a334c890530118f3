#include "analysis/TrustedAddresses.h"

#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::stringListOf;

namespace {

StringList addAll(std::initializer_list<const char*> addresses) {
    StringList list;
    for (const char* a : addresses)
        AddMailAddr(list, QString::fromLatin1(a));
    return list;
}

} // namespace

TEST(AddMailAddr, ShortAddressesAreRefusedAndTheFirstKeepsItsCase) {
    EXPECT_EQ(addAll({"a@b.c"}).upperBound(), 0);
    EXPECT_EQ(addAll({"a@b.cd"}).upperBound(), 1);
    EXPECT_EQ(addAll({"Big@X.com"}), stringListOf({"Big@X.com"}));
    EXPECT_EQ(addAll({"Big@X.com", "Other@X.com"}), stringListOf({"other@x.com", "Big@X.com"}));
}

TEST(AddMailAddr, InsertsInOrderButNeverComparesTheLastEntry) {
    // Into one entry the second always goes in front, whatever the order.
    EXPECT_EQ(addAll({"aaaaaa@x.com", "zzzzzz@x.com"}),
              stringListOf({"zzzzzz@x.com", "aaaaaa@x.com"}));
    EXPECT_EQ(
        addAll({"mmmmmm@x.com", "cccccc@x.com", "zzzzzz@x.com", "dddddd@x.com", "aaaaaa@x.com"}),
        stringListOf(
            {"aaaaaa@x.com", "cccccc@x.com", "dddddd@x.com", "zzzzzz@x.com", "mmmmmm@x.com"}));
}

TEST(AddMailAddr, PresentAddressesAndPrefixesOfEntriesAreNotAdded) {
    StringList list = stringListOf({"aaaaaa@x.com", "cccccc@x.com", "mmmmmm@x.com"});
    AddMailAddr(list, QStringLiteral("CCCCCC@X.COM")); // present once lower-cased
    AddMailAddr(list, QStringLiteral("cccccc@x.co"));  // an entry begins with it
    EXPECT_EQ(list.upperBound(), 3);
    AddMailAddr(list, QStringLiteral("mmmmmm@x.com")); // the last entry is never seen
    EXPECT_EQ(list, stringListOf({"aaaaaa@x.com", "cccccc@x.com", "mmmmmm@x.com", "mmmmmm@x.com"}));

    // An entry that is a proper prefix of the address is passed over.
    StringList prefixes = stringListOf({"abcdef", "abcdefgh@x", "zzzzzz"});
    AddMailAddr(prefixes, QStringLiteral("abcdefg@x.com"));
    EXPECT_EQ(prefixes, stringListOf({"abcdef", "abcdefg@x.com", "abcdefgh@x", "zzzzzz"}));
}

TEST(AddMailAddr, QuotingApostrophesAreCutWithOneCharacterMore) {
    EXPECT_EQ(addAll({"'quoted@x.com'"}), stringListOf({"uoted@x.com"}));
    EXPECT_EQ(addAll({"trailing@x.com'"}), stringListOf({"railing@x.com"}));
    EXPECT_EQ(addAll({"'leading@x.com"}), stringListOf({"leading@x.com"}));
}

TEST(SearchinTrust, BinarySearchWithExactComparison) {
    const StringList list = stringListOf(
        {"aaaaaa@x.com", "bbbbbb@x.com", "cccccc@x.com", "dddddd@x.com", "eeeeee@x.com"});
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(SearchinTrust(list, list[i]), i);
    EXPECT_EQ(SearchinTrust(list, QStringLiteral("BBBBBB@x.com")), 0);
    EXPECT_EQ(SearchinTrust(list, QStringLiteral("zzz@x.com")), 0);
    EXPECT_EQ(SearchinTrust(list, QString()), 0);

    EXPECT_EQ(SearchinTrust(stringListOf({"only@x.com"}), QStringLiteral("only@x.com")), 1);
    EXPECT_EQ(SearchinTrust(stringListOf({"only@x.com"}), QStringLiteral("other@x.com")), 0);
    EXPECT_EQ(SearchinTrust(StringList(), QStringLiteral("a@x.com")), 0);

    // Out of order after the last-entry quirk, the last entry may be missed.
    const StringList quirky = addAll({"mmmmmm@x.com", "cccccc@x.com", "zzzzzz@x.com"});
    EXPECT_EQ(quirky, stringListOf({"cccccc@x.com", "zzzzzz@x.com", "mmmmmm@x.com"}));
    EXPECT_EQ(SearchinTrust(quirky, QStringLiteral("cccccc@x.com")), 1);
    EXPECT_EQ(SearchinTrust(quirky, QStringLiteral("mmmmmm@x.com")), 0);
}

TEST(AddMailAddr, FailuresAreReportedWithTheUpperBound) {
    velmora::test::RecordingSink sink;
    StringList list = stringListOf({"", "zzzzzz@x.com"}); // an empty entry cannot be compared
    AddMailAddr(list, QStringLiteral("aaaaaa@x.com"));
    EXPECT_EQ(list.upperBound(), 2);
    EXPECT_EQ(sink.messages,
              QStringList{QStringLiteral("AddMailAddr: Invalid procedure call or argumentMax =2")});
}
