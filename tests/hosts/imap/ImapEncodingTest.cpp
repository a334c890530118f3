#include "hosts/imap/ImapCommand.h"
#include "hosts/imap/ModifiedUtf7.h"
#include "hosts/imap/SaslMechanisms.h"
#include "hosts/imap/SpecialFolders.h"
#include "hosts/imap/UidSet.h"

#include "support/TestSupport.h"

using namespace velmora::imap;

TEST(ImapEncoding, MailboxNamesInModifiedUtf7) {
    const struct {
        const char* name;
        const char* wire;
    } cases[] = {
        {"INBOX", "INBOX"},
        {"Entwürfe", "Entw&APw-rfe"},
        {"Tom & Jerry", "Tom &- Jerry"},
        {"日本語", "&ZeVnLIqe-"},
        {"Ünïcödé/Sub", "&ANw-n&AO8-c&APY-d&AOk-/Sub"},
        {"~peter/mail/台北/日本語", "~peter/mail/&U,BTFw-/&ZeVnLIqe-"},
        {"😀", "&2D3eAA-"}, // a pair of surrogates
    };
    for (const auto& c : cases) {
        EXPECT_EQ(encodeMailboxName(QString::fromUtf8(c.name)), QByteArray(c.wire)) << c.name;
        EXPECT_EQ(decodeMailboxName(c.wire), QString::fromUtf8(c.name)) << c.wire;
    }
    // Not modified UTF-7: shown as UTF-8 rather than lost.
    EXPECT_EQ(decodeMailboxName("Entwürfe"), QStringLiteral("Entwürfe"));
    EXPECT_EQ(decodeMailboxName("a&b"), QStringLiteral("a&b"));
}

TEST(ImapEncoding, UidSetsAreKeptAndWrittenAsRanges) {
    UidSet set{9, 3, 4, 5, 12, 11, 1};
    EXPECT_EQ(set.toImap(), QByteArray("1,3:5,9,11:12"));
    set.add(2);
    set.add(6, 8);
    EXPECT_EQ(set.toImap(), QByteArray("1:9,11:12"));
    EXPECT_EQ(set.size(), 11u);
    EXPECT_TRUE(set.contains(11));
    EXPECT_FALSE(set.contains(10));
    set.remove(UidSet{1, 5, 12});
    EXPECT_EQ(set.toImap(), QByteArray("2:4,6:9,11"));
    EXPECT_EQ(UidSet::parse("12:9,1,3:*", 5)->toImap(), QByteArray("1,3:5,9:12"));
    EXPECT_FALSE(UidSet::parse(""));
    EXPECT_FALSE(UidSet::parse("1,,2"));
    EXPECT_FALSE(UidSet::parse("0"));
    EXPECT_FALSE(UidSet::parse("4294967296"));
    EXPECT_EQ(UidSet::parse("4294967295")->toImap(), QByteArray("4294967295"));
    EXPECT_EQ(*UidSet::parseInOrder("5,3:4"), (QList<quint32>{5, 3, 4}));
    UidSet all;
    all.add(1, 0xffffffffu);
    EXPECT_EQ(all.size(), 0xffffffffull);
}

TEST(ImapEncoding, StringsAreAtomsQuotedOrLiteralsAsTheirBytesNeed) {
    ImapCommand command(QByteArrayLiteral("LOGIN"));
    command.string("anna").string("pa\"ss\\word").secret();
    EXPECT_EQ(command.encode("V1", ImapCommand::Literals::Synchronising),
              QList<QByteArray>{"V1 LOGIN anna \"pa\\\"ss\\\\word\"\r\n"});
    EXPECT_EQ(command.describe("V1"), QByteArray("V1 LOGIN anna ***"));

    ImapCommand list(QByteArrayLiteral("LIST"));
    list.string("")
        .string("*")
        .mailbox(QStringLiteral("Entwürfe"))
        .mailbox(QStringLiteral("Sent Items"));
    EXPECT_EQ(list.encode("V2", ImapCommand::Literals::Plus),
              QList<QByteArray>{"V2 LIST \"\" \"*\" Entw&APw-rfe \"Sent Items\"\r\n"});

    // 8-bit bytes, line breaks and NUL go as literals: waiting for "+" unless
    // the server takes them without (LITERAL+, or LITERAL- up to 4096 bytes).
    const QByteArray small = "Subject: x\r\n\r\nhi\r\n";
    const QByteArray large(5000, 'x');
    ImapCommand append(QByteArrayLiteral("APPEND"));
    append.mailbox(QStringLiteral("Junk")).raw("(\\Seen)").literal(small).literal(large);
    EXPECT_EQ(append.encode("V3", ImapCommand::Literals::Synchronising),
              (QList<QByteArray>{"V3 APPEND Junk (\\Seen) {18}\r\n", small + " {5000}\r\n",
                                 large + "\r\n"}));
    EXPECT_EQ(append.encode("V3", ImapCommand::Literals::Plus),
              QList<QByteArray>{"V3 APPEND Junk (\\Seen) {18+}\r\n" + small + " {5000+}\r\n" +
                                large + "\r\n"});
    EXPECT_EQ(append.encode("V3", ImapCommand::Literals::Minus),
              (QList<QByteArray>{"V3 APPEND Junk (\\Seen) {18+}\r\n" + small + " {5000}\r\n",
                                 large + "\r\n"}));
    EXPECT_EQ(append.describe("V3"), QByteArray("V3 APPEND Junk (\\Seen) {18} {5000}"));

    ImapCommand eightBit(QByteArrayLiteral("LOGIN"));
    eightBit.string(QStringLiteral("jürgen").toUtf8()).string(QByteArray("a\0b", 3));
    EXPECT_EQ(eightBit.encode("V4", ImapCommand::Literals::Synchronising),
              (QList<QByteArray>{"V4 LOGIN {7}\r\n", QStringLiteral("jürgen").toUtf8() + " {3}\r\n",
                                 QByteArray("a\0b\r\n", 5)}));
}

TEST(ImapEncoding, SaslInitialResponses) {
    EXPECT_EQ(QByteArray::fromBase64(sasl::plain(QStringLiteral("anna"), QStringLiteral("sécret"))),
              QByteArray("\0anna\0s\xc3\xa9"
                         "cret",
                         13));
    EXPECT_EQ(QByteArray::fromBase64(
                  sasl::xoauth2(QStringLiteral("anna@example.com"), QStringLiteral("ya29.tok"))),
              QByteArray("user=anna@example.com\x01"
                         "auth=Bearer ya29.tok\x01\x01"));
    EXPECT_EQ(QByteArray::fromBase64(sasl::oauthBearer(QStringLiteral("a,b=c@example.com"),
                                                       QStringLiteral("tok"),
                                                       QStringLiteral("imap.example.com"), 993)),
              QByteArray("n,a=a=2Cb=3Dc@example.com,\x01"
                         "host=imap.example.com\x01"
                         "port=993\x01"
                         "auth=Bearer tok\x01\x01"));
    EXPECT_EQ(sasl::plain(QString(), QString()), QByteArray("AAA=")); // two NULs
}

TEST(ImapEncoding, SpecialFoldersByAttributeElseByName) {
    const auto folder = [](const char* attributes, const char* name) {
        MailboxEntry entry;
        if (*attributes)
            entry.attributes = QByteArray(attributes).split(' ');
        entry.delimiter = QLatin1Char('.');
        entry.name = QString::fromUtf8(name);
        return entry;
    };
    // Marked by the server: the marks win over names.
    SpecialFolders marked = findSpecialFolders(
        {folder("", "INBOX"), folder("", "Junk"), folder("\\Junk \\HasNoChildren", "Spamfilter"),
         folder("\\Sent", "Gesendet"), folder("\\Trash", "Papierkorb")});
    EXPECT_EQ(marked.junk, QStringLiteral("Spamfilter"));
    EXPECT_EQ(marked.sent, QStringLiteral("Gesendet"));
    EXPECT_EQ(marked.trash, QStringLiteral("Papierkorb"));
    // Unmarked: the usual names, below INBOX as high as top level, shallow
    // before deep, never a folder that cannot be selected.
    SpecialFolders named =
        findSpecialFolders({folder("", "INBOX"), folder("", "Archive.Spam"),
                            folder("", "INBOX.spam"), folder("\\Noselect", "Sent Items"),
                            folder("", "INBOX.Sent Messages"), folder("", "Deleted Messages")});
    EXPECT_EQ(named.junk, QStringLiteral("INBOX.spam"));
    EXPECT_EQ(named.sent, QStringLiteral("INBOX.Sent Messages"));
    EXPECT_EQ(named.trash, QStringLiteral("Deleted Messages"));
    EXPECT_TRUE(findSpecialFolders({folder("", "INBOX")}).junk.isEmpty());
}

// Where folders are shown decides what the database build learns: it learns
// the folders at the top and one level below, and passes over the Inbox
// (with all below it) and the special folders only where they are at the
// top.
TEST(ImapEncoding, FolderTreeAsTheDatabaseBuildNeedsIt) {
    const auto folder = [](const char* attributes, const char* name, char delimiter) {
        MailboxEntry entry;
        if (*attributes)
            entry.attributes = QByteArray(attributes).split(' ');
        entry.delimiter = QLatin1Char(delimiter);
        entry.name = QString::fromUtf8(name);
        return entry;
    };
    // Gmail: Spam, Trash and Sent Mail live in "[Gmail]"; shown at the top.
    const QList<MailboxEntry> gmail{folder("\\HasNoChildren", "INBOX", '/'),
                                    folder("\\Noselect \\HasChildren", "[Gmail]", '/'),
                                    folder("\\All", "[Gmail]/All Mail", '/'),
                                    folder("\\Junk", "[Gmail]/Spam", '/'),
                                    folder("\\Trash", "[Gmail]/Trash", '/'),
                                    folder("\\Sent", "[Gmail]/Sent Mail", '/'),
                                    folder("", "Receipts", '/'),
                                    folder("", "Receipts/2024", '/')};
    const SpecialFolders gmailSpecial = findSpecialFolders(gmail);
    const QHash<QString, QString> gmailParents =
        folderParents(gmail, {gmailSpecial.junk, gmailSpecial.sent, gmailSpecial.trash});
    EXPECT_EQ(gmailParents.value(QStringLiteral("[Gmail]/Spam")), QString());
    EXPECT_EQ(gmailParents.value(QStringLiteral("[Gmail]/Trash")), QString());
    EXPECT_EQ(gmailParents.value(QStringLiteral("[Gmail]/Sent Mail")), QString());
    EXPECT_EQ(gmailParents.value(QStringLiteral("[Gmail]/All Mail")), QStringLiteral("[Gmail]"));
    EXPECT_EQ(gmailParents.value(QStringLiteral("Receipts/2024")), QStringLiteral("Receipts"));

    // Courier: every folder below INBOX; the user's folders are shown beside
    // it, and their own subfolders stay in them.
    const QList<MailboxEntry> courier{folder("", "INBOX", '.'), folder("", "INBOX.Archive", '.'),
                                      folder("", "INBOX.Archive.2023", '.'),
                                      folder("", "INBOX.Junk", '.'), folder("", "INBOX.Sent", '.')};
    const QHash<QString, QString> courierParents =
        folderParents(courier, {QStringLiteral("INBOX.Junk"), QStringLiteral("INBOX.Sent")});
    EXPECT_EQ(courierParents.value(QStringLiteral("INBOX.Archive")), QString());
    EXPECT_EQ(courierParents.value(QStringLiteral("INBOX.Archive.2023")),
              QStringLiteral("INBOX.Archive"));
    EXPECT_EQ(courierParents.value(QStringLiteral("INBOX.Junk")), QString());

    // Elsewhere a folder below the Inbox stays there, as in any mail client.
    const QList<MailboxEntry> dovecot{folder("", "INBOX", '.'), folder("", "INBOX.Lists", '.'),
                                      folder("\\Junk", "Junk", '.'), folder("", "Work", '.')};
    const QHash<QString, QString> dovecotParents = folderParents(dovecot, {QStringLiteral("Junk")});
    EXPECT_EQ(dovecotParents.value(QStringLiteral("INBOX.Lists")), QStringLiteral("INBOX"));
    EXPECT_EQ(dovecotParents.value(QStringLiteral("Work")), QString());
}
